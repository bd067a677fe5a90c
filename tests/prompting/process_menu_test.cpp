#include "hosts/simulated/simulated_system.h"
#include "prompting/process_menu.h"
#include "support/queries.h"

#include <gmock/gmock.h>

namespace vossel {
namespace {

using test::queryFor;
using Items = std::vector<ProcessMenuItem>;

constexpr std::string_view installDaemon
    = "/System/Library/PrivateFrameworks/PackageKit.framework/Versions/A/Resources/installd";

struct ProcessMenuTest : testing::Test {
    SimulatedProcesses processes;
    SimulatedInstallers installers;

    [[nodiscard]] ProcessMenu menuFor(std::string_view program, std::string_view parent,
        std::int32_t ppid, std::int32_t pid = 100) const
    {
        auto query = queryFor("/x", OPERATION_READ, program, parent);
        query.pid = pid;
        query.ppid = ppid;
        return buildProcessMenu(query, processes, installers);
    }
};

TEST_F(ProcessMenuTest, ListsTheProgramAndItsParent)
{
    processes.add(1, 0, "/sbin/init");
    processes.add(100, 1, "/opt/Notes");
    const ProcessMenuItem title{"", -1}, any{"any process", PROCESS_ANY};
    const ProcessMenuItem viaShell{"any process via sh", PROCESS_ANY_VIA_PARENT};
    struct Row {
        std::string_view program, parent;
        Items items;
        std::int64_t recommended;
    };
    const Row rows[] = {
        {"/opt/Notes", "", {title, any, {"Notes", PROCESS_PROGRAM}}, 2},
        {"/opt/Notes", "/bin/sh",
            {title, any, {"Notes", PROCESS_PROGRAM}, {"Notes via sh", PROCESS_PROGRAM_VIA_PARENT},
                viaShell},
            3},
        {"/usr/libexec/helper", "/bin/sh",
            {title, any, {"helper via sh", PROCESS_PROGRAM_VIA_PARENT}, viaShell}, 2},
        {"/sbin/helper", "", {title, any, {"helper", PROCESS_PROGRAM}}, 2},
        {"", "", {title, any, {"unknown program", PROCESS_PROGRAM}}, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.program);
        // The parent is looked up, and is the first process: no ancestor.
        const auto menu = menuFor(row.program, row.parent, 0);
        EXPECT_EQ(menu.items, row.items);
        EXPECT_EQ(menu.recommendedIndex, row.recommended);
        EXPECT_TRUE(menu.ancestors.empty());
        EXPECT_FALSE(menu.isInstaller);
    }
}

TEST_F(ProcessMenuTest, ListsTheTenNearestAncestors)
{
    for (std::uint32_t pid = 20; pid < 40; ++pid)
        processes.add(pid, static_cast<std::int32_t>(pid) + 1, "/opt/p" + std::to_string(pid));
    processes.add(100, 20, "/opt/Notes");
    for (const std::int32_t supplied : {0, 20}) {
        const auto menu = menuFor("/opt/Notes", "", supplied);
        ASSERT_EQ(menu.items.size(), 13U);
        EXPECT_EQ(menu.items[3], (ProcessMenuItem{"any with ancestor p20", 6}));
        EXPECT_EQ(menu.items[12], (ProcessMenuItem{"any with ancestor p29", 6}));
        EXPECT_EQ(menu.ancestors.size(), 10U);
        EXPECT_EQ(menu.ancestors.at(3), "/opt/p20");
        EXPECT_EQ(menu.ancestors.at(12), "/opt/p29");
        EXPECT_EQ(menu.recommendedIndex, 2);
    }
}

TEST_F(ProcessMenuTest, EndsAtWhatIsNoAncestor)
{
    processes.add(50, 51, "/opt/a");
    processes.add(51, 52, ""); // its path may not be read
    processes.add(52, 1, "/opt/never");
    processes.add(60, 60, "/opt/circle");
    const std::pair<std::int32_t, std::size_t> ancestorsFrom[]
        = {{50, 1}, {60, 10}, {1, 0}, {-1, 0}, {-2147483647, 0}, {999, 0}};
    for (const auto& [ppid, count] : ancestorsFrom) {
        SCOPED_TRACE(ppid);
        EXPECT_EQ(menuFor("/opt/Notes", "", ppid).ancestors.size(), count);
    }
    EXPECT_TRUE(menuFor("/opt/Notes", "", 0, -7).ancestors.empty());
}

TEST_F(ProcessMenuTest, RecommendsTheOutermostInstallDaemonOfARunningInstallation)
{
    processes.add(50, 51, std::string(installDaemon));
    processes.add(51, 52, "/bin/sh");
    processes.add(52, 1, std::string(installDaemon));
    auto menu = menuFor("/opt/Notes", "/bin/sh", 50);
    EXPECT_EQ(menu.recommendedIndex, 3);
    EXPECT_FALSE(menu.isInstaller);

    installers.running.set(77);
    menu = menuFor("/opt/Notes", "/bin/sh", 50);
    EXPECT_EQ(menu.recommendedIndex, 7);
    EXPECT_EQ(menu.ancestors.at(7), installDaemon);
    EXPECT_TRUE(menu.isInstaller);
}

}
}
