#include "frontends/windows/notice_windows.h"
#include "frontends/windows/question_dialog.h"
#include "frontends/windows/question_window.h"
#include "hosts/simulated/simulated_host.h"
#include "windows/window_fixture.h"

#include <QApplication>
#include <QLineEdit>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vossel::test {
namespace {

using testing::ElementsAre;

template <class Kind>
std::vector<Kind*> shown()
{
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    std::vector<Kind*> found;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* window = dynamic_cast<Kind*>(widget); window && window->isVisible())
            found.push_back(window);
    }
    return found;
}

class NoticeWindowsTest : public testing::Test {
protected:
    [[nodiscard]] std::vector<std::string> texts()
    {
        host_.mainThread.runPending();
        std::vector<std::string> all;
        for (const QWidget* window : shown<QWidget>())
            all.push_back(window->findChildren<TextView*>().at(1)->text().toStdString());
        std::sort(all.begin(), all.end());
        return all;
    }
    void say(const std::string& message)
    {
        notices_.display({.header = "Vossel", .message = message, .icon = {}});
    }
    void dismiss(std::size_t index)
    {
        shown<QWidget>().at(index)->findChild<PressButton*>()->click();
    }

    SimulatedHost host_;
    int above_ = 0;
    NoticeWindows notices_{host_.mainThread, [this] { ++above_; }};
};

TEST_F(NoticeWindowsTest, StandOnceAndGiveWayToLaterOnes)
{
    say("a");
    say("a");
    say("b\n<b>");
    EXPECT_THAT(texts(), ElementsAre("a", "b\\n<b>"));
    EXPECT_TRUE(shown<QWidget>().at(0)->grab().save(QString::fromStdString(pictureFile("notice"))));
    say("c");
    say("d");
    EXPECT_THAT(texts(), ElementsAre("b\\n<b>", "c", "d"));
    EXPECT_EQ(above_, 4);
    dismiss(0);
    EXPECT_EQ(texts().size(), 2u);
    notices_.closeAll();
    EXPECT_THAT(texts(), ElementsAre());
}

TEST_F(NoticeWindowsTest, WhoeverWaitsGoesOnWhenItIsDismissed)
{
    for (const bool byUser : {true, false}) {
        std::atomic<bool> over = false;
        std::thread waiting([&] {
            notices_.displayAndWait({.header = "Vossel", .message = "read this", .icon = {}});
            over = true;
        });
        ASSERT_TRUE(host_.mainThread.runUntil([] { return !shown<QWidget>().empty(); }));
        for (const char* later : {"a", "b", "c", "d"})
            say(later);
        EXPECT_THAT(texts(), ElementsAre("c", "d", "read this"));
        EXPECT_FALSE(over);
        if (byUser) {
            for (std::size_t left = 3; left > 0; --left)
                dismiss(0);
        } else {
            notices_.closeAll();
        }
        waiting.join();
        EXPECT_TRUE(over);
        notices_.closeAll();
    }
}

TEST(QuestionWindowTest, TakesWhatIsTypedOrNothing)
{
    QuestionWindow question;
    std::vector<std::optional<std::string>> answers;
    const auto take
        = [&](std::optional<std::string> answer) { answers.push_back(std::move(answer)); };

    question.tell("That was wrong.");
    question.ask("Password of ann:\n", false, take);
    QuestionDialog* dialog = shown<QuestionDialog>().at(0);
    auto* line = dialog->findChild<QLineEdit*>();
    EXPECT_EQ(line->echoMode(), QLineEdit::Password);
    const auto texts = dialog->findChildren<TextView*>();
    EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [](const TextView* text) {
        return text->text() == "That was wrong." && text->isVisible();
    }));
    line->setText("grün");
    EXPECT_TRUE(dialog->grab().save(QString::fromStdString(pictureFile("question"))));
    dialog->accept();
    EXPECT_TRUE(shown<QuestionDialog>().empty());

    question.ask("Code:", true, take);
    shown<QuestionDialog>().at(0)->close();
    EXPECT_TRUE(shown<QuestionDialog>().empty());

    question.ask("Code:", true, take);
    question.withdraw();
    EXPECT_TRUE(shown<QuestionDialog>().empty());
    EXPECT_THAT(answers, ElementsAre(std::optional<std::string>("grün"), std::nullopt));
}

}
}
