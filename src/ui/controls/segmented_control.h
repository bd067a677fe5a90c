#pragma once

#include "ui/controls/control.h"

#include <algorithm>
#include <cstdint>

namespace vossel {

struct SegmentedControlState {
    std::int32_t segmentCount = 0;
    std::int32_t selectedSegment = -1; // -1: none

    bool operator==(const SegmentedControlState&) const = default;
};

// A row of choices of which one holds; a segment's tag is its index.
class SegmentedControl : public Control<SegmentedControlState> {
public:
    using Control::Control;

    [[nodiscard]] std::int32_t segmentCount() const { return state().segmentCount; }
    [[nodiscard]] std::int32_t selectedSegment() const { return state().selectedSegment; }

    // A tag without a segment changes nothing and returns false.
    bool selectSegmentWithTag(std::int32_t tag)
    {
        if (tag < 0 || tag >= segmentCount())
            return false;
        set(&SegmentedControlState::selectedSegment, tag);
        return true;
    }

    // A selection beyond the new end moves to the last segment.
    void setSegmentCount(std::int32_t count)
    {
        if (count < 0 || count == segmentCount())
            return;
        editable() = {count, std::min(selectedSegment(), count - 1)};
        changed();
    }
};

}
