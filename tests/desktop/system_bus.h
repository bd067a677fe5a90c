#pragma once

#include "foundation/files.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <memory>

namespace vossel::test {

// A system bus of the test's own, with one service that answers as the test tells it. The library
// reads the bus's address once in a process, so that all tests share the place; each has its own
// daemon there.
class SystemBusTest : public testing::Test, protected QDBusVirtualObject {
protected:
    void SetUp() override
    {
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", address().c_str(), 1);
        const std::string policy
            = "<policy context='default'><allow user='*'/><allow own='*'/>"
              "<allow send_destination='*'/><allow receive_sender='*'/></policy>";
        ASSERT_TRUE(writeFile(place() / "configuration",
            "<busconfig><type>system</type><listen>" + address() + "</listen><auth>EXTERNAL</auth>"
                + policy + "</busconfig>"));
        try {
            startBus();
        } catch (const std::exception& error) {
            GTEST_SKIP() << error.what();
        }
    }
    void TearDown() override
    {
        for (const char* name : {"service", "stranger"})
            QDBusConnection::disconnectFromBus(QString(name));
        stopBus();
    }
    void startBus()
    {
        bus_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{"dbus-daemon", "--nofork", "--print-address=1",
                "--config-file=" + (place() / "configuration")},
            place() / "bus-error");
        ASSERT_TRUE(bus_->readLine()) << *readFile(place() / "bus-error", 10'000);
    }
    void stopBus()
    {
        bus_.reset();
        ::unlink((place() / "bus").c_str());
    }
    static QDBusConnection join(const char* name)
    {
        return QDBusConnection::connectToBus(QString::fromStdString(address()), QString(name));
    }
    // From now on, under this name.
    void offer(const char* name, std::function<void(const QDBusMessage&)> handler)
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("service"));
        handler_ = std::move(handler);
        auto bus = join("service");
        ASSERT_TRUE(bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath));
        ASSERT_TRUE(bus.registerService(QString(name)));
    }
    static void send(const QDBusMessage& message) { join("service").send(message); }
    static void reply(const QDBusMessage& call, const QVariantList& values = {})
    {
        send(call.createReply(values));
    }

    static std::string address() { return "unix:path=" + (place() / "bus"); }

    std::vector<std::string> calls_;

private:
    static const TemporaryDirectory& place()
    {
        static const TemporaryDirectory directory;
        return directory;
    }
    [[nodiscard]] bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override
    {
        calls_.push_back(message.member().toStdString());
        handler_(message);
        return true;
    }
    [[nodiscard]] QString introspect(const QString&) const override { return {}; }

    int argc_ = 0;
    QCoreApplication application_{argc_, nullptr};
    std::function<void(const QDBusMessage&)> handler_;
    std::unique_ptr<ChildProcess> bus_;
};

}
