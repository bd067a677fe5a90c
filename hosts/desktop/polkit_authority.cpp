#include "hosts/desktop/polkit_authority.h"

#include "hosts/linux/proc_file.h"

#include <QDBusMetaType>

#include <unistd.h>

#include <cstdint>

namespace vossel {

QDBusArgument& operator<<(QDBusArgument& argument, const PolkitSubject& subject)
{
    argument.beginStructure();
    argument << subject.kind << subject.details;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PolkitSubject& subject)
{
    argument.beginStructure();
    argument >> subject.kind >> subject.details;
    argument.endStructure();
    return argument;
}

PolkitSubject ownProcess()
{
    return {QStringLiteral("unix-process"),
        {
            {QStringLiteral("pid"), QVariant::fromValue(static_cast<std::uint32_t>(::getpid()))},
            {QStringLiteral("start-time"),
                QVariant::fromValue(quint64(readStartTime(SystemRoot(), ::getpid())))},
            {QStringLiteral("uid"), QVariant::fromValue(static_cast<std::int32_t>(::getuid()))},
        }};
}

QDBusMessage authorityCall(const QString& method, const QVariantList& arguments)
{
    qDBusRegisterMetaType<PolkitSubject>();
    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.PolicyKit1"),
        QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
        QStringLiteral("org.freedesktop.PolicyKit1.Authority"), method);
    message.setArguments(arguments);
    return message;
}

}
