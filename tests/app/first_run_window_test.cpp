#include "app/qm_first_run_window_controller.h"
#include "app/window_presenter.h"
#include "hosts/simulated/simulated_host.h"
#include "settings/directories.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

namespace vossel {
namespace {

using std::chrono::seconds;

struct CountingDelegate final : QMFirstRunWindowControllerDelegate {
    std::atomic<int> ended = 0;

    void firstRunHasEnded() override { ++ended; }
};

// Notes what is shown, and the value of the bar each time it changes.
struct NotingPresenter final : WindowPresenter {
    std::vector<std::string> events;
    std::vector<double> values;

    void firstRunOpened(QMFirstRunWindowController&) override { events.emplace_back("opened"); }
    void firstRunChanged(QMFirstRunWindowController& window) override
    {
        values.push_back(window.progressIndicator.doubleValue());
    }
    void firstRunClosed(QMFirstRunWindowController&) override { events.emplace_back("closed"); }
    void aboutOpened(AboutWindowController&) override { events.emplace_back("about"); }
    void aboutClosed(AboutWindowController&) override { events.emplace_back("about closed"); }
};

class FirstRunWindow : public testing::Test {
protected:
    ~FirstRunWindow() override
    {
        host_.clock.stop();
        host_.threads.joinAll();
    }
    // Moves the time on, a second at a time; each has been counted when the next begins.
    void pass(int count)
    {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(host_.clock.waitForWaiters(1));
            host_.clock.advance(seconds(1));
            const auto counted = [this, due = ++passed_] {
                const auto kept = counting_.lock();
                return !kept || kept->indicatorValue() == due;
            };
            ASSERT_TRUE(host_.mainThread.runUntil(counted));
        }
    }
    // The countdown has nothing left to do.
    void finish()
    {
        host_.threads.joinAll();
        host_.mainThread.runPending();
    }

    Directories directories_;
    SimulatedHost host_;
    NotingPresenter presenter_;
    std::shared_ptr<CountingDelegate> delegate_ = std::make_shared<CountingDelegate>();
    std::shared_ptr<QMFirstRunWindowController> window_ = QMFirstRunWindowController::init(
        {host_.clock, host_.threads, host_.mainThread, host_.windows, directories_, presenter_});
    const std::weak_ptr<QMFirstRunWindowController> counting_ = window_;
    int passed_ = 0;
};

TEST_F(FirstRunWindow, EndsFirstRunOnceWhenNobodyTouchesIt)
{
    window_->setDelegate(delegate_);
    window_->open();
    pass(239);
    EXPECT_EQ(delegate_->ended, 0);
    pass(1);
    finish();
    EXPECT_EQ(delegate_->ended, 1);
    EXPECT_EQ(window_->indicatorValue(), 240);

    std::vector<double> everySecond;
    for (int i = 1; i <= 240; ++i)
        everySecond.push_back(i);
    EXPECT_EQ(presenter_.values, everySecond);
    const ProgressIndicatorState full{.maxValue = 240,
        .doubleValue = 240,
        .indeterminate = false,
        .usesThreadedAnimation = true,
        .animating = true};
    EXPECT_EQ(window_->progressIndicator.state(), full);
}

TEST_F(FirstRunWindow, TheFinishButtonEndsItAtOnceAndTheCountdownAgain)
{
    window_->setDelegate(delegate_);
    window_->open();
    pass(10);
    window_->clickedFinished();
    EXPECT_EQ(delegate_->ended, 1);
    window_->close();
    window_->close();
    EXPECT_EQ(presenter_.events, (std::vector<std::string>{"opened", "closed"}));
    EXPECT_FALSE(window_->window.state().orderedFront);

    // Nobody else keeps the controller now, and the countdown still runs out.
    window_ = nullptr;
    pass(229);
    EXPECT_EQ(delegate_->ended, 1);
    pass(1);
    finish();
    EXPECT_EQ(delegate_->ended, 2);
    EXPECT_EQ(presenter_.values.size(), 10U) << "a closed window does not change";
    EXPECT_TRUE(counting_.expired());
    EXPECT_EQ(delegate_.use_count(), 1);
}

TEST_F(FirstRunWindow, IsSetUpOnceHoweverOftenItsLayoutWakes)
{
    for (int i = 0; i < 3; ++i)
        window_->awakeFromNib();
    window_->open();
    window_->open();
    EXPECT_EQ(host_.threads.launched(), 1U);
    EXPECT_EQ(presenter_.events, std::vector<std::string>{"opened"});
    EXPECT_EQ(
        window_->vosselImageView.image(), ImageSource::resource("lock_128x128.png", 128, 128));
    EXPECT_EQ(
        window_->computerImageView.image(), ImageSource::resource("mac_128x128.png", 128, 128));
    EXPECT_EQ(window_->arrowsImageView.image(), ImageSource::resource("arrows_64x64.png", 64, 64));
    WindowState shown = window_->window.state();
    EXPECT_EQ(static_cast<int>(shown.level), 9);
    EXPECT_EQ(shown.contentEffect, ContentEffect{});
    EXPECT_EQ(shown.styleMask & 0x8000U, 0x8000U);
    EXPECT_TRUE(shown.orderedFront && shown.keyWindow && shown.titleBarTransparent);

    pass(240);
    finish();
    EXPECT_EQ(window_->indicatorValue(), 240) << "and without a delegate nobody is told";
}

TEST_F(FirstRunWindow, TheEndOfTheProgramIsNotTheEndOfFirstRun)
{
    window_->setDelegate(delegate_);
    window_->open();
    pass(3);
    ASSERT_TRUE(host_.clock.waitForWaiters(1));
    host_.clock.stop();
    finish();
    EXPECT_EQ(delegate_->ended, 0);
    EXPECT_EQ(window_->indicatorValue(), 3);
}

TEST_F(FirstRunWindow, WithoutAThreadTheFinishButtonIsLeft)
{
    host_.threads.refuse(true);
    window_->setDelegate(delegate_);
    window_->open();
    EXPECT_EQ(presenter_.events, std::vector<std::string>{"opened"});
    window_->clickedFinished();
    EXPECT_EQ(delegate_->ended, 1);
}

}
}
