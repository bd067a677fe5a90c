// How long it takes from the driver's message until the prompt's pixels stand on the screen,
// against a program that does nothing but open a window of that size and fill it; what the agent
// holds in memory before the first prompt and after many. The agent's own program on an X server of
// its own; run from a release build. An argument is the number of prompts for the memory, 100
// without it.

#include "bench_driver.h"
#include "foundation/files.h"
#include "settings/directories.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

using namespace vossel;
using namespace vossel::bench;
using std::chrono::steady_clock;

constexpr int freshAgents = 15;
constexpr int rounds = 30;
constexpr auto arming = std::chrono::milliseconds(430);
constexpr std::uint8_t control = 37; // of an ordinary keyboard
constexpr std::uint8_t returnKey = 36;
constexpr std::int16_t middleX = 512;
constexpr std::int16_t middleY = 330; // inside every prompt

// What must hold; the program ends with status 1 where it does not.
constexpr double maxPainting = 150'000; // us, of an agent's first prompt
constexpr long maxIdle = 60'000; // kB
constexpr long maxGrowth = 1'000; // kB, from the 20th prompt to the last

constexpr char preferences[]
    = R"(<?xml version="1.0"?><plist version="1.0"><dict><key>access.user.detail</key><integer>2</integer><key>ui.prompts.remote</key><integer>1</integer></dict></plist>)";

class Screen {
public:
    explicit Screen(const std::string& folder)
        : server_({"Xvfb", "-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp"},
            folder + "/x.log")
    {
        const auto number = server_.readLine();
        if (!number)
            fail("no X server starts");
        setenv("DISPLAY", (":" + *number).c_str(), 1);
        connection_ = xcb_connect(nullptr, nullptr);
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    }
    ~Screen() { xcb_disconnect(connection_); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    [[noreturn]] static void fail(const char* reason)
    {
        std::fprintf(stderr, "%s\n", reason);
        std::exit(1);
    }
    [[nodiscard]] bool isPainted() const
    {
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
            xcb_get_image_reply(connection_,
                xcb_get_image(
                    connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, middleX, middleY, 1, 1, ~0U),
                nullptr),
            &std::free);
        const std::uint8_t* pixel = xcb_get_image_data(image.get());
        return (pixel[0] | pixel[1] | pixel[2]) != 0;
    }
    void pressControlReturn() const
    {
        for (const auto& [type, key] :
            {std::pair<std::uint8_t, std::uint8_t>{XCB_KEY_PRESS, control},
                {XCB_KEY_PRESS, returnKey}, {XCB_KEY_RELEASE, returnKey},
                {XCB_KEY_RELEASE, control}})
            xcb_test_fake_input(connection_, type, key, XCB_CURRENT_TIME, root_, 0, 0, 0);
        xcb_flush(connection_);
    }

private:
    test::ChildProcess server_;
    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = 0;
};

class Agent {
public:
    explicit Agent(const std::string& prefix)
        : driver_(prefix)
        , program_({VOSSEL_AGENT, "--prefix", prefix, "--prompt", "windows"}, prefix + "/agent.log")
    {
        driver_.acceptAgent(true);
        serveFor(std::chrono::milliseconds(300));
    }

    [[nodiscard]] std::chrono::nanoseconds prompt(
        const policy_query_message& message, const Screen& screen)
    {
        const auto start = steady_clock::now();
        driver_.send(message);
        while (!screen.isPainted()) {
            serveFor(std::chrono::milliseconds(0));
            if (steady_clock::now() > start + std::chrono::seconds(5))
                Screen::fail("no prompt came");
        }
        const auto time = steady_clock::now() - start;
        serveFor(arming);
        screen.pressControlReturn();
        while (screen.isPainted())
            serveFor(std::chrono::milliseconds(1));
        return time;
    }
    [[nodiscard]] long residentKilobytes() const
    {
        std::ifstream status("/proc/" + std::to_string(program_.pid()) + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("VmRSS:"))
                return std::strtol(line.c_str() + 6, nullptr, 10);
        return -1;
    }

private:
    void serveFor(std::chrono::milliseconds time)
    {
        const auto until = steady_clock::now() + time;
        do {
            pollfd ready{driver_.descriptor(), POLLIN, 0};
            const auto left
                = std::chrono::ceil<std::chrono::milliseconds>(until - steady_clock::now()).count();
            if (poll(&ready, 1, left > 0 ? static_cast<int>(left) : 0) > 0)
                driver_.serve();
        } while (steady_clock::now() < until);
    }

    BenchDriver driver_;
    test::ChildProcess program_;
};

// A window of the prompt's size, opened and filled, by a program that is running already.
std::vector<std::chrono::nanoseconds> measureSmallest(const Screen& screen)
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const xcb_screen_t* root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    std::vector<std::chrono::nanoseconds> times;
    for (int i = 0; i < rounds; ++i) {
        const auto start = steady_clock::now();
        const xcb_window_t window = xcb_generate_id(connection);
        const std::uint32_t values[] = {root->white_pixel, 1};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, root->root, 212, 180, 600, 390,
            0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
            XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection, window);
        xcb_flush(connection);
        while (!screen.isPainted()) { }
        times.push_back(steady_clock::now() - start);
        xcb_destroy_window(connection, window);
        xcb_flush(connection);
        while (screen.isPainted()) { }
    }
    xcb_disconnect(connection);
    return times;
}

double print(const char* what, std::vector<std::chrono::nanoseconds> times)
{
    const double p50 = static_cast<double>(median(times).count()) / 1000;
    std::printf("%-34s p50 %9.1f us  longest %9.1f us\n", what, p50,
        static_cast<double>(times.back().count()) / 1000);
    return p50;
}

struct Layout {
    test::TemporaryDirectory directory;

    Layout()
    {
        const Directories directories(directory.path());
        std::filesystem::create_directories(directories.sharedData());
        if (!writeFile(directories.preferences(), preferences))
            Screen::fail("no preferences");
    }
};

}

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const int prompts = argc > 1 ? std::atoi(argv[1]) : 100;
    const Layout layout;
    const Screen screen(layout.directory.path());
    policy_query_message message = exampleQuery();
    message.policy_query_.reserved1 = CODE_SIGN_VALID; // so that there is a picture to be made

    std::vector<std::chrono::nanoseconds> cold;
    long idle = 0;
    for (int i = 0; i < freshAgents; ++i) {
        const Layout own;
        Agent agent(own.directory.path());
        idle = agent.residentKilobytes();
        cold.push_back(agent.prompt(message, screen));
    }
    const double first = print("first prompt of an agent, painted", cold);

    Agent agent(layout.directory.path());
    std::vector<std::chrono::nanoseconds> warm;
    long early = 0;
    for (int i = 0; i < prompts; ++i) {
        warm.push_back(agent.prompt(message, screen));
        if (i == 19)
            early = agent.residentKilobytes();
    }
    const long late = agent.residentKilobytes();
    const double later = print("later prompts, painted", warm);
    const double smallest = print("a bare window, filled", measureSmallest(screen));
    std::printf("ratio of p50 to the bare window: first %.1f, later %.1f\n", first / smallest,
        later / smallest);
    std::printf("resident: idle %ld kB, after 20 prompts %ld kB, after %d %ld kB\n", idle, early,
        prompts, late);
    return first <= maxPainting && idle <= maxIdle && late - early <= maxGrowth ? 0 : 1;
}
