#pragma once

#include "platform/window_system.h"

#include <functional>
#include <string>
#include <utility>

namespace vossel {

// The desktop as the prompts ask it. The program is active while one of its windows is shown, and
// has nothing to hide beside them. Main thread, where a QApplication exists.
class QtWindows final : public WindowSystem {
public:
    using StoreIcon = std::function<void(const std::string& program, const std::string& file)>;

    explicit QtWindows(StoreIcon storeIcon)
        : storeIcon_(std::move(storeIcon))
    {
    }

    [[nodiscard]] bool commandKeyHeld() const override;
    [[nodiscard]] double textWidth(std::string_view text, float fontSize) const override;
    void storeProgramIcon(const std::string& program, const std::string& file) override
    {
        storeIcon_(program, file);
    }
    void activateApplication() override { }
    void deactivateApplication() override { }
    void hideApplication() override { }

private:
    const StoreIcon storeIcon_;
};

}
