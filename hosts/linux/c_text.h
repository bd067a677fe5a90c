#pragma once

#include <cstdlib>
#include <string_view>

namespace vossel {

// Owns a text that a C library allocated for its caller.
class CText {
public:
    // Where the library is to store it; what was held before is freed.
    [[nodiscard]] char** into()
    {
        std::free(text_);
        text_ = nullptr;
        return &text_;
    }
    [[nodiscard]] std::string_view text() const { return text_ ? text_ : std::string_view(); }

    CText() = default;
    CText(const CText&) = delete;
    CText& operator=(const CText&) = delete;
    ~CText() { std::free(text_); }

private:
    char* text_ = nullptr;
};

}
