#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <random>
#include <string>

namespace vossel::test {

// The same choices in every run.
class Choices {
public:
    std::size_t below(std::size_t end) { return engine_() % end; }
    template <class List>
    const auto& of(const List& list)
    {
        return list[below(std::size(list))];
    }
    // A line that is a rule, of few different texts, so that rules are often alike.
    std::string ruleLine()
    {
        static constexpr std::array<const char*, 14> paths = {"/d/a", "/d/b", "/d/", "/d", "/d/e/f",
            "/d/e/", "/d/e", "/", "/g", ":NVRAM/x", ":NVRAM/", "any", "", "//"};
        static constexpr std::array<const char*, 5> programs
            = {"any", "/bin/Cat", "/BIN/cat", "any via tool", "/bin/cat via /bin/sh"};
        std::string line = of(std::array{"allow", "allow", "deny", "watch", "huh"});
        line.append(of(std::array{" prefix \"", " path \"", " suffix \""})).append(of(paths));
        line.append("\" \"").append(of(programs)).append(of(std::array{"\" r", "\" rw", "\" x"}));
        line.append(of(std::array{"", " s", " \"a tag\"", " u TEAM", " us \"\" 77"}));
        return line + "\n";
    }
    std::string ruleLines(std::size_t count)
    {
        std::string lines;
        while (count-- > 0)
            lines += ruleLine();
        return lines;
    }

private:
    std::mt19937 engine_{20'261};
};

}
