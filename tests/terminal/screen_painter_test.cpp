#include "frontends/terminal/screen_painter.h"
#include "support/pty.h"
#include "support/terminal_emulator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

namespace vossel::test {
namespace {

using testing::IsEmpty;

// What other programs write meanwhile goes on above the prompt, and nothing of it is lost.
TEST(ScreenPainterTest, LeavesTheRestOfTheScreenToOthers)
{
    Pty pty(20, 6);
    TerminalEmulator screen(20, 6);
    auto device = *TerminalDevice::open(pty.path());
    const auto terminal = *TerminalCapabilities::load("linux"); // which has one screen only
    ScreenPainter painter(device, terminal, ScreenPainter::Place::Bottom);
    const auto write = [&](const char* text) { ::dprintf(pty.device(), "%s", text); };
    const auto look = [&] { screen.feed(pty.read()); };
    write("one\r\ntwo\r\nthree\r\nfour\r\nname: ");
    painter.begin();
    Screen prompt{{2, ScreenRow(18)}, std::nullopt};
    prompt.rows[0].add("Allow it?");
    prompt.rows[1].add("Esc A");
    painter.paint(prompt);
    look();
    EXPECT_EQ(screen.text(), "two\nthree\nfour\nname:\nAllow it?\nEsc A");
    write("ann\r\nfive\r\n");
    prompt.rows[1] = ScreenRow(18);
    prompt.rows[1].add("5 s");
    painter.paint(prompt);
    look();
    EXPECT_EQ(screen.text(), "four\nname: ann\nfive\n\nAllow it?\n5 s");
    painter.end();
    write("six\r\nseven\r\neight\r\nnine");
    look();
    EXPECT_EQ(screen.text(), "name: ann\nfive\nsix\nseven\neight\nnine");
    EXPECT_THAT(screen.offences, IsEmpty());
}

}
}
