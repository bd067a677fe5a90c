#include "frontends/windows/choice_box.h"
#include "windows/window_fixture.h"

#include <QAccessible>
#include <QListView>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vossel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Acts = std::function<void(WindowFixture&)>;

constexpr EventSource remote{4711, 1000};

policy_query document()
{
    return documentQuery("/opt/editor");
}

// What the driver is told; empty as long as nobody has answered.
std::string answer(const WindowFixture& agent)
{
    if (!agent.wait->hasResponse())
        return {};
    const user_prompt_response response = agent.wait->response();
    return std::string(response.decision == DECISION_ALLOW ? "allow " : "deny ")
        + std::to_string(response.duration) + " " + std::to_string(response.process) + " "
        + std::to_string(response.operations) + " " + std::to_string(response.constraint_type) + " "
        + std::string(textOf(response.path));
}

Acts key(int key, Qt::KeyboardModifiers modifiers = {})
{
    return [=](WindowFixture& agent) { agent.press(key, modifiers); };
}

Acts clickOn(const char* name)
{
    return [=](WindowFixture& agent) { agent.click(name); };
}

Acts choose(const char* name, int entry)
{
    return [=](WindowFixture& agent) {
        auto* box = agent.prompts.window()->findChild<ChoiceBox*>(name);
        box->setCurrentIndex(entry);
        Q_EMIT box->activated(entry);
        agent.settle();
    };
}

TEST(PromptInputTest, AnswersByMouseAndByEveryKey)
{
    struct Row {
        bool simple;
        std::vector<Acts> acts;
        const char* answer;
    };
    const Qt::KeyboardModifier control = Qt::ControlModifier;
    const Acts allow = key(Qt::Key_Return, control);
    const Row rows[] = {
        {false, {clickOn("allow")}, "allow 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {clickOn("deny")}, "deny 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {allow}, "allow 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_Enter, control | Qt::KeypadModifier)},
            "allow 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_Escape)}, "deny 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_O, control), allow}, "allow 0 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_2, control), allow}, "allow 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_R, control | Qt::ShiftModifier), allow},
            "allow 2 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_4, control), allow}, "allow 3 3 7 2 /home/ann/Documents/taxes/"},
        {false, {clickOn("once"), clickOn("allow")}, "allow 0 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_Left), allow}, "allow 1 3 7 2 /home/ann/Documents/"},
        {false, {key(Qt::Key_Left), key(Qt::Key_Right), allow},
            "allow 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_Down), allow}, "allow 1 5 7 2 /home/ann/Documents/taxes/"},
        {false, {key(Qt::Key_Down), key(Qt::Key_Up), allow},
            "allow 1 3 7 2 /home/ann/Documents/taxes/"},
        {false, {choose("paths", 0), choose("processes", 1), clickOn("allow")},
            "allow 1 2 7 2 .pdf"},
        {false, {clickOn("operations"), clickOn("updates"), clickOn("allow")},
            "allow 1 3 1 1 /home/ann/Documents/taxes/"},
        {true, {clickOn("allow")}, "allow 1 0 7 2 /home/ann/Documents/taxes/return.pdf"},
        {true, {clickOn("untilRestart"), clickOn("deny")},
            "deny 2 0 7 2 /home/ann/Documents/taxes/return.pdf"},
        {true, {key(Qt::Key_F, control), allow},
            "allow 3 0 7 2 /home/ann/Documents/taxes/return.pdf"},
        {true, {key(Qt::Key_O, control), key(Qt::Key_Left), allow},
            "allow 1 0 7 2 /home/ann/Documents/taxes/return.pdf"},
    };
    for (const Row& row : rows) {
        WindowFixture agent;
        agent.writePreferences({{"access.user.detail", row.simple ? 0 : 2}});
        agent.present(document());
        for (const Acts& act : row.acts) {
            agent.origins.time += 400;
            act(agent);
        }
        EXPECT_EQ(answer(agent), row.answer) << &row - rows;
        EXPECT_EQ(agent.sounds(), 0) << &row - rows;
    }
}

TEST(PromptInputTest, DetailsKeepTheDurationAndOpenAgainUnarmed)
{
    WindowFixture agent;
    agent.writePreferences({});
    agent.present(document());
    agent.click("untilRestart");
    agent.click("details");
    ASSERT_TRUE(agent.prompts.window()->findChild<ChoiceBox*>("paths"));
    agent.press(Qt::Key_Escape); // meant for the window before
    EXPECT_EQ(answer(agent), "");
    EXPECT_EQ(agent.sounds(), 1);
    agent.origins.time += 400;
    agent.press(Qt::Key_Escape);
    EXPECT_EQ(answer(agent), "deny 2 3 7 2 /home/ann/Documents/taxes/");
}

// Nobody can have meant what they did before they saw the prompt.
TEST(PromptInputTest, DropsWhatComesTooEarly)
{
    const Acts acts[] = {key(Qt::Key_Escape), key(Qt::Key_Return, Qt::ControlModifier),
        clickOn("deny"), clickOn("forever"), key(Qt::Key_Left)};
    for (const Acts& act : acts) {
        WindowFixture agent;
        agent.presentUnseen(document());
        for (const int passed : {0, 399}) {
            agent.origins.time += passed;
            act(agent);
        }
        EXPECT_EQ(answer(agent), "");
        EXPECT_EQ(agent.sounds(), 2);
        EXPECT_EQ(agent.broker.shownWait(), agent.wait);
        agent.origins.time += 1;
        agent.press(Qt::Key_Escape);
        EXPECT_EQ(answer(agent), "deny 1 3 7 2 /home/ann/Documents/taxes/") << "changed by then";
    }
}

TEST(PromptInputTest, RefusesWhatAProgramComposed)
{
    const std::pair<Acts, const char*> acts[] = {
        {key(Qt::Key_Escape), "keypresses"},
        {key(Qt::Key_Return, Qt::ControlModifier), "keypresses"},
        {clickOn("allow"), "mouse clicks"},
        {clickOn("deny"), "mouse clicks"},
    };
    for (const std::int64_t allowed : {0, 1}) {
        for (const auto& [act, kind] : acts) {
            WindowFixture agent;
            agent.writePreferences({{"access.user.detail", 2}, {"ui.prompts.remote", allowed}});
            agent.present(document());
            agent.origins.source = remote;
            act(agent);
            EXPECT_EQ(answer(agent).empty(), allowed == 0) << kind;
            const auto told = agent.host.notifications.delivered.get();
            ASSERT_EQ(told.size(), allowed == 0 ? 1u : 0u) << kind;
            if (allowed == 0) {
                EXPECT_EQ(told[0].informativeText,
                    std::string("Ignored software-composed ") + kind
                        + " from unknown program (4711)");
            }
            EXPECT_EQ(agent.sounds(), 0) << kind;
        }
    }
}

// Neither may a program widen what the user is about to allow.
TEST(PromptInputTest, RefusesAProgramsPressOnEveryControl)
{
    WindowFixture agent;
    agent.present(document());
    agent.origins.source = remote;
    for (const char* control : {"forever", "operations", "updates", "paths", "processes"})
        agent.click(control);
    EXPECT_EQ(agent.host.notifications.delivered.get().size(), 5u);
    agent.origins.source = {};
    agent.click("allow");
    EXPECT_EQ(answer(agent), "allow 1 3 7 2 /home/ann/Documents/taxes/");
}

TEST(PromptInputTest, RefusesDecisionsThroughAccessibilityServices)
{
    for (const std::int64_t allowed : {0, 1}) {
        WindowFixture agent;
        agent.writePreferences({{"access.user.detail", 2}, {"ui.prompts.remote", allowed}});
        PromptDialog& window = agent.present(document());
        for (const char* name : {"once", "allow"}) {
            QAccessibleInterface* button
                = QAccessible::queryAccessibleInterface(window.findChild<QWidget*>(name));
            ASSERT_TRUE(button && button->actionInterface()) << name;
            button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
            while (window.findChild<PressButton*>(name)->isDown())
                QApplication::processEvents(QEventLoop::WaitForMoreEvents);
            agent.settle();
            if (!agent.prompts.window())
                break;
        }
        EXPECT_EQ(answer(agent), allowed ? "allow 0 3 7 2 /home/ann/Documents/taxes/" : "");
        EXPECT_EQ(agent.host.notifications.delivered.get().size(), allowed ? 0u : 1u);
    }
}

TEST(PromptInputTest, SoundsWhereNothingIsDone)
{
    struct Row {
        Acts act;
        int sounds;
    };
    const Row rows[] = {
        {key(Qt::Key_Return), 1},
        {key(Qt::Key_Escape, Qt::ControlModifier), 1},
        {key(Qt::Key_Tab), 1},
        {key(Qt::Key_X, Qt::ControlModifier), 1},
        {key(Qt::Key_Control, Qt::ControlModifier), 0},
        {key(Qt::Key_Shift), 0},
        {[](WindowFixture& agent) {
             agent.prompts.window()->close();
             agent.settle();
         },
            1},
        // A key that is held down goes on for the next prompt.
        {[](WindowFixture& agent) { agent.press(Qt::Key_Escape, {}, true); }, 0},
        {[](WindowFixture& agent) { agent.press(Qt::Key_Return, Qt::ControlModifier, true); }, 0},
    };
    for (const Row& row : rows) {
        WindowFixture agent;
        const PromptDialog& window = agent.present(document());
        row.act(agent);
        EXPECT_EQ(agent.sounds(), row.sounds) << &row - rows;
        EXPECT_EQ(answer(agent), "") << &row - rows;
        EXPECT_TRUE(window.isVisible()) << &row - rows;
    }
}

// As an X server repeats a key: the release has the time of the press after it.
TEST(PromptInputTest, AKeyThatIsHeldDownDecidesOnce)
{
    WindowFixture agent;
    agent.present(document());
    agent.press(Qt::Key_Escape);
    EXPECT_NE(answer(agent), "");
    PromptDialog& next = agent.present(document());
    for (int repeat = 0; repeat < 3; ++repeat) {
        agent.origins.time += 40;
        agent.release(Qt::Key_Escape);
        agent.press(Qt::Key_Escape);
    }
    EXPECT_TRUE(next.isVisible());
    EXPECT_EQ(answer(agent), "");
    agent.release(Qt::Key_Escape);
    agent.origins.time += 40;
    agent.press(Qt::Key_Escape);
    EXPECT_NE(answer(agent), "");
}

TEST(PromptInputTest, TakesAnEntryOnlyFromWhoeverPressedInTheList)
{
    WindowFixture agent;
    PromptDialog& window = agent.present(document());
    auto* paths = window.findChild<ChoiceBox*>("paths");
    const auto list = [&]() -> QWidget& { return *paths->view()->viewport(); };
    const auto lastEntry = [&] {
        return paths->view()->visualRect(paths->model()->index(paths->count() - 1, 0)).center();
    };
    const auto open = [&] {
        agent.click("paths");
        ASSERT_TRUE(list().isVisible());
        agent.mouse(QEvent::MouseMove, list(), lastEntry(), Qt::NoButton, {});
    };
    open();
    agent.mouse(QEvent::MouseButtonRelease, list(), lastEntry()); // that nobody pressed
    EXPECT_TRUE(list().isVisible());
    agent.mouse(QEvent::MouseButtonPress, list(), lastEntry());
    agent.mouse(QEvent::MouseButtonRelease, list(), lastEntry());
    EXPECT_FALSE(list().isVisible());
    agent.click("allow");
    EXPECT_EQ(answer(agent), "allow 1 3 7 2 ");
}

TEST(PromptInputTest, OtherButtonsMeanNothing)
{
    WindowFixture agent;
    PromptDialog& window = agent.present(document());
    auto& allow = *window.findChild<PressButton*>("allow");
    const QPoint middle = allow.rect().center();
    agent.mouse(QEvent::MouseButtonPress, allow, middle, Qt::RightButton, Qt::RightButton);
    agent.mouse(QEvent::MouseButtonRelease, allow, middle, Qt::RightButton);
    EXPECT_EQ(answer(agent), "");
    const Qt::MouseButtons both = Qt::LeftButton | Qt::RightButton;
    agent.mouse(QEvent::MouseButtonPress, allow, middle);
    agent.mouse(QEvent::MouseButtonPress, allow, middle, Qt::RightButton, both);
    agent.mouse(QEvent::MouseButtonRelease, allow, middle, Qt::RightButton, both);
    agent.mouse(QEvent::MouseButtonRelease, allow, middle);
    EXPECT_NE(answer(agent), "");
    EXPECT_EQ(agent.host.notifications.delivered.get().size(), 0u);
}

TEST(PromptInputTest, HighlightsAllowExactlyWhileControlWouldAllow)
{
    WindowFixture agent;
    PromptDialog& window = agent.present(document());
    const QImage plain = window.grab().toImage();
    agent.press(Qt::Key_Control, Qt::ControlModifier);
    EXPECT_NE(window.grab().toImage(), plain);
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_Control, {});
    QApplication::sendEvent(&window, &release);
    agent.settle();
    EXPECT_EQ(window.grab().toImage(), plain);
}

TEST(PromptInputTest, AnswersOnTheStripAloneWhereThatIsWanted)
{
    for (const bool simple : {false, true}) {
        WindowFixture agent;
        agent.writePreferences({{"access.user.detail", simple ? 0 : 2}, {"ui.prompts.oob", 1}});
        PromptDialog& window = agent.present(document());
        std::string items;
        for (const auto* button : window.findChildren<PressButton*>())
            if (button->objectName().startsWith('.'))
                items += button->objectName().toStdString() + "=" + button->text().toStdString()
                    + (button->isVisible() ? "; " : "(hidden); ");
        EXPECT_EQ(items,
            std::string(simple ? "" : ".o=Once; .q=Quit; .r=Restart; .f=Forever; ")
                + ".deny=Deny Access; .allow=Allow Access; ");
        agent.press(Qt::Key_Escape);
        agent.press(Qt::Key_Return, Qt::ControlModifier);
        EXPECT_EQ(agent.sounds(), 2);
        agent.origins.source = remote;
        agent.click(".allow");
        EXPECT_EQ(answer(agent), "");
        EXPECT_EQ(agent.host.notifications.delivered.get().size(), 1u);
        agent.origins.source = {};
        if (!simple)
            agent.click(".r");
        agent.click(".allow");
        EXPECT_EQ(answer(agent).substr(0, 7), simple ? "allow 1" : "allow 2");
    }
}

TEST(PromptInputTest, ShowsTheWholeOfACutText)
{
    WindowFixture agent;
    policy_query query = document();
    storeText(query.path, "/home/ann/" + std::string(900, 'x') + "\n.txt");
    PromptDialog& window = agent.present(query);
    agent.host.clock.advance(std::chrono::seconds(2));
    const auto tips = [&window] {
        std::vector<QString> texts;
        for (const auto* child : window.findChildren<QWidget*>())
            if (child->isWindow() && child->isVisible())
                for (const auto* text : child->findChildren<QLabel*>())
                    texts.push_back(text->text());
        return texts;
    };
    auto* file = window.findChild<TextView*>("file");
    ASSERT_TRUE(file);
    agent.mouse(QEvent::MouseMove, *file, {5, 5}, Qt::NoButton, {});
    EXPECT_TRUE(tips().empty());
    agent.host.clock.advance(std::chrono::seconds(1));
    agent.settle();
    ASSERT_EQ(tips().size(), 1u);
    EXPECT_EQ(tips()[0], file->text());
    agent.mouse(QEvent::MouseMove, window, {1, 1}, Qt::NoButton, {});
    EXPECT_TRUE(tips().empty());
}

TEST(PromptInputTest, CountsDownAndLeavesNothingBehind)
{
    WindowFixture agent;
    const auto texts = [&agent] {
        std::string all;
        for (const auto* label : agent.prompts.window()->findChildren<QLabel*>())
            all += label->text().toStdString() + "\n";
        return all;
    };
    agent.present(document());
    EXPECT_THAT(texts(), HasSubstr("Denied in 60 s"));
    agent.host.clock.advance(std::chrono::milliseconds(1500));
    agent.settle();
    EXPECT_THAT(texts(), HasSubstr("Denied in 59 s"));
    agent.press(Qt::Key_Escape);
    EXPECT_EQ(agent.prompts.window(), nullptr);
    agent.settle();
    const auto widgets = QApplication::allWidgets().size();
    for (int i = 0; i < 50; ++i) {
        agent.present(document());
        agent.press(Qt::Key_Escape);
    }
    EXPECT_EQ(QApplication::allWidgets().size(), widgets);
}

}
}
