#pragma once

namespace vossel {

// Writes "[MM/DD/YYYY hh:mm:ss] PID TAG: MESSAGE" as one line to standard error, in local time; the
// message is cut to 1023 bytes. Returns the characters written, negative when that failed. Any
// thread.
[[gnu::format(printf, 2, 3)]] int LOG_(const char* tag, const char* format, ...);

}
