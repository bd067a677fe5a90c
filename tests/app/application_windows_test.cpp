#include "app/about_window_controller.h"
#include "app/qm_first_run_window_controller.h"
#include "app/window_presenter.h"
#include "foundation/files.h"
#include "hosts/simulated/simulated_host.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>

namespace vossel {
namespace {

struct ApplicationWindowsTest : testing::Test, WindowPresenter, QMFirstRunWindowControllerDelegate {
    const test::TemporaryDirectory root;
    const Directories directories{root.path()};
    SimulatedHost host;
    const WindowContext context{
        host.clock, host.threads, host.mainThread, host.windows, directories, *this};
    std::atomic<int> ended = 0;
    std::string events;
    std::vector<double> values; // of the bar, at each change
    std::shared_ptr<QMFirstRunWindowController> firstRun
        = QMFirstRunWindowController::init(context);
    std::weak_ptr<QMFirstRunWindowController> counting;
    int passed = 0;

    void firstRunHasEnded() override { ++ended; }
    void firstRunOpened(QMFirstRunWindowController&) override { events += "+"; }
    void firstRunChanged(QMFirstRunWindowController& window) override
    {
        values.push_back(window.progressIndicator.doubleValue());
    }
    void firstRunClosed(QMFirstRunWindowController&) override { events += "-"; }
    void aboutOpened(AboutWindowController& about) override
    {
        events += about.versionTextField.stringValue();
    }
    void aboutClosed(AboutWindowController&) override { events += ";"; }

    // The window opens with its countdown; the test outlives both.
    void open()
    {
        firstRun->setDelegate({std::shared_ptr<void>(), this});
        for (int i = 0; i < 2; ++i) {
            firstRun->open();
            firstRun->awakeFromNib();
        }
        counting = firstRun;
    }
    // One second after the other; each has been counted when the next begins.
    void pass(int seconds)
    {
        for (int i = 0; i < seconds; ++i) {
            ASSERT_TRUE(host.clock.waitForWaiters(1));
            host.clock.advance(std::chrono::seconds(1));
            ASSERT_TRUE(host.mainThread.runUntil([this, due = ++passed] {
                const auto kept = counting.lock();
                return !kept || kept->indicatorValue() == due;
            }));
        }
    }
    void endCountdown()
    {
        host.threads.joinAll();
        host.mainThread.runPending();
    }
};

TEST_F(ApplicationWindowsTest, FirstRunEndsOnceWhenItsTimeHasPassed)
{
    open();
    EXPECT_EQ(host.threads.launched(), 1U);
    const WindowState shown = firstRun->window.state();
    EXPECT_EQ(shown.level, WindowLevel::Status);
    EXPECT_TRUE(shown.orderedFront && shown.keyWindow && shown.titleBarTransparent);
    pass(239);
    EXPECT_EQ(ended, 0);
    pass(1);
    endCountdown();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(values.size(), 240U);
    const ProgressIndicatorState full{0, 240, 240, false, false, true, true};
    EXPECT_EQ(firstRun->progressIndicator.state(), full);
    EXPECT_EQ(events, "+");
}

TEST_F(ApplicationWindowsTest, FinishEndsFirstRunAndTheCountdownGoesOnWithoutItsWindow)
{
    open();
    firstRun->clickedFinished();
    EXPECT_EQ(ended, 1);
    firstRun->close();
    firstRun->close();
    EXPECT_FALSE(firstRun->window.state().orderedFront);
    EXPECT_EQ(events, "+-");
    firstRun = nullptr;
    pass(240);
    endCountdown();
    EXPECT_EQ(ended, 2);
    EXPECT_TRUE(values.empty()) << "a closed window does not change";
    EXPECT_TRUE(counting.expired());
}

TEST_F(ApplicationWindowsTest, TheEndOfTheProgramIsNotTheEndOfFirstRun)
{
    open();
    host.clock.stop();
    endCountdown();
    EXPECT_EQ(ended, 0);
}

TEST_F(ApplicationWindowsTest, AboutSaysVersionAndBuildWhateverTheFileHolds)
{
    const std::string longest(256, '7');
    const struct {
        const char* name;
        std::string content;
        std::string build;
    } rows[] = {{"line breaks go", "\n3\n45\n", "345"}, {"no format", "%@", "%@"},
        {"empty", "", ""}, {"no UTF-8", "3\xFF", "unknown"},
        {"as long as may be", longest, longest}, {"too long", longest + "7", "unknown"}};
    for (const auto& row : rows) {
        std::filesystem::create_directories(directories.support());
        ASSERT_TRUE(writeFile(directories.buildNumber(), row.content));
        AboutWindowController about(context, "1.2");
        about.open();
        about.open();
        EXPECT_TRUE(about.window.state().orderedFront);
        about.close();
        EXPECT_FALSE(about.window.state().orderedFront);
        EXPECT_EQ(std::exchange(events, {}), "Version 1.2 (" + row.build + ");") << row.name;
    }
    EXPECT_EQ(host.windows.acts.get(), std::vector<std::string>(std::size(rows), "activate"));
}

}
}
