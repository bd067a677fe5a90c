#pragma once

#include "ui/controls/button.h"
#include "ui/controls/check_box.h"
#include "ui/controls/image_view.h"
#include "ui/controls/text_field.h"
#include "ui/controls/window.h"
#include "wire/driver_messages.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vossel {

// Everything that a prompt shows at one moment, for every front end. It is a value without
// behaviour and knows neither controls nor queries. Texts are bytes as they came from programs and
// files; a front end makes them safe for what it draws on.
struct PromptView {
    enum class Kind : std::uint8_t { Simple, Advanced };

    struct Text {
        std::string text{};
        Truncation truncation = Truncation::None;
        float fontSize = 13; // points

        bool operator==(const Text&) const = default;
    };
    struct Signer {
        std::string text{}; // what the inspection found; may be empty
        std::int32_t state = 0; // a CodeSignState
        std::string sentence{};

        [[nodiscard]] bool isValid() const { return state == CODE_SIGN_VALID; }
        bool operator==(const Signer&) const = default;
    };
    struct Entry {
        std::string title{};
        std::int32_t tag = 0;
        std::string path{}; // of an ancestor's program; empty for every other entry

        bool operator==(const Entry&) const = default;
    };
    // A list of which one entry is chosen. The indices count `entries`; below 0 stands for none.
    struct Choices {
        std::vector<Entry> entries{};
        std::int64_t selected = -1;
        std::int64_t recommended = -1;
        bool enabled = true;
        std::string title{}; // that a pull-down shows
        std::optional<Entry> titleEntry{}; // a pull-down's own, which nobody can choose

        bool operator==(const Choices&) const = default;
    };
    struct Duration {
        std::string title{};
        bool present = false;

        bool operator==(const Duration&) const = default;
    };

    Kind kind = Kind::Simple;
    std::string sentence{}; // what is being attempted
    std::int32_t alertType = 0;
    bool deservesCare = false; // the attempt is of a kind that few programs need
    std::int32_t pid = 0; // of the program
    std::string displayName{};
    Text name{}; // the display name as a headline
    Text application{}; // path and process
    Text parent{}; // the same of the parent; empty where there is none
    Text file{}; // of the simple prompt: what the answer covers
    Signer signer{};
    ImageSource icon{};

    std::array<Duration, DURATION_FOREVER + 1> durations{}; // by code
    std::int32_t duration = -1; // the code of the chosen one

    ButtonState allow{};
    ButtonState deny{};
    bool touchBarOnly = false; // neither keys nor the buttons above answer
    std::string touchBarLabel{}; // empty where it is hidden

    std::optional<TipWindow> tip{};
    WindowLevel level = WindowLevel::Normal;

    // Of the advanced prompt alone.
    Choices paths{};
    Choices processes{};
    std::string operations{};
    CheckBoxState updates{};
    std::uint32_t installerPid = 0;

    bool operator==(const PromptView&) const = default;
};

}
