#pragma once

#include "foundation/mutex.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

#include <chrono>

namespace vossel {

// A connection of our own to the system bus, made when it is first needed and again when it was
// lost. Any thread. How long connecting takes is the bus's word: nothing bounds it where a bus
// takes connections but never answers.
class SystemBus {
public:
    SystemBus();
    ~SystemBus();
    SystemBus(const SystemBus&) = delete;
    SystemBus& operator=(const SystemBus&) = delete;

    // Not connected where there is no bus.
    [[nodiscard]] QDBusConnection connection();

private:
    const QString name_;
    Mutex mutex_; // held while connecting, so that one thread does
};

// Calls and waits without running an event loop. Every failure is a message that is no reply.
[[nodiscard]] QDBusMessage callBlocking(
    const QDBusConnection& bus, const QDBusMessage& message, std::chrono::milliseconds timeout);

// Calls and runs an event loop of the calling thread until the reply has come, the time is over or
// the program is asked to quit: the thread goes on with everything else meanwhile.
[[nodiscard]] QDBusMessage callServing(
    const QDBusConnection& bus, const QDBusMessage& message, std::chrono::milliseconds timeout);

}
