#include "hosts/simulated/simulated_system.h"
#include "ui/controls/pop_up_button.h"
#include "ui/controls/segmented_control.h"
#include "ui/controls/text_field.h"
#include "ui/prompt/operations_title.h"
#include "wire/driver_messages.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

TEST(Controls, TextFieldFitsItsWidestLineAndReportsOnlyChanges)
{
    int changes = 0;
    TextField field(
        TextFieldState{.stringValue = "ab\nabcd\n", .fontSize = 12, .frame = {5, 6, 0, 0}});
    field.setObserver([&] { ++changes; });
    for (int twice = 0; twice < 2; ++twice)
        field.sizeToFit(SimulatedWindows());
    EXPECT_EQ(field.frame(), (Rect{5, 6, 24, 45}));
    EXPECT_EQ(changes, 1);
}

TEST(Controls, SelectionStaysOnWhatIsThere)
{
    SegmentedControl segments(SegmentedControlState{.segmentCount = 4, .selectedSegment = 3});
    segments.setSegmentCount(3);
    EXPECT_FALSE(segments.selectSegmentWithTag(3) || segments.selectSegmentWithTag(-1));
    EXPECT_EQ(segments.state(), (SegmentedControlState{3, 2}));

    PopUpButton menu;
    EXPECT_FALSE(menu.selectItemAtIndex(0));
    menu.addItem("same", 1);
    menu.addItem("same", 6);
    EXPECT_EQ(menu.selectedTag(), -1);
    EXPECT_TRUE(menu.selectItemAtIndex(1));
    EXPECT_FALSE(menu.selectItemAtIndex(2) || menu.selectItemAtIndex(-2));
    EXPECT_EQ(menu.selectedTag(), 6);
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
