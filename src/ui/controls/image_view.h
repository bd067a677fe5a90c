#pragma once

#include "ui/controls/control.h"

#include <cstdint>
#include <string>

namespace vossel {

// Where an image comes from. One that is missing leaves the view empty.
struct ImageSource {
    enum class Kind : std::uint8_t { None, File, WorkspaceIcon, Resource };

    Kind kind = Kind::None;
    // The image's path, the path of the file whose icon the desktop is asked for, or a resource's
    // name.
    std::string path;
    double width = 0; // points; 0 for the image's own size
    double height = 0;

    bool operator==(const ImageSource&) const = default;

    [[nodiscard]] static ImageSource file(std::string path)
    {
        return {Kind::File, std::move(path), 0, 0};
    }
    [[nodiscard]] static ImageSource workspaceIcon(std::string path, double width, double height)
    {
        return {Kind::WorkspaceIcon, std::move(path), width, height};
    }
    // One of the product's own images, by the name of its file.
    [[nodiscard]] static ImageSource resource(std::string name, double width, double height)
    {
        return {Kind::Resource, std::move(name), width, height};
    }
};

struct ImageViewState {
    ImageSource image;

    bool operator==(const ImageViewState&) const = default;
};

class ImageView : public Control<ImageViewState> {
public:
    using Control::Control;

    [[nodiscard]] const ImageSource& image() const { return state().image; }
    void setImage(ImageSource image) { set(&ImageViewState::image, std::move(image)); }
};

}
