#include "desktop/system_bus.h"
#include "hosts/desktop/logind_lock.h"
#include "hosts/desktop/polkit_authenticator.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QEventLoop>
#include <gmock/gmock.h>

#include <thread>

namespace vossel::test {
namespace {

using testing::ElementsAre;

TEST_F(SystemBusTest, WithoutAnAnswerNobodyIsAnAdministrator)
{
    PolkitAuthenticator authenticator([] { return true; });
    EXPECT_FALSE(authenticator.obtainAdministratorRight()); // no polkit on the bus
    const auto answerWrongly
        = [](const QDBusMessage& call) { reply(call, {QStringLiteral("yes")}); };
    offer("org.freedesktop.PolicyKit1", answerWrongly);
    EXPECT_FALSE(authenticator.obtainAdministratorRight());
    stopBus();
    EXPECT_FALSE(authenticator.obtainAdministratorRight());
    EXPECT_FALSE(authenticator.canEvaluateFingerprint());
    startBus();
    offer("org.freedesktop.PolicyKit1", answerWrongly);
    EXPECT_FALSE(authenticator.obtainAdministratorRight());
    EXPECT_THAT(calls_, ElementsAre("CheckAuthorization", "CheckAuthorization")); // it came back
}

TEST_F(SystemBusTest, AFingerProvesAnAdministratorWhoHasOneEnrolled)
{
    QStringList enrolled{QStringLiteral("right-index-finger")};
    QString verdict;
    offer("net.reactivated.Fprint", [&](const QDBusMessage& call) {
        const QDBusObjectPath device(QStringLiteral("/net/reactivated/Fprint/Device/0"));
        if (call.member() == QStringLiteral("ListEnrolledFingers"))
            reply(call, {enrolled});
        else
            reply(call, {QVariant::fromValue(device)}); // which only one call wants
        if (call.member() != QStringLiteral("VerifyStart"))
            return;
        auto signal = QDBusMessage::createSignal(device.path(),
            QStringLiteral("net.reactivated.Fprint.Device"), QStringLiteral("VerifyStatus"));
        signal.setArguments({QStringLiteral("verify-retry-scan"), false});
        send(signal);
        signal.setArguments({verdict, true});
        send(signal);
    });
    bool isAdministrator = true;
    PolkitAuthenticator authenticator([&] { return isAdministrator; });
    EXPECT_TRUE(authenticator.canEvaluateFingerprint());
    calls_.clear();
    verdict = QStringLiteral("verify-match");
    EXPECT_TRUE(authenticator.evaluateFingerprint("verify authorization"));
    EXPECT_THAT(
        calls_, ElementsAre("GetDefaultDevice", "Claim", "VerifyStart", "VerifyStop", "Release"));
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
    offer("org.freedesktop.login1", [](const QDBusMessage& call) {
        const QString session = QStringLiteral("/") + call.arguments().value(0).toString();
        const bool locked = call.path() == QStringLiteral("/locked");
        reply(call,
            {call.member() == QStringLiteral("Get")
                    ? QVariant::fromValue(QDBusVariant(locked))
                    : QVariant::fromValue(QDBusObjectPath(session))});
    });
    const LogindLock isLocked;
    std::vector<bool> answers;
    QEventLoop loop;
    std::thread other([&] {
        for (const char* session : {"locked", "open"})
            answers.push_back(isLocked(session));
        QMetaObject::invokeMethod(
            &loop, [&loop] { loop.quit(); }, Qt::QueuedConnection);
    });
    loop.exec();
    other.join();
    EXPECT_THAT(answers, ElementsAre(true, false));
    stopBus();
    EXPECT_FALSE(isLocked("locked"));
}

}
}
