#include "frontends/lines/line_splitter.h"

namespace vossel {

void LineSplitter::feed(std::string_view bytes, const Handler& handler)
{
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\n');
        append(bytes.substr(0, end), handler);
        if (end == std::string_view::npos)
            return;
        endLine(handler);
        bytes.remove_prefix(end + 1);
    }
}

void LineSplitter::finish(const Handler& handler)
{
    if (!line_.empty() || skipping_)
        endLine(handler);
}

void LineSplitter::append(std::string_view piece, const Handler& handler)
{
    if (skipping_)
        return;
    const std::size_t room = maxLine - line_.size();
    line_ += piece.substr(0, room);
    if (piece.size() <= room)
        return;
    skipping_ = true;
    handler(std::string_view(line_).substr(0, maxShownOfLongLine), true);
    line_.clear();
}

void LineSplitter::endLine(const Handler& handler)
{
    if (!skipping_) {
        if (!line_.empty() && line_.back() == '\r')
            line_.pop_back();
        handler(line_, false);
    }
    line_.clear();
    skipping_ = false;
}

}
