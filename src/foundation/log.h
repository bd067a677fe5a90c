#pragma once

#include "foundation/text_format.h"

#include <atomic>
#include <functional>
#include <string_view>

// The program's diagnostic log. While nobody listens, a line costs one relaxed load and nothing is
// formatted.

namespace vossel {

// Called with one finished line without a line break, one call at a time, from any thread. What it
// logs itself is dropped; it must not call setLogSink.
using LogSink = std::function<void(std::string_view line)>;

// Installs the listener, or removes it with an empty function. The old one is not called any more
// once this returns.
void setLogSink(LogSink sink);

namespace log_detail {
extern std::atomic<bool> listening;
void write(std::string_view line);
}

[[nodiscard]] inline bool logListening()
{
    return log_detail::listening.load(std::memory_order_relaxed);
}

// logText("paths: %@", text): each "%@" takes the next argument, which must convert to a view.
template <class... Arguments>
inline void logText(std::string_view format, const Arguments&... arguments)
{
    if (logListening())
        log_detail::write(formatText(format, {std::string_view(arguments)...}));
}

}
