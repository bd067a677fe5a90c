#include "foundation/diagnostics.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <string>

namespace vossel {

namespace {

std::string format_date(std::time_t time)
{
    std::tm parts{};
    localtime_r(&time, &parts);
    char text[64];
    std::snprintf(text, sizeof text, "%02d/%02d/%04d %02d:%02d:%02d", parts.tm_mon + 1,
        parts.tm_mday, parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text;
}

}

int LOG_(const char* tag, const char* format, ...)
{
    char message[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    return std::fprintf(stderr, "[%s] %d %s: %s\n", format_date(std::time(nullptr)).c_str(),
        static_cast<int>(getpid()), tag, message);
}

}
