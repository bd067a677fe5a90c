#pragma once

namespace vossel {

// Lengths are points. The origin is the lower left corner, y grows upwards; a window's frame is in
// screen coordinates, a control's in those of its window.
struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const Rect&) const = default;

    // The right and upper edges do not belong to it.
    [[nodiscard]] bool contains(Point point) const
    {
        return point.x >= x && point.x < x + width && point.y >= y && point.y < y + height;
    }
};

}
