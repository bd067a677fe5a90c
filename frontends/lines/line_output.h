#pragma once

#include "foundation/mutex.h"
#include "wire_json/record_json.h"

#include <functional>
#include <string_view>

namespace vossel {

// Writes events for a script: one JSON object a line, handed over whole and at once. Any thread;
// lines never mix. After the first line that could not be handed over nothing more is tried, for
// whoever read them is gone.
class LineOutput {
public:
    // Takes one line with its line break; false when it could not be written.
    using Writer = std::function<bool(std::string_view line)>;

    // `whenBroken` is called once, by the thread whose line was the first that nobody took.
    explicit LineOutput(Writer writer, std::function<void()> whenBroken = {})
        : writer_(std::move(writer))
        , whenBroken_(std::move(whenBroken))
    {
    }

    void write(const Json& event);
    // Whether nobody reads any more.
    [[nodiscard]] bool isBroken() const;

private:
    const Writer writer_;
    const std::function<void()> whenBroken_;
    mutable Mutex mutex_;
    bool broken_ VOSSEL_GUARDED_BY(mutex_) = false;
};

// Writes to a descriptor that stays open as long as the writer is used. A reader that takes nothing
// for 5 seconds counts as gone: no prompt and no answer may wait for it longer. The signal of a
// broken pipe must be ignored.
[[nodiscard]] LineOutput::Writer descriptorWriter(int fd);

}
