#include "frontends/lines/line_reader.h"

#include "foundation/log.h"
#include "platform/threads.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <utility>
#include <vector>

namespace vossel {

struct LineReader::Shared {
    struct Line {
        std::string text;
        bool tooLong;
    };

    int fd;
    MainThread& mainThread;
    LineSplitter::Handler handler; // the main thread's; empty once stopped
    UniqueFd wakeRead;
    UniqueFd wakeWrite;
    LineSplitter splitter; // the reading thread's

    [[nodiscard]] bool waitForBytes() const;
    void handOver(std::vector<Line> lines);
    void run();
};

// False when the reader is to stop.
bool LineReader::Shared::waitForBytes() const
{
    std::array<pollfd, 2> descriptors{{{fd, POLLIN, 0}, {wakeRead.get(), POLLIN, 0}}};
    while (::poll(descriptors.data(), descriptors.size(), -1) < 0) {
        if (errno != EINTR)
            return false;
    }
    return descriptors[1].revents == 0;
}

void LineReader::Shared::handOver(std::vector<Line> lines)
{
    if (lines.empty())
        return;
    mainThread.performAndWait([this, &lines] {
        for (const Line& line : lines) {
            if (handler)
                handler(line.text, line.tooLong);
        }
    });
}

void LineReader::Shared::run()
{
    std::vector<Line> lines;
    const auto collect = [&lines](std::string_view text, bool tooLong) {
        lines.push_back({std::string(text), tooLong});
    };
    std::array<char, 16 * 1024> buffer;
    while (waitForBytes()) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (count < 0)
            logText("no more commands can be read: %@", errorText(errno));
        if (count <= 0) {
            splitter.finish(collect);
            handOver(std::exchange(lines, {}));
            return;
        }
        splitter.feed({buffer.data(), static_cast<std::size_t>(count)}, collect);
        handOver(std::exchange(lines, {}));
    }
}

LineReader::LineReader(int fd, MainThread& mainThread, LineSplitter::Handler handler)
    : shared_(std::make_shared<Shared>(
        Shared{fd, mainThread, std::move(handler), UniqueFd(), UniqueFd(), LineSplitter()}))
{
}

LineReader::~LineReader()
{
    stop();
}

bool LineReader::start(ThreadLauncher& threads)
{
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0)
        return false;
    shared_->wakeRead.reset(pipe[0]);
    shared_->wakeWrite.reset(pipe[1]);
    return threads.launch("lines", [shared = shared_] { shared->run(); });
}

void LineReader::stop()
{
    shared_->handler = nullptr;
    // A closed pipe wakes whoever polls its other end.
    shared_->wakeWrite.reset();
}

}
