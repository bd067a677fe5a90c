#include "hosts/linux/accounts.h"
#include "hosts/linux/session.h"
#include "linux/tree.h"

#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sched.h>

namespace vossel {
namespace {

// A machine of the test's own: name service, login service and console by files that only a child
// process sees.
class OwnMachineTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (::getuid() != 0)
            GTEST_SKIP() << "only root can give a process its own account files";
        if (!isDirectory("/run/systemd") || !fileExists("/etc/nsswitch.conf"))
            GTEST_SKIP() << "no place to mount a login service's files on";
        tree.file("/nsswitch.conf", "passwd: files\ngroup: files\n");
        tree.file("/passwd",
            "root:x:0:0::/root/:/bin/sh\nmary:x:1001:1001::/home/mary//:/bin/sh\n"
            "odd:x:1002:27::relative:/bin/sh\n");
        tree.file("/group", "root:x:0:\nwheel:x:10:mary\nadmin:x:27:\nmary:x:1001:\n");
        for (const char* folder : {"/run/sessions", "/run/seats", "/run/users"})
            tree.folder(folder);
    }
    // What `body` says after these files took the place of the machine's own.
    template <class Body>
    [[nodiscard]] std::string on(const Body& body) const
    {
        return test::inChild([&](int out) {
            if (::unshare(CLONE_NEWNS) != 0
                || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
                return test::say(out, "no namespace");
            for (const auto& [ours, theirs] :
                {std::pair("/nsswitch.conf", "/etc/nsswitch.conf"), {"/passwd", "/etc/passwd"},
                    {"/group", "/etc/group"}, {"/run", "/run/systemd"}})
                if (::mount(tree.at(ours).c_str(), theirs, nullptr, MS_BIND, nullptr) != 0)
                    return test::say(out, std::string("no mount on ") + theirs);
            test::say(out, body());
        });
    }
    std::string console() const
    {
        return on([this] { return LinuxAccounts(tree.root()).consoleUser().value_or("nobody"); });
    }

    test::Tree tree;
};

TEST_F(OwnMachineTest, AccountsAreThoseOfTheNameService)
{
    const std::string said = on([] {
        const LinuxAccounts accounts;
        std::string text = accounts.loginName() + " " + accounts.homeDirectory();
        text += " group " + std::to_string(accounts.administratorsGroup().value_or(0));
        const std::pair<UserId, GroupId> memberships[]
            = {{1001, 10}, {1001, 1001}, {1001, 27}, {1002, 27}, {4000, 10}, {4000, 4000}};
        for (const auto& [user, group] : memberships)
            text += accounts.isMember(user, group).value_or(false) ? " yes" : " no";
        text += " mary " + std::to_string(accounts.userIdOf("mary").value_or(0));
        text += accounts.userIdOf("nobody-here") || accounts.userIdOf("") ? " ghost" : "";
        for (const uid_t user : {1001, 1002, 4000})
            if (::setresuid(user, 0, 0) == 0)
                text += "; " + accounts.loginName() + " " + accounts.homeDirectory();
        return text;
    });
    EXPECT_EQ(said,
        "root /root group 10 yes yes no yes no no mary 1001"
        "; mary /home/mary; odd /; 4000 /");
}

TEST_F(OwnMachineTest, TheConsoleIsTheSeatsOrTheTerminals)
{
    EXPECT_EQ(console(), "nobody") << "neither login service nor terminal";
    tree.file("/sys/class/tty/tty0/active", "tty1\n");
    tree.file("/dev/tty1", "");
    EXPECT_EQ(console(), "nobody") << "a terminal without a login is root's";
    ASSERT_EQ(::chown(tree.at("/dev/tty1").c_str(), 1001, 0), 0);
    EXPECT_EQ(console(), "mary");
    tree.file("/sys/class/tty/tty0/active", "../dev/tty1\n");
    EXPECT_EQ(console(), "nobody") << "no name of a terminal";
    tree.file("/sys/class/tty/tty0/active", "tty1\n");

    tree.file("/run/seats/seat0", "IS_SEAT0=1\n");
    EXPECT_EQ(console(), "nobody") << "the login service knows better";
    tree.file("/run/seats/seat0", "IS_SEAT0=1\nACTIVE=c1\nACTIVE_UID=1002\n");
    tree.file("/run/sessions/c1", "CLASS=user\n");
    EXPECT_EQ(console(), "odd");
    tree.file("/run/sessions/c1", "CLASS=greeter\n");
    EXPECT_EQ(console(), "nobody") << "the login screen";
}

TEST_F(OwnMachineTest, ASessionIsWhatTheLoginServiceWroteDown)
{
    const auto session = [this] {
        return on([] {
            std::string asked;
            const LinuxSession sessions([&asked](const std::string& name) {
                asked = " asked " + name;
                return true;
            });
            const auto state = sessions.current();
            if (!state)
                return std::string("none");
            return std::string(state->loginDone ? "in" : "out")
                + (state->screenLocked ? " locked" : "") + asked
                + (LinuxSession().current()->screenLocked ? " without being told" : "");
        });
    };
    EXPECT_EQ(session(), "none");
    tree.file("/run/users/0", "DISPLAY=c7\n");
    EXPECT_EQ(session(), "none") << "the session has gone";
    const std::pair<const char*, const char*> rows[] = {
        {"STATE=active\nCLASS=user\n", "in locked asked c7"},
        {"STATE=online\nCLASS=user\n", "in locked asked c7"},
        {"STATE=closing\nCLASS=user\n", "out locked asked c7"},
        {"STATE=active\nCLASS=greeter\n", "out locked asked c7"},
    };
    for (const auto& [file, expected] : rows) {
        tree.file("/run/sessions/c7", file);
        EXPECT_EQ(session(), expected) << file;
    }
}

}
}
