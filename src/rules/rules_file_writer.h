#pragma once

#include "foundation/file_replacement.h"
#include "rules/policy_rule.h"
#include "rules/watch_rule.h"

#include <optional>
#include <string>

namespace vossel {

// One line of a rules file, its line break included. Of the texts only the tag is freed of double
// quotes; a path, process name or constraint that holds one, or a line break, does not read back
// the same.
void appendRuleLine(std::string& text, const WatchRule& rule);
void appendRuleLine(std::string& text, const PolicyRule& rule);

// Writes a rules file anew, mode 0640; FileReplacement says what becomes of the old one. Bytes that
// are not UTF-8, and NULs, become U+FFFD: a reader would take nothing of such a file.
class RulesFileWriter {
public:
    explicit RulesFileWriter(const std::string& path)
        : path_(path)
        , file_(path, 0640)
    {
    }

    // False, with the error, when the file cannot be opened.
    [[nodiscard]] bool open();
    template <class RuleType>
    void write(const RuleType& rule)
    {
        appendRuleLine(pending_, rule);
        if (pending_.size() >= pieceSize)
            flush();
    }
    void close();

    // Of the last failure; empty while there is none.
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

private:
    static constexpr std::size_t pieceSize = std::size_t{256} * 1024;

    void flush();
    void failedWrite(int error);

    std::string path_;
    FileReplacement file_;
    std::string pending_;
    std::optional<std::string> error_;
};

}
