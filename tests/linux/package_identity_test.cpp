#include "hosts/linux/code_signing.h"
#include "hosts/linux/package_identity.h"
#include "linux/tree.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace vossel {
namespace {

// The sums of "tool\n" and "other\n", by md5sum.
constexpr const char* toolSum = "7cfb3b1aedd632d8ae7cc974271f3652";
constexpr const char* otherSum = "ba7790b1708b71cb2b61b1a30d824712";

class PackageIdentityTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // As after the merge of /bin into /usr/bin.
        tree.folder("/usr/bin");
        tree.link("/bin", "usr/bin");
        for (const char* name : {"tool", "changed", "sumless", "merged", "stray", "shared"})
            tree.file(std::string("/usr/bin/") + name, "tool\n");
        tree.file("/usr/bin/changed", "tampered\n");
        tree.file("/usr/local/bin/mine", "tool\n");
        tree.link("/usr/bin/alias", "tool");
        tree.file("/usr/bin/diverted", "other\n");
        tree.file("/usr/bin/diverted.base", "tool\n");
        tree.file("/var/lib/dpkg/status",
            "Package: base\nStatus: install ok installed\nArchitecture: amd64\n\n"
            "Package: diverter\nArchitecture: all\n\n"
            "Package: libshared\nArchitecture: i386\n");
        tree.file("/var/lib/dpkg/info/base.list",
            "/.\n/usr\n/usr/bin\n/usr/bin/tool\n/usr/bin/changed\n/usr/bin/sumless\n/usr/bin/"
            "alias\n"
            "/bin/merged\n/usr/bin/diverted\n/usr/local/bin/mine\n/usr/bin/gone\n");
        tree.file("/var/lib/dpkg/info/base.md5sums",
            sum(toolSum, "usr/bin/tool") + sum(toolSum, "usr/bin/changed")
                + sum(toolSum, "bin/merged") + sum(toolSum, "usr/bin/diverted")
                + sum(toolSum, "usr/local/bin/mine")
                // What an earlier version of the package owned: not in its list any more.
                + sum(toolSum, "usr/bin/stray"));
        tree.file("/var/lib/dpkg/info/diverter.list", "/usr/bin/diverted\n");
        tree.file("/var/lib/dpkg/info/diverter.md5sums", sum(otherSum, "usr/bin/diverted"));
        tree.file("/var/lib/dpkg/info/libshared:i386.list", "/usr/bin/shared\n");
        tree.file("/var/lib/dpkg/info/libshared:i386.md5sums", sum(toolSum, "usr/bin/shared"));
        tree.file(
            "/var/lib/dpkg/diversions", "/usr/bin/diverted\n/usr/bin/diverted.base\ndiverter\n");
        tree.file("/var/lib/apt/lists/a_InRelease", "Hash: SHA256\n\nOrigin: Debian\nLabel: x\n");
        tree.file("/etc/dpkg/origins/default", "Vendor: Debian\n");
    }
    static std::string sum(const char* digits, const char* path)
    {
        return std::string(digits) + "  " + path + "\n";
    }
    static std::string shown(const ProgramIdentity& identity)
    {
        return std::to_string(identity.state) + "|" + identity.identifier + "|" + identity.team
            + "|" + identity.signerText + "|" + (identity.platform ? "platform" : "");
    }

    test::Tree tree;
    PackageIdentity packages{tree.root()};
};

TEST_F(PackageIdentityTest, TellsOwnersAndSums)
{
    // Only what root owns is the distribution's.
    const std::string platform = ::getuid() == 0 ? "platform" : "";
    const std::pair<const char*, std::string> rows[] = {
        {"/usr/bin/tool", "2|base:amd64|Debian|Debian package base|" + platform},
        {"/usr/bin/alias", "2|base:amd64|Debian|Debian package base|" + platform},
        {"/bin/tool", "2|base:amd64|Debian|Debian package base|" + platform},
        {"/usr/bin/merged", "2|base:amd64|Debian|Debian package base|" + platform},
        {"/usr/bin/shared", "2|libshared:i386|Debian|Debian package libshared|" + platform},
        {"/usr/local/bin/mine", "2|base:amd64|Debian|Debian package base|"},
        {"/usr/bin/diverted", "2|diverter:all|Debian|Debian package diverter|" + platform},
        {"/usr/bin/diverted.base", "2|base:amd64|Debian|Debian package base|" + platform},
        {"/usr/bin/changed", "3|base:amd64||Package base|"},
        {"/usr/bin/sumless", "4|base:amd64||Package base|"},
        {"/usr/bin/stray", "1|||Not from any package|"},
        {"/usr/bin", "5|||Not a file|"},
        {"/usr/bin/gone", "6|||No such file or directory|"},
    };
    for (const auto& [path, expected] : rows)
        EXPECT_EQ(shown(packages.identify(path)), expected) << path;
    // What others may write is no longer what the distribution vouches for.
    ::chmod(tree.at("/usr/bin/tool").c_str(), 0757);
    EXPECT_FALSE(packages.identify("/usr/bin/tool").platform);
}

TEST_F(PackageIdentityTest, AnOpenFileIsJudgedByItsOwnBytes)
{
    const UniqueFd running(::open(tree.at("/usr/bin/tool").c_str(), O_RDONLY | O_CLOEXEC));
    const UniqueFd forged(::open(tree.at("/usr/bin/changed").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(packages.identify("/usr/bin/tool", running.get()).state, CODE_SIGN_VALID);
    EXPECT_EQ(packages.identify("/usr/bin/tool", forged.get()).state, CODE_SIGN_INVALID);
    std::filesystem::remove(tree.at("/usr/bin/tool"));
    EXPECT_EQ(packages.identify("/usr/bin/tool", running.get()).state, CODE_SIGN_UNSUPPORTED);
    const UniqueFd memory(::memfd_create("x", MFD_CLOEXEC));
    EXPECT_EQ(packages.identify("/usr/bin/tool", memory.get()).state, CODE_SIGN_UNSUPPORTED);
    EXPECT_EQ(packages.identify("/usr/bin/tool", -1).error, EBADF);
}

TEST_F(PackageIdentityTest, NoPublisherIsNamedWhereTheListsDisagree)
{
    tree.file("/var/lib/apt/lists/b_Release", "Origin: Somebody\n");
    const ProgramIdentity tool = packages.identify("/usr/bin/tool");
    EXPECT_EQ(shown(tool), "2|base:amd64||Package base|");
}

TEST_F(PackageIdentityTest, TheDatabaseIsReadAgainWhenItChanges)
{
    EXPECT_EQ(packages.identify("/usr/bin/stray").state, CODE_SIGN_UNSIGNED);
    tree.file("/var/lib/dpkg/info/new.list", "/usr/bin/stray\n");
    tree.file("/var/lib/dpkg/info/new.md5sums", sum(toolSum, "usr/bin/stray"));
    tree.file("/var/lib/dpkg/status", "Package: new\nArchitecture: amd64\n");
    std::vector<std::thread> askers;
    for (int i = 0; i < 4; ++i)
        askers.emplace_back(
            [this] { EXPECT_EQ(packages.identify("/usr/bin/stray").identifier, "new:amd64"); });
    for (auto& asker : askers)
        asker.join();
}

TEST_F(PackageIdentityTest, ABrokenDatabaseOwnsNothing)
{
    for (const char* content : {"", "\n\n\n", "/", "x", "  \n/usr/bin/tool"}) {
        tree.file("/var/lib/dpkg/info/base.md5sums", content);
        tree.file("/var/lib/dpkg/diversions", content);
        EXPECT_EQ(packages.identify("/usr/bin/tool").state, CODE_SIGN_NOT_VERIFIABLE) << content;
    }
    std::filesystem::remove_all(tree.at("/var/lib/dpkg"));
    EXPECT_EQ(packages.identify("/usr/bin/tool").state, CODE_SIGN_UNSIGNED);
}

TEST_F(PackageIdentityTest, CodeSigningSaysTheSameInItsOwnNumbers)
{
    const LinuxCodeSigning signing(packages);
    const std::pair<const char*, std::int32_t> rows[] = {
        {"/usr/bin/tool", signatureValid},
        {"/usr/bin/stray", signatureUnsigned},
        {"/usr/bin/changed", signatureFailed},
        {"/usr/bin/sumless", signatureNotVerifiable},
        {"/usr/bin", signatureUnsupported},
        {"/usr/bin/gone", ENOENT},
    };
    for (const auto& [path, result] : rows)
        EXPECT_EQ(signing.checkValidity(path, 0x40000014), result) << path;
    EXPECT_FALSE(signing.isCode("/no/such/program"));
    EXPECT_FALSE(signing.signingInformation("/usr/bin/stray"));

    PropertyList expected;
    expected.set("identifier", PropertyList(std::string("base:amd64")));
    expected.set("teamid", PropertyList(std::string("Debian")));
    if (::getuid() == 0)
        expected.set("platform-identifier", PropertyList(std::int64_t{1}));
    EXPECT_EQ(signing.signingInformation("/usr/bin/tool"), expected);
}

TEST(RealPackagesTest, ThisMachinesShellIsAsItsPackageBroughtIt)
{
    if (!fileExists("/var/lib/dpkg/status"))
        GTEST_SKIP() << "no package database here";
    PackageIdentity packages;
    const ProgramIdentity shell = packages.identify("/bin/sh");
    EXPECT_EQ(shell.state, CODE_SIGN_VALID) << shell.signerText;
    EXPECT_TRUE(shell.identifier.starts_with("dash:")) << shell.identifier;
}

}
}
