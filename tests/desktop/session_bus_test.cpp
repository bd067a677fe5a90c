#include "desktop/system_bus.h"
#include "hosts/desktop/dark_desktop.h"
#include "hosts/desktop/desktop_notifications.h"
#include "hosts/desktop/qt_main_thread.h"
#include "hosts/simulated/simulated_clock.h"

#include <QDBusVariant>
#include <gmock/gmock.h>

#include <chrono>

namespace vossel::test {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

// The session's services, on the bus that stands for both.
class SessionBusTest : public SystemBusTest {
protected:
    void SetUp() override
    {
        SystemBusTest::SetUp();
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address().c_str(), 1);
    }
    static bool until(const std::function<bool()>& holds)
    {
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (!holds() && std::chrono::steady_clock::now() < end)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        return holds();
    }
};

// The library connects to the session's bus once in a process: one test for all.
TEST_F(SessionBusTest, NotificationsArePlainFewAndNeverLostAndTheDesktopMayBeDark)
{
    std::vector<std::string> shown;
    bool takes = true;
    const QDBusVariant dark(1U);
    offer("org.freedesktop.Notifications", [&](const QDBusMessage& call) {
        const auto arguments = call.arguments();
        if (call.member() == "GetCapabilities")
            return reply(call, {QStringList{"body", "body-markup"}});
        if (call.member() == "Read")
            return reply(call, {QVariant::fromValue(QDBusVariant(QVariant::fromValue(dark)))});
        if (!takes)
            return send(call.createErrorReply("org.example.Gone", "gone"));
        shown.push_back(arguments.at(3).toString().toStdString() + ": "
            + arguments.at(4).toString().toStdString());
        return reply(call, {static_cast<unsigned>(shown.size())});
    });
    ASSERT_TRUE(join("service").registerService("org.freedesktop.portal.Desktop"));

    QtMainThread mainThread;
    SimulatedClock clock;
    std::vector<std::string> instead;
    DesktopNotifications notifications(mainThread, clock,
        [&](const UserNotification& lost) { instead.push_back(lost.informativeText); });
    const auto tell = [&](const char* title, const std::string& text) {
        UserNotification notification;
        notification.title = title;
        notification.informativeText = text;
        notifications.deliver(notification);
    };
    for (const char* text : {"<b>1</b>\n", "<b>1</b>\n", "2", "3", "4"})
        tell("Ignoring keypresses", text);
    tell("Camera", "on");
    ASSERT_TRUE(until([&] { return shown.size() == 4; }));
    EXPECT_THAT(shown,
        testing::UnorderedElementsAre("Camera: on", "Ignoring keypresses: 2",
            "Ignoring keypresses: 3", "Ignoring keypresses: &lt;b&gt;1&lt;/b&gt;\\n"));
    clock.advance(DesktopNotifications::quietTime);
    takes = false;
    tell("Ignoring keypresses", "4");
    ASSERT_TRUE(until([&] { return !instead.empty(); }));
    EXPECT_THAT(instead, ElementsAre("4"));

    std::vector<bool> told;
    const DarkDesktop desktop([&](bool isDark) { told.push_back(isDark); });
    ASSERT_TRUE(until([&] { return told.size() == 1; }));
    QDBusMessage changed = QDBusMessage::createSignal(
        "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings", "SettingChanged");
    changed.setArguments(
        {"org.freedesktop.appearance", "color-scheme", QVariant::fromValue(QDBusVariant(2U))});
    send(changed);
    ASSERT_TRUE(until([&] { return told.size() == 2; }));
    EXPECT_THAT(told, ElementsAre(true, false));
}

}
}
