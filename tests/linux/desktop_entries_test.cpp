#include "hosts/linux/desktop_entries.h"
#include "linux/tree.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace vossel {
namespace {

// A machine with programs and menus of the test's own. Whoever runs the test administers it.
class DesktopEntriesTest : public ::testing::Test {
protected:
    void program(const std::string& path, const char* content = "\177ELF") const
    {
        tree.file(path, content);
        std::filesystem::permissions(tree.at(path), std::filesystem::perms(0755));
    }
    void entry(const std::string& name, const std::string& lines) const
    {
        tree.file("/usr/share/applications/" + name + ".desktop",
            "[Desktop Entry]\nType=Application\n" + lines + "\n[Desktop Action New]\nIcon=other\n");
    }
    std::string iconOf(std::string_view path) { return entries.iconOf(path); }

    test::Tree tree;
    DesktopEntries entries{SystemRoot(tree.root())};
};

TEST_F(DesktopEntriesTest, AnEntryIsForTheProgramThatItStarts)
{
    for (const char* path : {"/usr/bin/plain", "/usr/bin/editor.basic", "/opt/My App/app",
             "/usr/bin/framed", "/usr/lib/browser/browser-bin", "/usr/lib/browser/browser-core",
             "/usr/lib/mail/mail-ui", "/usr/lib/pager/pager", "/usr/bin/lisp2.41",
             "/snap/chat/7/bin/x", "/var/lib/flatpak/app/org.a.Paint/y/files/bin/paint"})
        program(path);
    tree.link("/usr/bin/editor", "/etc/alternatives/editor");
    tree.link("/etc/alternatives/editor", "/usr/bin/editor.basic");
    program("/usr/lib/browser/browser", "#!/bin/sh\nexec \"$HERE/browser-core\" \"$@\"\n");
    tree.link("/usr/bin/browser", "../lib/browser/browser");
    program("/usr/bin/mail", "#!/bin/sh\nexec /usr/lib/mail/mail-ui \"$@\"\n");
    tree.link("/bin", "usr/bin");
    entry("plain", "Exec=plain %U\nIcon=plain.png");
    entry("ed", "Exec=editor -- %F\nIcon=gone"); // with an option, and not called like it
    entry("editor", "Exec=editor -- %F\nIcon=editor");
    entry("org.a.app", "Exec=\"/opt/My App/app\" --new\nIcon=/opt/My App/a.png");
    entry("x", "Exec=env LANG=C A=\"b c\" framed %f\nIcon=framed");
    entry("browser", "Exec=/usr/bin/browser %u\nIcon=browser");
    entry("m", "Exec=mail\nIcon=mail");
    entry("p", "TryExec=/usr/lib/pager/pager\nIcon=pager"); // started by a message
    entry("lisp", "Exec=gone\nIcon=lisp");
    entry("chat_chat", "X-SnapInstanceName=chat\nExec=/snap/bin/chat\nIcon=/snap/chat/a.svg");
    entry("org.a.Paint", "X-Flatpak=org.a.Paint\nExec=flatpak run org.a.Paint\nIcon=paint");
    const std::pair<const char*, const char*> rows[] = {{"/usr/bin/plain", "plain"},
        {"/bin/plain", "plain"}, {"/usr/bin/editor.basic", "editor"},
        {"/opt/My App/app", "/opt/My App/a.png"}, {"/usr/bin/framed", "framed"},
        {"/usr/lib/browser/browser-bin", "browser"}, {"/usr/lib/browser/browser-core", "browser"},
        {"/usr/lib/mail/mail-ui", "mail"}, {"/usr/lib/pager/pager", "pager"},
        {"/usr/bin/lisp2.41", "lisp"}, {"/snap/chat/7/bin/x", "/snap/chat/a.svg"},
        {"/var/lib/flatpak/app/org.a.Paint/y/files/bin/paint", "paint"}};
    for (const auto& [path, icon] : rows)
        EXPECT_EQ(iconOf(path), icon) << path;
}

TEST_F(DesktopEntriesTest, WhatRunsOtherProgramsHasNoneOfTheirFaces)
{
    const auto hosts = {"/usr/bin/python3.11", "/usr/bin/sh", "/usr/bin/snap", "/usr/bin/flatpak",
        "/usr/bin/busybox", "/usr/bin/office"};
    for (const char* path : hosts)
        program(path);
    tree.link("/usr/bin/python3", "python3.11");
    tree.link("/snap/bin/chat", "/usr/bin/snap");
    tree.link("/usr/bin/vi", "busybox");
    program("/usr/bin/tool", "#!/bin/sh\nexec /usr/bin/python3 /usr/share/tool.py \"$@\"\n");
    entry("game", "Exec=python3 /usr/share/game.py\nIcon=game");
    entry("module", "Exec=python3 -mmodule\nIcon=module");
    entry("shell", "Exec=sh -c \"run it\"\nIcon=shell");
    entry("chat", "Exec=env HINT=1 /snap/bin/chat %U\nIcon=chat");
    entry("app", "Exec=/usr/bin/flatpak run org.a.App\nIcon=app");
    entry("vi", "Exec=vi %F\nIcon=vi");
    entry("tool", "Exec=tool\nIcon=tool");
    entry("one", "Exec=office\nIcon=one");
    entry("two", "Exec=office\nIcon=two");
    for (const char* path : hosts)
        EXPECT_EQ(iconOf(path), "") << path;

    entry("three", "Exec=office %U\nIcon=hidden\nNoDisplay=true"); // hidden ones come last
    EXPECT_EQ(iconOf("/usr/bin/office"), "");
    entry("office", "Exec=office --start\nIcon=with-option");
    EXPECT_EQ(iconOf("/usr/bin/office"), "with-option"); // the one that is called like it
    std::filesystem::remove(tree.at("/usr/share/applications/two.desktop"));
    std::filesystem::remove(tree.at("/usr/share/applications/office.desktop"));
    EXPECT_EQ(iconOf("/usr/bin/office"), "one"); // and changes are seen
}

TEST_F(DesktopEntriesTest, OnlyWhatTheAdministratorInstalledCounts)
{
    for (const char* folder : {"/usr/bin", "/home/ann", "/tmp", "/opt/open", "/opt/loose"})
        program(std::string(folder) + "/browser");
    entry("browser", "Exec=browser\nIcon=browser");
    tree.link("/usr/local/share/applications/own.desktop", "/home/ann/own.desktop");
    tree.file("/home/ann/own.desktop",
        "[Desktop Entry]\nType=Application\nExec=/usr/bin/browser\nIcon=trap\n");
    tree.link("/usr/bin/link", "/home/ann/browser");
    entry("link", "Exec=/usr/bin/link\nIcon=link");
    ASSERT_EQ(::chmod(tree.at("/opt/open").c_str(), 0777), 0);
    ASSERT_EQ(::chmod(tree.at("/opt/loose/browser").c_str(), 0775), 0);
    EXPECT_EQ(iconOf("/usr/bin/browser"), "browser");
    for (const char* path : {"/home/ann/browser", "/tmp/browser", "/opt/open/browser",
             "/opt/loose/browser", "/usr/bin/link", "/usr/../home/ann/browser", "browser", "",
             "/usr/bin/none", "/usr/bin"})
        EXPECT_EQ(iconOf(path), "") << path;
    EXPECT_EQ(iconOf(std::string("/usr/bin/browser\0x", 18)), "");

    // What the session names may add folders of the system, and no others.
    for (const char* name : {"extra", "trap"})
        program(std::string("/opt/") + name);
    for (const auto& [folder, name] : {std::pair("/opt/share", "extra"), {"/home/ann", "trap"}})
        tree.file(std::string(folder) + "/applications/" + name + ".desktop",
            std::string("[Desktop Entry]\nType=Application\nIcon=") + name);
    ::setenv("XDG_DATA_DIRS", "/home/ann:share::/opt/share/:/usr/../home/ann:/usr/share", 1);
    DesktopEntries more{SystemRoot(tree.root())};
    ::unsetenv("XDG_DATA_DIRS");
    EXPECT_EQ(more.iconOf("/opt/extra"), "extra");
    EXPECT_EQ(more.iconOf("/opt/trap"), "");
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files to somebody else";
    ASSERT_EQ(::chown(tree.at("/usr/bin/browser").c_str(), 65534, 65534), 0);
    EXPECT_EQ(iconOf("/usr/bin/browser"), "");
}

TEST_F(DesktopEntriesTest, BrokenEntriesAreLeftOut)
{
    program("/usr/bin/good");
    const std::string folder = "/usr/share/applications/";
    tree.link(folder + "circle.desktop", "circle.desktop");
    tree.link(folder + "loop", ".");
    tree.folder(folder + "folder.desktop");
    tree.file(folder + "empty.desktop", "");
    tree.file(folder + "binary.desktop", std::string("[Desktop Entry]\0\xff\xfe\n=\n[", 22));
    entry("huge", "Exec=good\nComment=" + std::string(300'000, 'x') + "\nIcon=trap");
    for (const char* lines : {"Exec=good\nIcon=\xff\xfe", "Exec=good\nIcon=../../tmp/x",
             "Exec=good\nIcon=trap\nType=Link", "Exec=\"good\nIcon=trap", "Exec=good %\nIcon=trap",
             "Exec=good \\\\\nIcon=trap"})
        entry("broken" + std::to_string(std::hash<std::string>()(lines)), lines);
    tree.file(folder + "deep/name.desktop",
        "[Desktop Entry]\nType=Application\nExec=good\n"
        "Icon=good\n");
    ASSERT_EQ(::mkfifo(tree.at(folder + "pipe.desktop").c_str(), 0644), 0);
    EXPECT_EQ(iconOf("/usr/bin/good"), "good");
}

}
}
