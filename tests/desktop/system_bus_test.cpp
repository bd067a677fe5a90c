#include "foundation/files.h"
#include "hosts/desktop/logind_lock.h"
#include "hosts/desktop/polkit_authenticator.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QEventLoop>
#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>

namespace vossel::test {

// Whether somebody is authorised, as it travels: (bba{ss}).
struct PolkitResult {
    bool authorized = false;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const PolkitResult& result)
{
    argument.beginStructure();
    argument << result.authorized << !result.authorized << QMap<QString, QString>();
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, PolkitResult& result)
{
    argument.beginStructure();
    argument >> result.authorized;
    argument.endStructure();
    return argument;
}

}
Q_DECLARE_METATYPE(vossel::test::PolkitResult)
namespace vossel::test {
namespace {

using testing::ElementsAre;

constexpr const char* configuration = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus
Configuration 1.0//EN" "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=%1</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"
eavesdrop="true"/><allow eavesdrop="true"/></policy></busconfig>)";

// Services that answer as a test tells them, on the main thread.
class Services final : public QDBusVirtualObject {
public:
    using Handler = std::function<void(const QDBusMessage&, const QDBusConnection&)>;
    Handler handler;
    std::vector<std::string> calls;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override
    {
        calls.push_back(message.member().toStdString());
        handler(message, bus);
        return true;
    }
    [[nodiscard]] QString introspect(const QString&) const override { return {}; }
};

QString address(const TemporaryDirectory& directory)
{
    return QString::fromStdString(directory / "bus");
}

// A system bus of the test's own. The library reads its address once in a process, so that all
// tests share the place; each has its own daemon there.
class SystemBusTest : public testing::Test {
protected:
    static const TemporaryDirectory& place()
    {
        static const TemporaryDirectory directory;
        return directory;
    }

    void SetUp() override
    {
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + (place() / "bus")).c_str(), 1);
        const QString text = QString::fromUtf8(configuration).arg(address(place()));
        ASSERT_TRUE(writeFile(place() / "configuration", text.toStdString()));
        try {
            startBus();
        } catch (const std::exception& error) {
            GTEST_SKIP() << error.what();
        }
    }
    void TearDown() override
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("services"));
        bus_.reset();
        ::unlink((place() / "bus").c_str());
    }

    void startBus()
    {
        bus_.reset();
        ::unlink((place() / "bus").c_str());
        bus_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{"dbus-daemon", "--nofork", "--print-address=1",
                "--config-file=" + (place() / "configuration")},
            place() / "bus-error");
        ASSERT_TRUE(bus_->readLine()) << *readFile(place() / "bus-error", 10'000);
    }
    void offer(const QString& name, Services::Handler handler)
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("services"));
        auto bus = QDBusConnection::connectToBus(
            QStringLiteral("unix:path=") + address(place()), QStringLiteral("services"));
        services_.handler = std::move(handler);
        ASSERT_TRUE(
            bus.registerVirtualObject(QStringLiteral("/"), &services_, QDBusConnection::SubPath));
        ASSERT_TRUE(bus.registerService(name)) << bus.lastError().message().toStdString();
    }
    // polkit, saying this to whoever asks.
    void offerPolkit(bool authorized)
    {
        qDBusRegisterMetaType<QMap<QString, QString>>();
        qDBusRegisterMetaType<PolkitResult>();
        offer(QStringLiteral("org.freedesktop.PolicyKit1"),
            [this, authorized](const QDBusMessage& message, const QDBusConnection& bus) {
                subject_ = message.arguments().value(0).value<QDBusArgument>();
                asked_ = message.arguments();
                bus.send(message.createReply(QVariant::fromValue(PolkitResult{authorized})));
            });
    }

    int argc_ = 0;
    QCoreApplication application_{argc_, nullptr};
    Services services_;
    std::unique_ptr<ChildProcess> bus_;
    QDBusArgument subject_;
    QVariantList asked_;
};

TEST_F(SystemBusTest, PolkitDecidesWhoIsAnAdministrator)
{
    PolkitAuthenticator authenticator([] { return true; });
    offerPolkit(true);
    EXPECT_TRUE(authenticator.obtainAdministratorRight());
    EXPECT_THAT(services_.calls, ElementsAre("CheckAuthorization"));
    EXPECT_EQ(asked_.value(1).toString(), QStringLiteral("org.vossel.authenticate"));
    EXPECT_EQ(asked_.value(3).toUInt(), 1U); // the user may be asked
    QString kind;
    QVariantMap process;
    const QDBusArgument subject = subject_; // reads where a changeable one writes
    subject.beginStructure();
    subject >> kind >> process;
    subject.endStructure();
    EXPECT_EQ(kind, QStringLiteral("unix-process"));
    EXPECT_EQ(process[QStringLiteral("pid")].toInt(), ::getpid());
    EXPECT_EQ(process[QStringLiteral("uid")].toUInt(), ::getuid());
    EXPECT_GT(process[QStringLiteral("start-time")].toULongLong(), 0U);

    offerPolkit(false);
    EXPECT_FALSE(authenticator.obtainAdministratorRight());
}

TEST_F(SystemBusTest, TheMainLoopGoesOnWhilePolkitAsks)
{
    bool wentOn = false;
    offer(QStringLiteral("org.freedesktop.PolicyKit1"),
        [](const QDBusMessage& message, const QDBusConnection&) {
            message.setDelayedReply(true); // the dialog stands
        });
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [&] {
            wentOn = true;
            QCoreApplication::quit();
        });
    });
    QTimer::singleShot(0, [&] {
        PolkitAuthenticator authenticator([] { return true; });
        EXPECT_FALSE(authenticator.obtainAdministratorRight());
    });
    QCoreApplication::exec();
    EXPECT_TRUE(wentOn);
}

TEST_F(SystemBusTest, WithoutAnAnswerNobodyIsAnAdministrator)
{
    PolkitAuthenticator authenticator([] { return true; });
    EXPECT_FALSE(authenticator.obtainAdministratorRight()); // no polkit on the bus
    offer(QStringLiteral("org.freedesktop.PolicyKit1"),
        [](const QDBusMessage& message, const QDBusConnection& bus) {
            bus.send(message.createReply(QStringLiteral("yes")));
        });
    EXPECT_FALSE(authenticator.obtainAdministratorRight()); // an answer of another kind
    bus_.reset();
    EXPECT_FALSE(authenticator.obtainAdministratorRight()); // no bus
    EXPECT_FALSE(authenticator.canEvaluateFingerprint());
    startBus();
    offerPolkit(true);
    EXPECT_TRUE(authenticator.obtainAdministratorRight()); // it came back
}

TEST_F(SystemBusTest, AFingerProvesAnAdministratorWhoHasOneEnrolled)
{
    QStringList enrolled{QStringLiteral("right-index-finger")};
    QString verdict;
    offer(QStringLiteral("net.reactivated.Fprint"),
        [&](const QDBusMessage& message, const QDBusConnection& bus) {
            const QDBusObjectPath device(QStringLiteral("/net/reactivated/Fprint/Device/0"));
            if (message.member() == QStringLiteral("GetDefaultDevice"))
                bus.send(message.createReply(QVariant::fromValue(device)));
            else if (message.member() == QStringLiteral("ListEnrolledFingers"))
                bus.send(message.createReply(enrolled));
            else
                bus.send(message.createReply());
            if (message.member() != QStringLiteral("VerifyStart"))
                return;
            for (const auto& [result, done] :
                {std::pair(QStringLiteral("verify-retry-scan"), false), std::pair(verdict, true)}) {
                auto signal = QDBusMessage::createSignal(device.path(),
                    QStringLiteral("net.reactivated.Fprint.Device"),
                    QStringLiteral("VerifyStatus"));
                signal << result << done;
                bus.send(signal);
            }
        });
    bool isAdministrator = true;
    PolkitAuthenticator authenticator([&] { return isAdministrator; });
    EXPECT_TRUE(authenticator.canEvaluateFingerprint());
    services_.calls.clear();
    verdict = QStringLiteral("verify-match");
    EXPECT_TRUE(authenticator.evaluateFingerprint("verify authorization"));
    EXPECT_THAT(services_.calls,
        ElementsAre("GetDefaultDevice", "Claim", "VerifyStart", "VerifyStop", "Release"));
    verdict = QStringLiteral("verify-no-match");
    EXPECT_FALSE(authenticator.evaluateFingerprint("verify authorization"));
    enrolled.clear();
    EXPECT_FALSE(authenticator.canEvaluateFingerprint());
    enrolled << QStringLiteral("left-thumb");
    isAdministrator = false; // a finger says who somebody is, not what they may do
    EXPECT_FALSE(authenticator.canEvaluateFingerprint());
}

TEST_F(SystemBusTest, LogindSaysWhetherASessionIsLocked)
{
    offer(QStringLiteral("org.freedesktop.login1"),
        [](const QDBusMessage& message, const QDBusConnection& bus) {
            const bool isProperty = message.member() == QStringLiteral("Get");
            const QString session = message.arguments().value(0).toString();
            if (isProperty)
                bus.send(message.createReply(QVariant::fromValue(
                    QDBusVariant(message.path() == QStringLiteral("/session/locked")))));
            else if (session == QStringLiteral("none"))
                bus.send(message.createErrorReply(QDBusError::InvalidArgs, session));
            else
                bus.send(message.createReply(
                    QVariant::fromValue(QDBusObjectPath(QStringLiteral("/session/") + session))));
        });
    const LogindLock isLocked;
    std::vector<bool> answers;
    QEventLoop loop;
    std::thread other([&] {
        for (const char* session : {"locked", "open", "none"})
            answers.push_back(isLocked(session));
        QMetaObject::invokeMethod(
            &loop, [&loop] { loop.quit(); }, Qt::QueuedConnection);
    });
    loop.exec();
    other.join();
    EXPECT_THAT(answers, ElementsAre(true, false, false));
    bus_.reset();
    EXPECT_FALSE(isLocked("locked"));
}

}
}
