#pragma once

#include "platform/input_origins.h"
#include "ui/controls/image_view.h"

#include <QImage>

#include <functional>
#include <memory>

namespace vossel {

struct PromptTheme;

// What the window of a prompt is made with. Main thread; all of it outlives the window.
struct PromptServices {
    std::shared_ptr<const PromptTheme> theme;
    InputOrigins& origins;
    // About so many pixels in each direction; null where there is no such image.
    std::function<QImage(const ImageSource& source, int pixels)> image;
    std::function<void()> sound; // that something was not done
    // Carries an act out when the event that asked for it has been dealt with: the act may end the
    // window.
    std::function<void(std::function<void()>)> later;
};

}
