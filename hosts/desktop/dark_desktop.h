#pragma once

#include <QObject>

#include <functional>

class QDBusVariant;

namespace vossel {

// Whether the desktop is dark, as its portal says (org.freedesktop.appearance, color-scheme): asked
// when made, and followed from then on. Says nothing where there is no portal, or no preference.
// Main thread.
class DarkDesktop final : public QObject {
    Q_OBJECT

public:
    explicit DarkDesktop(std::function<void(bool dark)> changed);

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void take(const QVariant& value);

    const std::function<void(bool dark)> changed_;
};

}
