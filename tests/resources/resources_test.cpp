#include "foundation/files.h"
#include "settings/directories.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"
#include "support/x_server.h"

#include <QImage>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

namespace vossel {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestFile = 16 * 1024 * 1024;

struct Outcome {
    std::optional<int> status;
    std::string errors;
};

class Resources : public testing::Test {
protected:
    [[nodiscard]] Outcome run(const std::vector<std::string>& arguments) const
    {
        const std::string errors = root_ / "errors";
        test::ChildProcess child(arguments, errors);
        const auto status = child.wait();
        return {status, *readFile(errors, largestFile)};
    }
    // As in a build: no display, no home, no locale.
    [[nodiscard]] Outcome render(
        std::vector<std::string> arguments, const std::string& tool = RENDER_RESOURCE) const
    {
        std::vector<std::string> all{"env", "-i", tool};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run(all);
    }
    [[nodiscard]] std::string write(const std::string& name, std::string_view content) const
    {
        EXPECT_TRUE(writeFile(root_ / name, content));
        return root_ / name;
    }
    // What a person can read in a PDF file.
    [[nodiscard]] std::string textOf(const std::string& pdf) const
    {
        const std::string text = root_ / "text";
        return run({"pdftotext", pdf, text}).status == 0 ? *readFile(text, largestFile) : "";
    }

    test::TemporaryDirectory root_;
};

std::size_t pagesOf(const std::string& pdf)
{
    std::size_t count = 0;
    const std::string mark = "/Type /Page\n";
    for (auto at = pdf.find(mark); at != std::string::npos; at = pdf.find(mark, at + 1))
        ++count;
    return count;
}

bool isBlack(QRgb pixel)
{
    return (pixel & 0xFFFFFFU) == 0;
}

TEST_F(Resources, EveryPictureIsInTheProgramAtBothDensities)
{
    const struct {
        std::string name;
        int side;
        bool isTemplate = false; // black, to be recoloured by whoever shows it
    } rows[] = {{"arrows_64x64", 64}, {"danger", 28}, {"green", 22}, {"lock", 128},
        {"lock_128x128", 128}, {"lock_icon_alert", 22}, {"lock_icon_learning_mode", 22, true},
        {"lock_icon_small", 22, true}, {"mac_128x128", 128}, {"program", 128}, {"red", 22},
        {"warning", 128}};
    for (const auto& row : rows) {
        for (const int factor : {1, 2}) {
            const std::string path = ":/images/" + row.name + (factor == 2 ? "@2x.png" : ".png");
            SCOPED_TRACE(path);
            const QImage image(QString::fromStdString(path));
            ASSERT_EQ(image.size(), QSize(row.side, row.side) * factor);
            int opaque = 0;
            int clear = 0;
            bool black = true;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QRgb pixel = image.pixel(x, y);
                    opaque += qAlpha(pixel) == 255 ? 1 : 0;
                    clear += qAlpha(pixel) == 0 ? 1 : 0;
                    black = black && (qAlpha(pixel) == 0 || isBlack(pixel));
                }
            }
            const int all = image.width() * image.height();
            EXPECT_GT(opaque, all / 10) << "something is drawn";
            EXPECT_GT(clear, all / 50) << "and not all over it";
            EXPECT_EQ(black, row.isTemplate);
        }
    }
}

TEST_F(Resources, WhatCannotBeMadeIsRefusedInOneSentence)
{
    const std::string svg = std::string(DRAWINGS) + "/red.svg";
    const std::string out = root_ / "out";
    const std::string broken = write("broken.svg", "<svg xmlns=\"http://www.w3.org/2000/svg\"");
    const std::string empty = write("empty.md", "\n");
    const std::string lost = write("lost.md", "# Look\n\n![it](not there.png)\n![it](gone.png)\n");
    const struct {
        std::vector<std::string> arguments;
        std::string says;
    } rows[] = {
        {{}, "IN.svg WIDTHxHEIGHT OUT.png"},
        {{"image", svg, "22x22"}, "IN.svg WIDTHxHEIGHT OUT.png"},
        {{"image", svg, "22", out}, "22 is no size"},
        {{"image", svg, "0x22", out}, "0x22 is no size"},
        {{"image", svg, "-1x22", out}, "no size"},
        {{"image", svg, "5000x22", out}, "5000x22 is no size"},
        {{"image", svg, "22x22x22", out}, "no size"},
        {{"image", root_ / "none.svg", "22x22", out}, "none.svg cannot be read"},
        {{"image", broken, "22x22", out}, "broken.svg cannot be read"},
        {{"image", svg, "22x22", root_ / "none/out"}, "none/out cannot be written"},
        {{"document", root_ / "none.md", out}, "none.md cannot be read"},
        {{"document", empty, out}, "it holds no text"},
        {{"document", lost, out}, "gone.png"},
        {{"document", GUIDE, root_ / "none/out"}, "none/out cannot be written"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.says);
        const Outcome outcome = render(row.arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.errors.find(row.says), std::string::npos) << outcome.errors;
        EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << outcome.errors;
        EXPECT_FALSE(fileExists(out));
    }
}

TEST_F(Resources, NamesTheMissingPlugin)
{
    // A copy whose plugins are Qt's but for those that read pictures.
    const std::string tool = root_ / "render_resource";
    fs::copy_file(RENDER_RESOURCE, tool);
    fs::create_directory(root_ / "plugins");
    fs::create_directory_symlink(
        std::string(QT_PLUGINS) + "/platforms", root_ / "plugins/platforms");
    (void)write("qt.conf", "[Paths]\nPlugins=" + (root_ / "plugins") + "\n");
    const Outcome outcome
        = render({"image", std::string(DRAWINGS) + "/red.svg", "22x22", root_ / "out"}, tool);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.errors.find("libqt6svg6"), std::string::npos) << outcome.errors;
}

TEST_F(Resources, ADocumentHasItsTextPicturesAndPages)
{
    ASSERT_EQ(
        render({"image", std::string(DRAWINGS) + "/red.svg", "64x64", root_ / "red.png"}).status,
        0);
    std::string text
        = "# Title b\xC3\xA4r\n\n![it](red.png)\n\n| a | b |\n|---|---|\n| one | two |\n";
    for (int i = 0; i < 120; ++i)
        text += "\nparagraph\n";
    const std::string source = write("long.md", text);
    const std::string out = root_ / "long one.pdf";
    const Outcome outcome = render({"document", source, out});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    const std::string pdf = *readFile(out, largestFile);
    EXPECT_EQ(pdf.substr(0, 5), "%PDF-");
    EXPECT_GT(pagesOf(pdf), 2U);
    EXPECT_LT(pagesOf(pdf), 10U);
    EXPECT_NE(pdf.find("/Subtype /Image"), std::string::npos);
    if (!test::isInPath("pdftotext"))
        GTEST_SKIP() << "there is no pdftotext to read the pages with";
    const std::string read = textOf(out);
    for (const char* part : {"Title b\xC3\xA4r", "two", "paragraph"})
        EXPECT_NE(read.find(part), std::string::npos) << part;
}

TEST_F(Resources, AnInstallationPutsEverythingWhereTheProgramsLook)
{
    if (!isWritable(BUILD))
        GTEST_SKIP() << "CMake keeps a list in the build's folder, which may not be written";
    const std::string prefix = root_ / "installed";
    const Outcome outcome
        = run({CMAKE, "--install", BUILD, "--prefix", prefix, "--component", "vossel"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const Directories at(prefix);
    const std::vector<std::string> expected{at.buildNumber(), at.userGuide(), at.lockImage(),
        at.warningImage(), prefix + "/bin/VosselDriver", prefix + "/bin/VosselUserAgent",
        prefix + "/bin/vosselctl", prefix + "/share/polkit-1/actions/org.vossel.policy"};
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(prefix))
        if (entry.is_regular_file())
            found.push_back(entry.path());
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));

    for (const std::string& image : {at.lockImage(), at.warningImage()})
        EXPECT_EQ(QImage(QString::fromStdString(image)).size(), QSize(128, 128)) << image;
    EXPECT_GE(pagesOf(*readFile(at.userGuide(), largestFile)), 2U);
    std::string build = *readFile(at.buildNumber(), 64);
    ASSERT_TRUE(build.ends_with('\n'));
    build.pop_back();
    EXPECT_TRUE(!build.empty() && std::ranges::all_of(build, [](unsigned char c) {
        return std::isdigit(c) != 0;
    })) << build;
    for (const char* program : {"/bin/VosselDriver", "/bin/VosselUserAgent", "/bin/vosselctl"})
        EXPECT_EQ(run({prefix + program, "--version"}).status, 0) << program;
}

}
}
