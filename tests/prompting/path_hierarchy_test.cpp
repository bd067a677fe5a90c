#include "prompting/path_hierarchy.h"
#include "support/queries.h"

#include <gmock/gmock.h>

namespace vossel {
namespace {

using test::queryFor;

constexpr PathHierarchyFacts administrator{"/Users/ann", true, false};
constexpr PathHierarchyFacts ordinaryUser{"/Users/ann", false, false};
constexpr PathHierarchyFacts fromSimplePrompt{"/Users/ann", true, true};

// Each choice with a ";", and with ">" before the recommended one.
std::string describe(const PathHierarchy& hierarchy)
{
    std::string text;
    for (std::int64_t i = 0; const std::string& choice : hierarchy.choices)
        text += (i++ == hierarchy.recommendedPathIndex ? ">" : " ") + choice + ";";
    return text;
}

TEST(PathHierarchy, OffersExtensionExactPathAndFolders)
{
    const struct {
        std::string_view path;
        PathHierarchyFacts facts;
        std::string_view choices;
        std::int32_t operation = OPERATION_READ;
    } rows[] = {
        {"/s/a.db", administrator,
            " File Extension .db; Only /s/a.db; Only /s/;>In /s/; Any Files;"},
        // A folder: its exact path is offered once, and only to an administrator asked directly.
        {"/srv/x/", administrator, " Only /srv/x/; In /srv/x/;>In /srv/; Any Files;"},
        {"/srv/x/", ordinaryUser, " In /srv/x/; In /srv/;>Any Files;"},
        {"/srv/x/", fromSimplePrompt, " In /srv/x/; In /srv/;>Any Files;"},
        {"/d.img", ordinaryUser, ">File Extension .img; Only /d.img;", OPERATION_MOUNT},
        {"/srv/x/", ordinaryUser, ">Only /srv/x/;", OPERATION_MOUNT},
        {":KMOD/a/b.kext", administrator, " File Extension .kext;>Only :KMOD/a/b.kext;"},
        {":KMOD/", ordinaryUser, ""},
        {":IOKIT/Port", administrator, ">Only :IOKIT/Port; Only :IOKIT/; In :IOKIT/;"},
        {":ATTACH/1", ordinaryUser, ">Only :ATTACH/1; Only :ATTACH/; In :ATTACH/;"},
        {"/dev/bpf3", administrator, " Only /dev/bpf3;>In /dev/bpf;", OPERATION_MOUNT},
        {"", administrator, ">Only ;"},
        {"/a%@\xff", ordinaryUser, " Only /a%@\xff; Only /;>Any Files;"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(describe(constructPathHierarchy(queryFor(row.path, row.operation), row.facts)),
            row.choices);
}

TEST(PathHierarchy, RecommendsTheFolderThatHoldsAnApplicationsData)
{
    const std::pair<std::string_view, const char*> rows[] = {
        {"/Library/Application Support/N/x/y", "In /Library/Application Support/N/"},
        {"/Library/Group Containers/g/x/y", "In /Library/Group Containers/g/"},
        {"/Library/Containers/c/x/y", "In /Library/Containers/c/"},
        {"/s/Containers/c/d/y", "In /s/Containers/c/d/"}, // not in a Library: the innermost folder
        {"/Users/ann/Pictures/P.photoslibrary/d/i", "In /Users/ann/Pictures/P.photoslibrary/"},
        {"/srv/P.photoslibrary/d/i.jpg", "In /srv/P.photoslibrary/d/"},
        {"/A.app/c/x", "In /A.app/c/"}, // the bundle has too few components for any rule
        {"/srv/a.sparsebundle/bands/1", "In /srv/a.sparsebundle/"},
        // Outward over inward, whichever rule found it.
        {"/Volumes/V/A.app/B.app/x", "In /Volumes/V/"}, {"/srv/A.app/B.app/x", "In /srv/A.app/"},
        // The weaker marks: the first one outward, and none after any other.
        {"/S/Components/AppleScript.component/C/x", "In /S/Components/AppleScript.component/"},
        {"/S/AppleScript.component/C/x", "In /S/AppleScript.component/C/"},
        {"/x/AppleCamera.plugin/C/x", "In /x/AppleCamera.plugin/"},
        {"/L/R/VDC.plugin/C/x", "In /L/R/VDC.plugin/"}, {"/Library/F/Sub/x", "In /Library/F/"},
        {"/Library/K/B.app/x", "In /Library/K/B.app/"}, {"/s/O.app/Library/F/x", "In /s/O.app/"},
        {":IOKIT/Library/F/x", "Only :IOKIT/Library/F/x"},
        {":IOKIT/Volumes/V/x", "In :IOKIT/Volumes/V/"},
        // Nothing matched: by where the home folder is.
        {"/Users/ann/a.txt", "Only /Users/ann/a.txt"}, {"/Users/ann/d/", "In /Users/ann/d/"},
        {"/Users/bob/a.txt", "In /Users/bob/"}};
    for (const auto& [path, recommended] : rows)
        EXPECT_THAT(describe(constructPathHierarchy(queryFor(path), administrator)),
            testing::HasSubstr(">" + std::string(recommended) + ";"));
}

TEST(ProgramName, LeavesTheArgumentsOut)
{
    const auto query = queryFor("/x", OPERATION_READ, "/bin/%@ (x) (-c /y/z)", "/bin/%@");
    EXPECT_EQ(manicureAppPathForQuery(query), "/bin/%@ (x)");
    EXPECT_EQ(manicureDisplayPathForQuery(query), "z) via %@");
    EXPECT_EQ(manicureDisplayPathForQuery(queryFor("/x", OPERATION_READ, "")), "unknown program");
}

}
}
