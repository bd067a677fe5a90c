#include "rules/rules_file_writer.h"

#include "foundation/utf8.h"
#include "rules/file_message.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace vossel {

namespace {

// A line takes at most this beside its texts: words, letters, quotes, the number.
constexpr std::size_t maxBesideTexts = 96;

// Where the next character of a line goes, in memory that is long enough.
class LineEnd {
public:
    explicit LineEnd(char* at)
        : at_(at)
    {
    }
    [[nodiscard]] char* at() const { return at_; }

    void put(std::string_view text) { at_ = std::copy(text.begin(), text.end(), at_); }
    void putQuoted(std::string_view field)
    {
        put(" \"");
        put(field);
        put("\"");
    }
    void putTag(std::string_view tag)
    {
        put(" \"");
        at_ = std::copy_if(tag.begin(), tag.end(), at_, [](char c) { return c != '"'; });
        put("\"");
    }
    void putQuoted(std::int64_t number)
    {
        constexpr std::size_t maxDigits = 20; // with its sign
        put(" \"");
        at_ = std::to_chars(at_, at_ + maxDigits, number).ptr;
        put("\"");
    }

private:
    char* at_;
};

// Without what a reader refuses: bytes that are not UTF-8, and NULs, become U+FFFD.
std::string readable(std::string_view lines)
{
    std::string text;
    for (std::size_t at = 0; at <= lines.size();) {
        const auto end = std::min(lines.find('\0', at), lines.size());
        text += toValidUtf8(lines.substr(at, end - at));
        if (end < lines.size())
            text += "\uFFFD";
        at = end + 1;
    }
    return text;
}

// Type to tag, which both kinds have.
void putCommon(LineEnd& line, const Rule& rule)
{
    line.put(" ");
    line.put(PolicyRule::policyTypeDescription(rule.policyType()));
    line.putQuoted(rule.path());
    line.putQuoted(rule.processName());
    line.put(" ");
    line.put(PolicyRule::operationsDescription(rule.operations()));
    line.putTag(rule.tag());
}

// Has write(line) add a line of at most `maxSize` characters.
template <class Write>
void appendLine(std::string& text, std::size_t maxSize, const Write& write)
{
    const auto start = text.size();
    text.resize(start + maxSize);
    LineEnd line(text.data() + start);
    write(line);
    line.put("\n");
    text.resize(static_cast<std::size_t>(line.at() - text.data()));
}

std::size_t maxSizeOf(const Rule& rule)
{
    return rule.path().size() + rule.processName().size() + rule.tag().size() + maxBesideTexts;
}

}

void appendRuleLine(std::string& text, const WatchRule& rule)
{
    appendLine(text, maxSizeOf(rule), [&rule](LineEnd& line) {
        line.put("watch");
        putCommon(line, rule);
    });
}

void appendRuleLine(std::string& text, const PolicyRule& rule)
{
    appendLine(text, maxSizeOf(rule) + rule.constraint().size(), [&rule](LineEnd& line) {
        line.put(PolicyRule::policyClassDescription(rule.policyClass()));
        putCommon(line, rule);
        line.putQuoted(rule.constraint());
        line.putQuoted(static_cast<std::int64_t>(rule.created()));
    });
}

bool RulesFileWriter::open()
{
    const int error = file_.open();
    if (error != 0)
        error_ = fileMessage("Failed to open file '%@' for writing: %@ (%@)", path_, error);
    return error == 0;
}

void RulesFileWriter::close()
{
    flush();
    failedWrite(file_.commit());
}

void RulesFileWriter::flush()
{
    // One wrong byte would cost the whole file when it is read.
    if (!isValidUtf8(pending_) || pending_.find('\0') != std::string::npos)
        pending_ = readable(pending_);
    if (!pending_.empty())
        failedWrite(file_.append(pending_));
    pending_.clear();
}

void RulesFileWriter::failedWrite(int error)
{
    if (error != 0)
        error_ = fileMessage("Failed write() operation on file '%@' %@ (%@)", path_, error);
}

}
