#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// The lines of a rules file's text, one after the other. Each of U+000A to U+000D, U+0085, U+2028
// and U+2029 ends a line by itself. Views point into the text.
class RuleLines {
public:
    explicit RuleLines(std::string_view text);
    // False at the end; a break at the very end is followed by an empty line.
    [[nodiscard]] bool next(std::string_view& line);

private:
    [[nodiscard]] std::size_t unusualFrom(std::size_t at) const;

    std::string_view text_;
    std::size_t at_ = 0; // where the next line begins; beyond the text at the end
    std::size_t lineFeed_; // the first one from there on
    std::size_t unusual_; // no break of another kind lies before it
};

// The fields of a line: parted by blanks (U+0020, nothing else); within double quotes a blank
// belongs to the field, and a field may be empty. There is no escape. A quote that stands open at
// the end of the line loses its text but for what follows the last blank.
[[nodiscard]] std::vector<std::string> scanString(std::string_view line);

// The same without copying: calls field(std::string_view) for each. False when a quote stands open.
template <class Field>
bool scanFields(std::string_view line, Field&& field)
{
    for (std::size_t at = 0; at < line.size();) {
        if (line[at] == ' ') {
            ++at;
        } else if (line[at] == '"') {
            const auto text = line.substr(at + 1);
            const auto end = text.find('"');
            if (end == std::string_view::npos) {
                const auto word = text.substr(text.rfind(' ') + 1); // npos + 1 is 0
                if (!word.empty())
                    field(word);
                return false;
            }
            field(text.substr(0, end));
            at += end + 2;
        } else {
            const auto word = at;
            while (at < line.size() && line[at] != ' ' && line[at] != '"')
                ++at;
            field(line.substr(word, at - word));
        }
    }
    return true;
}

}
