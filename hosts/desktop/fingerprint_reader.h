#pragma once

#include <chrono>

class QDBusConnection;

namespace vossel {

// The system's fingerprint service (net.reactivated.Fprint), for the user of this process. The
// calling thread's event loop runs while it waits.
class FingerprintReader {
public:
    explicit FingerprintReader(const QDBusConnection& bus)
        : bus_(bus)
    {
    }

    // Whether there is a reader and the user has a finger enrolled.
    [[nodiscard]] bool canVerify() const;
    // True for a matching finger; false for a wrong one, for every failure, and when `patience` is
    // over.
    [[nodiscard]] bool verify(std::chrono::milliseconds patience) const;

private:
    const QDBusConnection& bus_;
};

}
