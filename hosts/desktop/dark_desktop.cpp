#include "hosts/desktop/dark_desktop.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <utility>

namespace vossel {

namespace {

const char* const service = "org.freedesktop.portal.Desktop";
const char* const path = "/org/freedesktop/portal/desktop";
const char* const settings = "org.freedesktop.portal.Settings";
const char* const appearance = "org.freedesktop.appearance";
const char* const colorScheme = "color-scheme";
constexpr unsigned prefersDark = 1;
constexpr unsigned prefersLight = 2;

}

DarkDesktop::DarkDesktop(std::function<void(bool dark)> changed)
    : changed_(std::move(changed))
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(service, path, settings, "SettingChanged", this,
        SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(service, path, settings, "Read");
    read.setArguments({appearance, colorScheme});
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* ended) {
            ended->deleteLater();
            if (!ended->isError())
                take(ended->reply().arguments().value(0));
        });
}

void DarkDesktop::settingChanged(
    const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group == appearance && key == colorScheme)
        take(value.variant());
}

// Read wraps its value twice.
void DarkDesktop::take(const QVariant& value)
{
    QVariant inner = value;
    while (inner.canConvert<QDBusVariant>())
        inner = inner.value<QDBusVariant>().variant();
    const unsigned scheme = inner.toUInt();
    if (scheme == prefersDark || scheme == prefersLight)
        changed_(scheme == prefersDark);
}

}
