#include "hosts/desktop/polkit_authority.h"

#include "foundation/files.h"

#include <QDBusMetaType>

#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <string>

namespace vossel {

namespace {

// When this process began, in the kernel's ticks since start-up: the 22nd field of its stat line,
// the second of which ends at the line's last ")". polkit tells by it a process from a later one
// with the same number.
std::uint64_t ownStartTime()
{
    const auto stat = readFile("/proc/self/stat", 4096);
    if (!stat)
        return 0;
    std::size_t at = stat->rfind(')');
    for (int field = 2; field < 22 && at != std::string::npos; ++field)
        at = stat->find(' ', at + 1);
    std::uint64_t time = 0;
    if (at != std::string::npos)
        std::from_chars(stat->data() + at + 1, stat->data() + stat->size(), time);
    return time;
}

}

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
            {QStringLiteral("start-time"), QVariant::fromValue(quint64(ownStartTime()))},
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
