#include "hosts/simulated/simulated_system.h"
#include "prompting/process_menu.h"
#include "support/queries.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

struct ProcessMenuTest : testing::Test {
    SimulatedProcesses processes;
    SimulatedInstallers installers;

    // Tags and titles after the first two items, which are always the same; ">" before the
    // recommended one, an ancestor's path behind its own.
    [[nodiscard]] std::string menuFor(std::string_view program, std::string_view parent,
        std::int32_t ppid, std::int32_t pid = 100) const
    {
        auto query = test::queryFor("/x", OPERATION_READ, program, parent);
        query.pid = pid;
        query.ppid = ppid;
        const ProcessMenu menu = buildProcessMenu(query, processes, installers);
        std::string text;
        for (std::int64_t i = 0; const auto& [title, tag] : menu.items) {
            text += (i == menu.recommendedIndex ? ">" : " ") + std::to_string(tag) + " " + title
                + (menu.ancestors.contains(i) ? "=" + menu.ancestors.at(i) : "") + ";";
            ++i;
        }
        static constexpr std::string_view always = " -1 ; 1 any process;";
        EXPECT_TRUE(text.starts_with(always)) << text;
        return text.substr(always.size()) + (menu.isInstaller ? " installer" : "");
    }
};

TEST_F(ProcessMenuTest, ListsTheProgramAndItsParent)
{
    const std::string shell = ">3 n via sh; 5 any process via sh;";
    EXPECT_EQ(menuFor("/n", "", 1), ">2 n;");
    EXPECT_EQ(menuFor("/n", "/bin/sh", 1), " 2 n;" + shell);
    for (const char* service : {"/usr/libexec/n", "/System/n", "/usr/sbin/n", "/sbin/n"})
        EXPECT_EQ(menuFor(service, "/bin/sh", 1), shell);
    EXPECT_EQ(menuFor("/sbin/n", "", 1), ">2 n;");
    EXPECT_EQ(menuFor("", "", 1), ">2 unknown program;");
}

TEST_F(ProcessMenuTest, EndsAtWhatIsNoAncestor)
{
    processes.add(1, 0, "/sbin/init");
    processes.add(50, 51, "/a");
    processes.add(51, 52, "/b");
    processes.add(52, 60, ""); // its path may not be read
    processes.add(60, 60, "/circle");
    processes.add(100, 50, "/n");
    for (const std::int32_t ppid : {50, 0}) // 0: it is looked up
        EXPECT_EQ(
            menuFor("/n", "", ppid), ">2 n; 6 any with ancestor a=/a; 6 any with ancestor b=/b;");
    std::string ten = ">2 n;";
    for (int count = 0; count < 10; ++count)
        ten += " 6 any with ancestor circle=/circle;";
    EXPECT_EQ(menuFor("/n", "", 60), ten);
    for (const std::int32_t none : {1, -1, -2147483647, 999})
        EXPECT_EQ(menuFor("/n", "", none), ">2 n;");
    EXPECT_EQ(menuFor("/n", "", 0, -7), ">2 n;");
}

TEST_F(ProcessMenuTest, RecommendsTheOutermostInstallDaemonOfARunningInstallation)
{
    installers.daemon.set("/d");
    processes.add(50, 51, "/d");
    processes.add(51, 52, "/bin/sh");
    processes.add(52, 1, "/d");
    const std::string inner = " 6 any with ancestor d=/d; 6 any with ancestor sh=/bin/sh;";
    EXPECT_EQ(menuFor("/n", "", 50), ">2 n;" + inner + " 6 any with ancestor d=/d;");
    installers.running.set(77);
    EXPECT_EQ(menuFor("/n", "", 50), " 2 n;" + inner + ">6 any with ancestor d=/d; installer");
}

}
}
