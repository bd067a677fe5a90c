#include "frontends/windows/window_interface.h"

// Stands in the place of window_interface.cpp where the build leaves the windows out.

namespace vossel {

namespace {

class AbsentWindows final : public FrontEnd {
public:
    std::string_view name() const override { return "windows"; }
    std::optional<std::string> whyNot(bool) override { return "this build shows no windows"; }
    int run(int, char**, const Serve&) override { return 2; }
};

}

std::unique_ptr<FrontEnd> windowFrontEnd()
{
    return std::make_unique<AbsentWindows>();
}

}
