#pragma once

#include "app/window_context.h"
#include "ui/controls/text_field.h"
#include "ui/controls/window.h"

#include <string>
#include <string_view>

namespace vossel {

// The window that says which version this is; a new one each time it is asked for. Main thread
// only.
class AboutWindowController {
public:
    static constexpr std::string_view windowNibName = "AboutWindowController";

    AboutWindowController(const WindowContext& context, std::string version);
    ~AboutWindowController() { close(); }
    AboutWindowController(const AboutWindowController&) = delete;
    AboutWindowController& operator=(const AboutWindowController&) = delete;

    Window window;
    TextField versionTextField;

    // Loads the window and shows it, once; nothing the second time.
    void open();
    // Takes the window away. Nothing unless it is open.
    void close();

    void windowDidLoad();

private:
    enum class Phase { New, Open, Closed };

    void setTheme();

    const WindowContext context_;
    const std::string version_;
    Phase phase_ = Phase::New;
};

}
