#pragma once

#include <functional>
#include <utility>

namespace vossel {

// Gathers what the controls of a prompt report while one act is carried out, so that whoever shows
// the prompt hears of it once and never sees it half done. Main thread only.
class PromptChanges {
public:
    // Changes are told from this call until silence().
    void start(std::function<void()> tell) { tell_ = std::move(tell); }
    void silence() { tell_ = nullptr; }

    void changed()
    {
        pending_ = true;
        if (acts_ == 0)
            tell();
    }

    class Act {
    public:
        explicit Act(PromptChanges& changes)
            : changes_(changes)
        {
            ++changes_.acts_;
        }
        ~Act()
        {
            if (--changes_.acts_ == 0)
                changes_.tell();
        }
        Act(const Act&) = delete;
        Act& operator=(const Act&) = delete;

    private:
        PromptChanges& changes_;
    };

private:
    void tell()
    {
        if (std::exchange(pending_, false) && tell_)
            tell_();
    }

    std::function<void()> tell_;
    int acts_ = 0;
    bool pending_ = false;
};

}
