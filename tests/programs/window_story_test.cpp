#include "programs/agent_and_driver.h"
#include "support/x_server.h"

#include <QImage>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <xcb/xcb.h>

// The agent's windows on a real X server inside another one: what is pressed on the outer screen is
// hardware for the inner one, what is pressed on the inner screen comes from a program.

namespace vossel::test {
namespace {

struct Window {
    xcb_window_t id = XCB_NONE;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    [[nodiscard]] bool isPrompt() const { return width > 500; } // notices are narrower
};

// What is to be seen on a display.
class Screen {
public:
    explicit Screen(const char* display)
        : connection_(xcb_connect(display, nullptr))
        , root_(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data)
    {
    }
    ~Screen() { xcb_disconnect(connection_); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    [[nodiscard]] std::vector<Window> windows() const
    {
        std::vector<Window> shown;
        auto* tree
            = xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_->root), nullptr);
        const xcb_window_t* children = xcb_query_tree_children(tree);
        for (int i = 0; i < xcb_query_tree_children_length(tree); ++i) {
            const xcb_window_t id = children[i];
            auto* attributes = xcb_get_window_attributes_reply(
                connection_, xcb_get_window_attributes(connection_, id), nullptr);
            auto* place
                = xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, id), nullptr);
            if (attributes && place && attributes->map_state == XCB_MAP_STATE_VIEWABLE
                && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT && place->width > 100)
                shown.push_back({id, place->x, place->y, place->width, place->height});
            std::free(attributes);
            std::free(place);
        }
        std::free(tree);
        return shown;
    }
    [[nodiscard]] bool shows(const Window& window) const
    {
        const auto shown = windows();
        return std::any_of(
            shown.begin(), shown.end(), [&](const Window& other) { return other.id == window.id; });
    }
    [[nodiscard]] QImage picture() const
    {
        auto* image = xcb_get_image_reply(connection_,
            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_->root, 0, 0,
                root_->width_in_pixels, root_->height_in_pixels, ~0U),
            nullptr);
        const QImage copy = QImage(xcb_get_image_data(image), root_->width_in_pixels,
            root_->height_in_pixels, QImage::Format_RGB32)
                                .copy();
        std::free(image);
        return copy;
    }
    void save(const std::string& name) const
    {
        const char* folder = std::getenv("VOSSEL_PICTURES");
        const std::filesystem::path pictures = folder ? folder : "pictures";
        std::filesystem::create_directories(pictures);
        EXPECT_TRUE(picture().save(QString::fromStdString(pictures / (name + ".png"))));
    }

private:
    xcb_connection_t* connection_;
    xcb_screen_t* root_;
};

class WindowStory : public AgentAndDriver {
protected:
    void SetUp() override
    {
        AgentAndDriver::SetUp();
        if (IsSkipped())
            return;
        for (const char* program : {"Xvfb", "Xephyr", "xdotool"})
            if (!isInPath(program))
                GTEST_SKIP() << program << " is not installed";
        outer_.emplace(cookie_, "Xvfb");
        inner_.emplace(cookie_, "Xephyr", outer_->display());
        screen_.emplace(inner_->display());
        as_ = command_;
        as_.pop_back();
        command_ = {"env", "-u", "DBUS_SESSION_BUS_ADDRESS", "-u", "QT_QPA_PLATFORM",
            std::string("DISPLAY=") + inner_->display()};
        command_.insert(command_.end(), as_.begin(), as_.end());
        command_.emplace_back(VOSSEL_AGENT);
        makeSharedFolderWritable();
    }

    // Of the ordinary user that the agent belongs to.
    [[nodiscard]] Arguments xdotool(const XServer& server, const Arguments& words) const
    {
        Arguments all{"env", std::string("DISPLAY=") + server.display()};
        all.insert(all.end(), as_.begin(), as_.end());
        all.emplace_back("xdotool");
        all.insert(all.end(), words.begin(), words.end());
        return all;
    }
    void doOn(const XServer& server, const Arguments& words)
    {
        EXPECT_EQ(ChildProcess(xdotool(server, words), directory_ / "xdotool").wait(), 0);
    }
    [[nodiscard]] static bool isSoon(
        const std::function<bool()>& holds, std::chrono::seconds patience = ChildProcess::patience)
    {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!holds()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            ::poll(nullptr, 0, 10);
        }
        return true;
    }
    // The prompt after the last one, painted, and since long enough for a person to have seen it.
    void awaitPrompt()
    {
        const Window last = prompt_;
        EXPECT_TRUE(isSoon([&] {
            for (const Window& window : screen_->windows()) {
                if (window.isPrompt() && window.id != last.id)
                    prompt_ = window;
            }
            return prompt_.id != last.id
                && qBlue(screen_->picture().pixel(prompt_.x + prompt_.width / 2, prompt_.y + 10))
                != 0;
        })) << agentError();
        ::poll(nullptr, 0, 600); // what is done earlier does not count
    }
    // A person who sees that nothing happens does the same again.
    void doUntil(const std::function<bool()>& happens, const std::function<void()>& act)
    {
        for (int attempt = 0; attempt < 5; ++attempt) {
            ASSERT_TRUE(screen_->shows(prompt_)) << "answered already";
            act();
            if (isSoon(happens, std::chrono::seconds(2)))
                return;
        }
        ADD_FAILURE() << "nothing happens: " << agentError();
    }
    [[nodiscard]] Json answerTo(const std::function<void()>& act)
    {
        doUntil([&] { return !screen_->shows(prompt_); }, act);
        return answer();
    }
    void clickOn(const XServer& server, int x, int y)
    {
        doOn(server, {"mousemove", std::to_string(x), std::to_string(y), "click", "1"});
    }
    void clickAllow(const XServer& server)
    {
        clickOn(server, prompt_.x + prompt_.width - 60, prompt_.y + prompt_.height - 36);
    }
    void clickDeny(const XServer& server)
    {
        clickOn(server, prompt_.x + prompt_.width - 155, prompt_.y + prompt_.height - 36);
    }
    [[nodiscard]] QImage durations() const
    {
        return screen_->picture().copy(
            prompt_.x + 110, prompt_.y + prompt_.height - 95, prompt_.width - 130, 36);
    }

    XServer::Cookie cookie_;
    std::optional<XServer> outer_;
    std::optional<XServer> inner_;
    std::optional<Screen> screen_;
    Window prompt_; // the last one

private:
    void makeSharedFolderWritable() const
    {
        ::chmod((prefix_ + "/Users/Shared/Vossel").c_str(), 0777);
    }

    Arguments as_; // what makes a program the ordinary user's
};

TEST_F(WindowStory, APersonAnswersAndAProgramDoesNot)
{
    writePreferences("<key>access.user.detail</key><integer>2</integer>");
    startDriver({"/data/a.txt", "/data/b.txt", "/data/c.txt"});
    startAgentWith({});
    awaitPrompt();
    screen_->save("screen-advanced");

    std::size_t notices = 0;
    for (const auto& act : {std::function<void()>([&] {
                                doOn(*inner_, {"key", "Escape"});
                            }),
             std::function<void()>([&] { clickAllow(*inner_); })})
        doUntil(
            [&, before = notices] {
                notices = screen_->windows().size() - 1;
                return notices > before;
            },
            act);
    screen_->save("screen-refused");

    // The same two, by hand; then a key that needs the modifier.
    EXPECT_EQ(answerTo([&] {
        doOn(*outer_, {"mousemove", "320", "20", "key", "Escape"});
    })["decision"],
        DECISION_DENY);
    awaitPrompt();
    EXPECT_EQ(answerTo([&] { clickAllow(*outer_); })["decision"], DECISION_ALLOW);
    awaitPrompt();
    const QImage preselected = durations();
    doUntil([&] { return durations() != preselected; }, [&] { doOn(*outer_, {"key", "ctrl+r"}); });
    const Json last = answerTo([&] { doOn(*outer_, {"key", "ctrl+Return"}); });
    EXPECT_EQ(last["decision"], DECISION_ALLOW);
    EXPECT_EQ(last["duration"], DURATION_UNTIL_RESTART);
    EXPECT_EQ(driver_->wait(), 0);
}

TEST_F(WindowStory, AProgramAnswersWhereThatIsAllowed)
{
    writePreferences("<key>ui.prompts.remote</key><integer>1</integer>");
    startDriver({"/data/a.txt", "/data/b.txt", "/data/c.txt"});
    startAgentWith({"--prompt", "windows"});
    awaitPrompt();
    screen_->save("screen-simple");
    EXPECT_EQ(answerTo([&] { doOn(*inner_, {"key", "ctrl+Return"}); })["decision"], DECISION_ALLOW);
    awaitPrompt();
    EXPECT_EQ(answerTo([&] { clickDeny(*inner_); })["decision"], DECISION_DENY);
    awaitPrompt();
    EXPECT_EQ(answerTo([&] { doOn(*inner_, {"key", "Escape"}); })["decision"], DECISION_DENY);
    EXPECT_EQ(screen_->windows().size(), 0u) << "nothing was refused";
}

}
}
