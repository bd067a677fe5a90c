#include "app/about_window_controller.h"
#include "app/window_presenter.h"
#include "foundation/files.h"
#include "hosts/simulated/simulated_host.h"
#include "settings/directories.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vossel {
namespace {

struct AboutPresenter final : WindowPresenter {
    std::vector<std::string> events;

    void firstRunOpened(QMFirstRunWindowController&) override { events.emplace_back("first run"); }
    void firstRunChanged(QMFirstRunWindowController&) override { events.emplace_back("changed"); }
    void firstRunClosed(QMFirstRunWindowController&) override { events.emplace_back("over"); }
    void aboutOpened(AboutWindowController& window) override
    {
        events.push_back("opened: " + window.versionTextField.stringValue());
    }
    void aboutClosed(AboutWindowController&) override { events.emplace_back("closed"); }
};

class AboutWindow : public testing::Test {
protected:
    AboutWindow() { std::filesystem::create_directories(directories_.support()); }

    test::TemporaryDirectory root_;
    Directories directories_{root_.path()};
    SimulatedHost host_;
    AboutPresenter presenter_;
    const WindowContext context_{
        host_.clock, host_.threads, host_.mainThread, host_.windows, directories_, presenter_};
};

TEST_F(AboutWindow, SaysVersionAndBuildWhateverTheFileHolds)
{
    const std::string file = directories_.buildNumber();
    const auto lineOf = [this](const std::string& version) {
        AboutWindowController about(context_, version);
        about.windowDidLoad();
        return about.versionTextField.stringValue();
    };
    EXPECT_EQ(lineOf("1.2"), "Version 1.2 (unknown)") << "no file";
    const struct {
        std::string content;
        const char* line;
    } rows[] = {
        {"345\n", "Version 1.2 (345)"},
        {"345", "Version 1.2 (345)"},
        {"\n3\n\n45\n", "Version 1.2 (345)"},
        {"%@ 7\r\n", "Version 1.2 (%@ 7\r)"},
        {"b\xC3\xA4r\n", "Version 1.2 (b\xC3\xA4r)"},
        {"", "Version 1.2 ()"},
        {"34\xFF", "Version 1.2 (unknown)"},
        {std::string(256, '7'), nullptr},
        {std::string(257, '7'), "Version 1.2 (unknown)"},
        {std::string(1 << 20, '\n'), "Version 1.2 (unknown)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.content.substr(0, 20));
        ASSERT_TRUE(writeFile(file, row.content));
        EXPECT_EQ(lineOf("1.2"), row.line ? row.line : "Version 1.2 (" + row.content + ")");
    }
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(lineOf("%@"), "Version %@ (unknown)");
}

TEST_F(AboutWindow, ComesToTheFrontAndGoesWithItsController)
{
    ASSERT_TRUE(writeFile(directories_.buildNumber(), "345\n"));
    auto about = std::make_unique<AboutWindowController>(context_, "1.2");
    about->open();
    about->open();
    const WindowState shown = about->window.state();
    EXPECT_TRUE(shown.orderedFront && shown.titleBarTransparent);
    EXPECT_EQ(shown.contentEffect, ContentEffect{});
    EXPECT_EQ(host_.windows.acts.get(), std::vector<std::string>{"activate"});
    EXPECT_EQ(presenter_.events, std::vector<std::string>{"opened: Version 1.2 (345)"});

    about->close();
    EXPECT_FALSE(about->window.state().orderedFront);
    about = nullptr;
    EXPECT_EQ(presenter_.events.size(), 2U) << "closed once";

    about = std::make_unique<AboutWindowController>(context_, "1.2");
    about->open();
    about = nullptr;
    EXPECT_EQ(presenter_.events.back(), "closed");
    EXPECT_EQ(presenter_.events.size(), 4U);
}

}
}
