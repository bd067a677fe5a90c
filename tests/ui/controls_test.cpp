#include "ui/controls/segmented_control.h"
#include "ui/prompt/operations_title.h"
#include "wire/driver_messages.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

TEST(Controls, SelectionStaysOnWhatIsThere)
{
    SegmentedControl segments(SegmentedControlState{.segmentCount = 4, .selectedSegment = 3});
    segments.setSegmentCount(3);
    EXPECT_FALSE(segments.selectSegmentWithTag(3) || segments.selectSegmentWithTag(-1));
    EXPECT_EQ(segments.state(), (SegmentedControlState{3, 2}));
}

TEST(OperationsTitle, GoesRoundAndEachStandsForItsSet)
{
    std::string title(operationsTitle(OPERATION_READ | OPERATION_WRITE));
    for (const int operations : {7, 1, 4, 8, 16, 7}) {
        EXPECT_EQ(operationsOfTitle(title), operations) << title;
        title = nextOperationsTitle(title);
    }
    EXPECT_EQ(operationsOfTitle("anything else"), 7);
    EXPECT_EQ(operationsTitle(OPERATION_EXECUTE | OPERATION_MOUNT), "Read-Write");
}

}
}
