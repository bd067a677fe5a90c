#include "foundation/log.h"
#include "prompting/path_hierarchy.h"
#include "support/queries.h"

#include <gmock/gmock.h>

namespace vossel {
namespace {

using test::fillArray;
using test::queryFor;

constexpr std::string_view home = "/Users/ann";
constexpr PathHierarchyFacts administrator{home, true, false};
constexpr PathHierarchyFacts ordinaryUser{home, false, false};
constexpr PathHierarchyFacts fromSimplePrompt{home, true, true};

TEST(PathHierarchy, OffersExtensionExactPathAndFolders)
{
    struct Row {
        std::string_view path;
        std::int32_t operation;
        PathHierarchyFacts facts;
        PathHierarchy expected;
    };
    const Row rows[] = {
        {"/Users/ann/Library/Application Support/Notes/db/data.sqlite", OPERATION_READ,
            administrator,
            {{"File Extension .sqlite",
                 "Only /Users/ann/Library/Application Support/Notes/db/data.sqlite",
                 "Only /Users/ann/Library/Application Support/Notes/db/",
                 "In /Users/ann/Library/Application Support/Notes/db/",
                 "In /Users/ann/Library/Application Support/Notes/",
                 "In /Users/ann/Library/Application Support/", "In /Users/ann/Library/",
                 "In /Users/ann/", "In /Users/", "Any Files"},
                4}},
        // A folder: its exact path is offered once, and only to an administrator asked directly.
        {"/srv/x/", OPERATION_READ, administrator,
            {{"Only /srv/x/", "In /srv/x/", "In /srv/", "Any Files"}, 2}},
        {"/srv/x/", OPERATION_READ, ordinaryUser, {{"In /srv/x/", "In /srv/", "Any Files"}, 2}},
        {"/srv/x/", OPERATION_READ, fromSimplePrompt, {{"In /srv/x/", "In /srv/", "Any Files"}, 2}},
        {"/srv/x", OPERATION_READ, ordinaryUser,
            {{"Only /srv/x", "Only /srv/", "In /srv/", "Any Files"}, 2}},
        {"/srv/disk.img", OPERATION_MOUNT, ordinaryUser,
            {{"File Extension .img", "Only /srv/disk.img"}, 0}},
        {"/srv/x/", OPERATION_MOUNT, ordinaryUser, {{"Only /srv/x/"}, 0}},
        {":KMOD/a/b.kext", OPERATION_READ, administrator,
            {{"File Extension .kext", "Only :KMOD/a/b.kext"}, 1}},
        {":KMOD/", OPERATION_READ, ordinaryUser, {{}, -1}},
        {":IOKIT/Port", OPERATION_READ, administrator,
            {{"Only :IOKIT/Port", "Only :IOKIT/", "In :IOKIT/"}, 0}},
        {":ATTACH/", OPERATION_READ, ordinaryUser, {{"In :ATTACH/"}, 0}},
        {"/dev/bpf3", OPERATION_MOUNT, administrator, {{"Only /dev/bpf3", "In /dev/bpf"}, 1}},
        {"", OPERATION_READ, administrator, {{"Only "}, 0}},
        {"/", OPERATION_READ, administrator, {{"Only /", "Any Files"}, 1}},
        {"/", OPERATION_READ, ordinaryUser, {{"Any Files"}, 0}},
        {"loose.txt", OPERATION_READ, administrator,
            {{"File Extension .txt", "Only loose.txt"}, 1}},
        {"//a//", OPERATION_READ, ordinaryUser, {{"In //a//", "In //a/", "In //", "Any Files"}, 2}},
        {"/a%@\xff.\xfe", OPERATION_READ, ordinaryUser,
            {{"File Extension .\xfe", "Only /a%@\xff.\xfe", "Only /", "Any Files"}, 3}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        const auto actual = constructPathHierarchy(queryFor(row.path, row.operation), row.facts);
        EXPECT_THAT(actual.choices, testing::ElementsAreArray(row.expected.choices));
        EXPECT_EQ(actual.recommendedPathIndex, row.expected.recommendedPathIndex);
    }
}

TEST(PathHierarchy, RecommendsTheFolderThatHoldsAnApplicationsData)
{
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"/Users/ann/Library/Group Containers/g/x/y", "In /Users/ann/Library/Group Containers/g/"},
        {"/Users/ann/Library/Containers/c/x/y", "In /Users/ann/Library/Containers/c/"},
        {"/srv/Containers/c/y", "In /srv/Containers/c/"}, // not in a Library: the innermost folder
        {"/Users/ann/Pictures/P.photoslibrary/d/i.jpg", "In /Users/ann/Pictures/P.photoslibrary/"},
        {"/srv/P.photoslibrary/d/i.jpg", "In /srv/P.photoslibrary/d/"},
        {"/Volumes/Backup/photos/x.jpg", "In /Volumes/Backup/"},
        {"/Volumes//Backup/photos/x.jpg", "In /Volumes//Backup/"},
        {"/A.app/c/x", "In /A.app/c/"}, // the bundle has too few components for any rule
        {"/srv/a.sparsebundle/bands/1", "In /srv/a.sparsebundle/"},
        {"/Applications/Maps.app/Contents/MacOS/Maps", "In /Applications/Maps.app/"},
        // Outward over inward, whichever rule found it.
        {"/Volumes/V/A.app/B.app/x", "In /Volumes/V/"},
        {"/srv/A.app/B.app/x", "In /srv/A.app/"},
        // The weaker marks: the first one outward, and none after any other.
        {"/System/Library/Components/AppleScript.component/C/x",
            "In /System/Library/Components/AppleScript.component/"},
        {"/Library/DAL/AppleCamera.plugin/C/x", "In /Library/DAL/AppleCamera.plugin/"},
        {"/L/R/VDC.plugin/C/x", "In /L/R/VDC.plugin/"},
        {"/Library/Fonts/Sub/x", "In /Library/Fonts/"},
        {"/Library/B.app/x", "In /Library/B.app/"},
        {"/Library/K/B.app/x", "In /Library/K/B.app/"},
        {"/srv/O.app/Library/Fonts/x", "In /srv/O.app/"},
        {":IOKIT/Library/Fonts/x", "Only :IOKIT/Library/Fonts/x"},
        {":IOKIT/Volumes/V/x", "In :IOKIT/Volumes/V/"},
        {"Library/Containers/c/x", "In Library/Containers/c/"},
        // Nothing matched: by where the home folder is.
        {"/Users/ann/notes.txt", "Only /Users/ann/notes.txt"},
        {"/Users/ann/notes", "Only /Users/ann/notes"},
        {"/Users/ann/docs.d/", "In /Users/ann/docs.d/"},
        {"/Users/bob/notes.txt", "In /Users/bob/"},
    };
    for (const auto& [path, recommended] : rows) {
        SCOPED_TRACE(path);
        const auto actual = constructPathHierarchy(queryFor(path), administrator);
        ASSERT_GE(actual.recommendedPathIndex, 0);
        const auto index = static_cast<std::size_t>(actual.recommendedPathIndex);
        ASSERT_LT(index, actual.choices.size());
        EXPECT_EQ(actual.choices[index], recommended);
    }
}

TEST(PathHierarchy, ReadsArraysWithoutTheirNul)
{
    auto query = queryFor({});
    fillArray(query.path, '/');
    const auto slashes = constructPathHierarchy(query, ordinaryUser);
    ASSERT_EQ(slashes.choices.size(), 1024U);
    EXPECT_EQ(slashes.choices.front().size(), 3 + 1024U);
    EXPECT_EQ(slashes.choices.back(), "Any Files");

    fillArray(query.path, 'x', "/a.");
    EXPECT_EQ(constructPathHierarchy(query, ordinaryUser).choices.front(),
        "File Extension ." + std::string(1021, 'x'));
    fillArray(query.process_name, 'p', "/");
    fillArray(query.parent_name, 'q', "/");
    EXPECT_EQ(manicureAppPathForQuery(query), "/" + std::string(1023, 'p'));
    EXPECT_EQ(manicureDisplayPathForQuery(query),
        std::string(1023, 'p') + " via " + std::string(1023, 'q'));
}

TEST(PathHierarchy, LogsThePathAndTheChoices)
{
    std::vector<std::string> lines;
    setLogSink([&](std::string_view line) { lines.emplace_back(line); });
    EXPECT_EQ(constructPathHierarchy(queryFor("/a%@"), ordinaryUser).choices.size(), 3U);
    setLogSink({});
    EXPECT_THAT(lines,
        testing::ElementsAre(
            "pathString: /a%@", "query Path: /a%@", "paths: Only /a%@, Only /, Any Files"));
}

TEST(ProgramName, NamesTheProgramAndItsParent)
{
    struct Row {
        std::string_view program, parent, path, display;
    };
    const Row rows[] = {
        {"/bin/cat", "", "/bin/cat", "cat"},
        {"/bin/cat", "/bin/sh", "/bin/cat", "cat via sh"},
        {"/bin/sh (-c /x/y) (-z)", "", "/bin/sh", "y) (-z)"},
        {"/bin/%@ (x)", "/bin/%@", "/bin/%@ (x)", "%@ (x) via %@"},
        {"", "", "", "unknown program"},
        {"", "/bin/sh", "", "unknown program via sh"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.program);
        const auto query = queryFor("/x", OPERATION_READ, row.program, row.parent);
        EXPECT_EQ(manicureAppPathForQuery(query), row.path);
        EXPECT_EQ(manicureDisplayPathForQuery(query), row.display);
    }
}

}
}
