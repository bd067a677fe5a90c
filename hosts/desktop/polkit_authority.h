#pragma once

#include <QDBusArgument>
#include <QDBusMessage>
#include <QString>
#include <QVariantMap>

// How polkit's Authority is spoken to on the system bus.

namespace vossel {

// Whom an authorization is for or who is to prove themselves, as both travel: (sa{sv}).
struct PolkitSubject {
    QString kind;
    QVariantMap details;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PolkitSubject& subject);
const QDBusArgument& operator>>(const QDBusArgument& argument, PolkitSubject& subject);

// This process, by number, start time and user.
[[nodiscard]] PolkitSubject ownProcess();

[[nodiscard]] QDBusMessage authorityCall(const QString& method, const QVariantList& arguments);

}
Q_DECLARE_METATYPE(vossel::PolkitSubject)
