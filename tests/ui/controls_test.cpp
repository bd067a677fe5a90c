#include "hosts/simulated/simulated_system.h"
#include "ui/controls/pop_up_button.h"
#include "ui/controls/segmented_control.h"
#include "ui/controls/text_field.h"
#include "ui/controls/window.h"
#include "ui/prompt/operations_title.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

TEST(Controls, OnlyChangesAreReported)
{
    int changes = 0;
    TextField field;
    field.setObserver([&] { ++changes; });
    field.setStringValue("a");
    field.setStringValue("a");
    field.setHidden(false);
    EXPECT_EQ(changes, 1);

    Window window;
    window.setObserver([&] { ++changes; });
    window.update([](WindowState& state) { state.level = WindowLevel::Normal; });
    EXPECT_EQ(changes, 1);
    window.update([](WindowState& state) {
        state.level = WindowLevel::Maximum;
        state.alpha = 0.5;
    });
    EXPECT_EQ(changes, 2);
}

TEST(Controls, SelectionStaysOnWhatIsThere)
{
    SegmentedControl segments(SegmentedControlState{.segmentCount = 4, .selectedSegment = 3});
    segments.setSegmentCount(3);
    EXPECT_EQ(segments.state(), (SegmentedControlState{3, 2}));
    EXPECT_FALSE(segments.selectSegmentWithTag(3));
    EXPECT_FALSE(segments.selectSegmentWithTag(-1));
    EXPECT_EQ(segments.selectedSegment(), 2);

    PopUpButton menu;
    EXPECT_FALSE(menu.selectItemAtIndex(0));
    menu.addItem("same", 1);
    menu.addItem("same", 6);
    EXPECT_EQ(menu.selectedTag(), -1);
    EXPECT_TRUE(menu.selectItemAtIndex(1));
    EXPECT_FALSE(menu.selectItemAtIndex(2));
    EXPECT_FALSE(menu.selectItemAtIndex(-2));
    EXPECT_EQ(menu.selectedTag(), 6);
    EXPECT_EQ(menu.indexOfItemWithTag(6), 1);
    EXPECT_EQ(menu.indexOfItemWithTag(2), std::nullopt);
}

TEST(Controls, TextFieldFitsItsWidestLine)
{
    const SimulatedWindows windows;
    TextField field(
        TextFieldState{.stringValue = "ab\nabcd\n", .fontSize = 12, .frame = {5, 6, 0, 0}});
    field.sizeToFit(windows);
    EXPECT_EQ(field.frame(), (Rect{5, 6, 24, 45}));
}

TEST(OperationsTitle, GoesRoundAndEachStandsForItsSet)
{
    const struct {
        const char* title;
        const char* next;
        int operations;
    } rows[] = {
        {"Read-Write", "Read Only", 7},
        {"Read Only", "Create Only", 1},
        {"Create Only", "Mount", 4},
        {"Mount", "Execute", 8},
        {"Execute", "Read-Write", 16},
        {"anything else", "Read Only", 7},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(nextOperationsTitle(row.title), row.next);
        EXPECT_EQ(operationsOfTitle(row.title), row.operations);
    }
    for (const int operation : {1, 2, 4, 0, 24, -1})
        EXPECT_EQ(operationsTitle(operation), "Read-Write") << operation;
    EXPECT_EQ(operationsTitle(8), "Mount");
    EXPECT_EQ(operationsTitle(16), "Execute");
}

}
}
