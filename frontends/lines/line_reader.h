#pragma once

#include "foundation/files.h"
#include "frontends/lines/line_splitter.h"

#include <functional>
#include <memory>

namespace vossel {

class MainThread;
class ThreadLauncher;

// Reads lines from a descriptor on a thread of its own and hands them over on the main thread. It
// reads no faster than they are taken.
class LineReader {
public:
    // `fd` stays open as long as this; `handler` is called on the main thread.
    LineReader(int fd, MainThread& mainThread, LineSplitter::Handler handler);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // False when there is no thread or descriptor left.
    [[nodiscard]] bool start(ThreadLauncher& threads);
    // Has the thread end; on the main thread. Lines that it still hands over are dropped.
    void stop();

private:
    struct Shared;

    std::shared_ptr<Shared> shared_;
};

}
