#include "app/front_end.h"

#include <gtest/gtest.h>

#include <array>

namespace vossel::test {
namespace {

class FakeFrontEnd final : public FrontEnd {
public:
    FakeFrontEnd(std::string_view name, std::string reason)
        : name_(name)
        , reason_(std::move(reason))
    {
    }
    std::string_view name() const override { return name_; }
    std::optional<std::string> whyNot(bool named) override
    {
        const bool usable = reason_.empty() || (named && reason_ == "unasked");
        return usable ? std::nullopt : std::optional(reason_);
    }
    int run(int, char**, const Serve&) override { return 0; }

private:
    const std::string_view name_;
    const std::string reason_;
};

TEST(FrontEndChoice, TakesTheNamedOneOrTheFirstThatWorks)
{
    struct Row {
        const char* situation;
        std::array<const char*, 3> reasons; // of windows, terminal, lines
        const char* named;
        const char* expected; // its name, or why there is none
    };
    const Row rows[] = {
        {"everything works", {"", "", ""}, "", "windows"},
        {"no display", {"no display", "", ""}, "", "terminal"},
        {"a script only", {"no display", "no terminal", ""}, "", "lines"},
        {"nobody there", {"no display", "no terminal", "unasked"}, "",
            "no display; no terminal; unasked"},
        {"named although it offers itself to nobody", {"", "", "unasked"}, "lines", "lines"},
        {"named but not to be had", {"no display", "", ""}, "windows", "no display"},
        {"named wrongly", {"", "", ""}, "smoke",
            "there is no way to ask called \"smoke\" (there are: windows, terminal, lines)"},
    };
    for (const Row& row : rows) {
        FakeFrontEnd windows("windows", row.reasons[0]);
        FakeFrontEnd terminal("terminal", row.reasons[1]);
        FakeFrontEnd lines("lines", row.reasons[2]);
        const std::array<FrontEnd*, 3> all{&windows, &terminal, &lines};
        const auto chosen = chooseFrontEnd(row.named, all);
        EXPECT_EQ(chosen ? (*chosen)->name() : chosen.reason(), row.expected) << row.situation;
    }
}

}
}
