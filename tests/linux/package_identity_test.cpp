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
        tree.link("/usr/bin/alias", "tool");
        // The stray one an earlier version of the package owned: it is not in its list any more.
        const std::string base = sum(toolSum, "usr/bin/tool") + sum(toolSum, "usr/bin/changed")
            + sum(toolSum, "bin/merged") + sum(toolSum, "usr/bin/diverted")
            + sum(toolSum, "usr/local/bin/mine") + sum(toolSum, "usr/bin/stray");
        const std::string dpkg = "/var/lib/dpkg/", info = dpkg + "info/";
        const std::pair<std::string, std::string> files[] = {
            {"/usr/bin/tool", "tool\n"},
            {"/usr/bin/changed", "tampered\n"},
            {"/usr/bin/sumless", "tool\n"},
            {"/usr/bin/merged", "tool\n"},
            {"/usr/bin/stray", "tool\n"},
            {"/usr/bin/shared", "tool\n"},
            {"/usr/bin/diverted", "other\n"},
            {"/usr/bin/diverted.base", "tool\n"},
            {"/usr/local/bin/mine", "tool\n"},
            {dpkg + "status",
                "Package: base\nStatus: install ok installed\nArchitecture: amd64\n\n"
                "Package: diverter\nArchitecture: all\n\nPackage: libshared\n"},
            {info + "base.list",
                "/.\n/usr\n/usr/bin\n/usr/bin/tool\n/usr/bin/changed\n/usr/bin/sumless\n"
                "/usr/bin/alias\n/bin/merged\n/usr/bin/diverted\n/usr/local/bin/mine\n"},
            {info + "base.md5sums", base},
            {info + "diverter.list", "/usr/bin/diverted\n"},
            {info + "diverter.md5sums", sum(otherSum, "usr/bin/diverted")},
            {info + "libshared:i386.list", "/usr/bin/shared\n"},
            {info + "libshared:i386.md5sums", sum(toolSum, "usr/bin/shared")},
            {dpkg + "diversions", "/usr/bin/diverted\n/usr/bin/diverted.base\ndiverter\n"},
            {"/var/lib/apt/lists/a_InRelease", "Hash: SHA256\n\nOrigin: Debian\nLabel: x\n"},
            {"/etc/dpkg/origins/default", "Vendor: Debian\n"},
        };
        for (const auto& [path, content] : files)
            tree.file(path, content);
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
    // No publisher is named where the lists disagree.
    tree.file("/var/lib/apt/lists/b_Release", "Origin: Somebody\n");
    const PackageIdentity other(tree.root());
    EXPECT_EQ(shown(other.identify("/usr/bin/tool")), "2|base:amd64||Package base|");
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
    EXPECT_EQ(signing.checkValidity("/usr/bin/tool", 0), signatureValid);
    EXPECT_EQ(signing.checkValidity("/usr/bin/changed", 0), signatureFailed);
    EXPECT_EQ(signing.checkValidity("/usr/bin/gone", 0), ENOENT);
    EXPECT_FALSE(signing.signingInformation("/usr/bin/stray"));
    EXPECT_EQ(*signing.signingInformation("/usr/bin/tool")->find("identifier"),
        PropertyList(std::string("base:amd64")));
}

}
}
