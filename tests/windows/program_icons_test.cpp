#include "foundation/files.h"
#include "frontends/windows/program_icons.h"
#include "linux/tree.h"

#include <QBuffer>
#include <QColor>
#include <QFile>
#include <QImageReader>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace vossel {
namespace {

std::string png(QColor color, int width = 48, int height = 48)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data().toStdString();
}

// Programs, menus and an icon theme of plain squares.
struct Machine : test::Tree {
    Machine()
    {
        const auto add = [this](const std::string& name, const std::string& icon) {
            file("/usr/bin/" + name, "x");
            std::filesystem::permissions(at("/usr/bin/" + name), std::filesystem::perms(0755));
            file("/usr/share/applications/" + name + ".desktop",
                "[Desktop Entry]\nType=Application\nExec=" + name + "\nIcon=" + icon + "\n");
        };
        const std::string hicolor = "/usr/share/icons/hicolor/";
        const std::string users = "/home/ann/icons/hicolor/"; // never looked into
        for (const std::string& theme : {hicolor, users})
            file(theme + "index.theme",
                "[Icon Theme]\nName=h\nComment=h\nDirectories=48x48\n[48x48]\nSize=48\n"
                "Type=Fixed\n");
        for (const char* name : {"red", "red-plus", "application-x-executable"})
            file(users + "48x48/" + name + ".png", png(Qt::black));
        file(hicolor + "48x48/red.png", png(Qt::red));
        file(hicolor + "48x48/application-x-executable.png", png(Qt::gray));
        file(hicolor + "48x48/package-x-generic.png", png(Qt::yellow));
        file("/usr/share/pixmaps/green.xpm",
            "/* XPM */\nstatic char *x[] = {\"1 1 1 1\",\"a c #00ff00\",\"a\"};\n");
        file("/usr/share/blue.svg",
            "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'>"
            "<rect width='4' height='4' fill='#0000ff'/></svg>");
        file("/usr/share/huge.png", png(Qt::red, 1025, 1));
        file("/home/ann/own.png", png(Qt::red));
        folder("/run");
        add("red", "red");
        add("reddish", "red-plus");
        add("green", "green");
        add("blue", "/usr/share/blue.svg");
        add("huge", "/usr/share/huge.png");
        add("owns", "/home/ann/own.png");
    }
};

class ProgramIconsTest : public ::testing::Test {
protected:
    ProgramIconsTest()
        : icons(SystemRoot(tree_.root()), {"/home/ann", "/usr/share"})
    {
    }
    ~ProgramIconsTest() override
    {
        QIcon::setThemeSearchPaths({QStringLiteral(":/icons")});
        QIcon::setFallbackSearchPaths({});
    }
    [[nodiscard]] static std::string colorOf(const QImage& image)
    {
        return image.isNull() ? "none"
                              : image.pixelColor(image.rect().center()).name().toStdString();
    }
    [[nodiscard]] std::string at(const std::string& path) const { return tree_.at(path); }
    [[nodiscard]] std::string stored() const { return colorOf(ProgramIcons::load(at("/run/p"))); }
    bool store(const std::string& program) { return icons.store(program, at("/run/p")); }

private:
    Machine tree_;

protected:
    ProgramIcons icons;
};

TEST_F(ProgramIconsTest, AProgramHasTheFaceOfItsEntryOrAGeneralOne)
{
    const std::pair<const char*, const char*> rows[]
        = {{"red", "#ff0000"}, {"green", "#00ff00"}, {"blue", "#0000ff"}, {"reddish", "#a0a0a4"},
            {"huge", "#a0a0a4"}, {"owns", "#a0a0a4"}, {"unknown", "#a0a0a4"}};
    for (const auto& [name, color] : rows) {
        if (std::string_view(name) == "blue"
            && !QImageReader::supportedImageFormats().contains("svg"))
            continue; // Qt's drawings are a package of their own
        const std::string program = std::string("/usr/bin/") + name;
        const QImage image = icons.image(program, QSize(32, 32), 2);
        EXPECT_EQ(colorOf(image), color) << name;
        EXPECT_EQ(image.size(), QSize(64, 64)) << name;
        EXPECT_EQ(colorOf(icons.iconOf(program).pixmap(16, 16).toImage()), color) << name;
    }
    const auto installer
        = ProgramIcons::workspaceIcon("/System/Library/CoreServices/Installer.app");
    EXPECT_EQ(colorOf(installer.pixmap(32, 32).toImage()), "#ffff00");
}

TEST_F(ProgramIconsTest, ThePictureStoredIsThatOfTheLastProgram)
{
    ASSERT_TRUE(store("/usr/bin/red"));
    EXPECT_EQ(stored(), "#ff0000");
    EXPECT_EQ(ProgramIcons::load(at("/run/p")).size(), QSize(128, 128));
    struct stat first = {};
    struct stat again = {};
    ASSERT_EQ(::stat(at("/run/p").c_str(), &first), 0);
    EXPECT_EQ(first.st_mode & 0777, 0600u);
    ASSERT_TRUE(store("/usr/bin/red"));
    ASSERT_EQ(::stat(at("/run/p").c_str(), &again), 0);
    EXPECT_EQ(first.st_ino, again.st_ino) << "written again";
    ASSERT_TRUE(store("/usr/bin/green"));
    EXPECT_EQ(stored(), "#00ff00");
    ASSERT_TRUE(store("/home/ann/red"));
    EXPECT_EQ(stored(), "#a0a0a4");

    // Whatever somebody else makes of the file is put right.
    ASSERT_TRUE(writeFile(at("/run/p"), png(Qt::red)));
    ASSERT_TRUE(store("/home/ann/red"));
    EXPECT_EQ(stored(), "#a0a0a4");
    std::filesystem::remove(at("/run/p"));
    std::filesystem::create_symlink(at("/home/ann/own.png"), at("/run/p"));
    ASSERT_TRUE(store("/usr/bin/green"));
    EXPECT_EQ(stored(), "#00ff00");
    EXPECT_EQ(colorOf(ProgramIcons::load(at("/home/ann/own.png"))), "#ff0000");
    int files = 0;
    for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator(at("/run")))
        ++files;
    EXPECT_EQ(files, 1);
}

TEST_F(ProgramIconsTest, NoPictureStaysThatIsNotThisPrograms)
{
    EXPECT_FALSE(icons.store("/usr/bin/red", at("/none/p")));
    std::filesystem::create_directory(at("/run/p"));
    EXPECT_FALSE(store("/usr/bin/red"));
    EXPECT_TRUE(isDirectory(at("/run/p")));
    std::filesystem::remove(at("/run/p"));

    ASSERT_TRUE(store("/usr/bin/red"));
    std::filesystem::remove(at("/usr/share/icons/hicolor/48x48/application-x-executable.png"));
    QIcon::setThemeName(QStringLiteral("other")); // what is known of the theme is dropped
    QIcon::setThemeName(QStringLiteral("hicolor"));
    if (!QFile::exists(QStringLiteral(":/images/program.png"))) {
        EXPECT_FALSE(store("/usr/bin/unknown"));
        EXPECT_FALSE(fileExists(at("/run/p")));
    } else {
        EXPECT_TRUE(store("/usr/bin/unknown"));
        EXPECT_NE(stored(), "#ff0000");
    }
    if (::geteuid() != 0) {
        // A folder that may not be written keeps the file, but not the picture.
        ASSERT_TRUE(store("/usr/bin/red"));
        ASSERT_EQ(::chmod(at("/run").c_str(), 0555), 0);
        EXPECT_EQ(store("/usr/bin/unknown"), QFile::exists(QStringLiteral(":/images/program.png")));
        EXPECT_NE(stored(), "#ff0000");
        ASSERT_EQ(::chmod(at("/run").c_str(), 0755), 0);
        GTEST_SKIP() << "only root can give files to somebody else";
    }
    const std::string others = png(Qt::blue);
    ASSERT_TRUE(writeFile(at("/run/p"), others));
    ASSERT_EQ(::chown(at("/run/p").c_str(), 65534, 65534), 0);
    EXPECT_FALSE(store("/usr/bin/red"));
    EXPECT_EQ(*readFile(at("/run/p"), others.size()), others);
    EXPECT_EQ(stored(), "none") << "another user's picture is not shown";
}

TEST_F(ProgramIconsTest, OnlySmallPicturesOfOnesOwnAreLoaded)
{
    QByteArray bitmap;
    QBuffer buffer(&bitmap);
    buffer.open(QIODevice::WriteOnly);
    QImage(8, 8, QImage::Format_RGB32).save(&buffer, "BMP");
    const std::string whole = png(Qt::red);
    const std::pair<std::string, const char*> rows[]
        = {{whole, "#ff0000"}, {png(Qt::red, 1024, 1024), "#ff0000"},
            {png(Qt::red, 1025, 1), "none"}, {whole + std::string(4 * 1024 * 1024, 'x'), "none"},
            {bitmap.toStdString(), "none"}, {whole.substr(0, 30), "none"}, {"", "none"}};
    for (const auto& [bytes, color] : rows) {
        ASSERT_TRUE(writeFile(at("/run/p"), bytes));
        EXPECT_EQ(stored(), color) << bytes.size();
    }
    EXPECT_EQ(colorOf(ProgramIcons::load(at("/run"))), "none");
    EXPECT_EQ(colorOf(ProgramIcons::load(at("/run/none"))), "none");
    ASSERT_TRUE(writeFile(at("/run/p"), whole));
    std::filesystem::create_symlink(at("/run/p"), at("/run/link"));
    EXPECT_EQ(colorOf(ProgramIcons::load(at("/run/link"))), "none");
    ASSERT_EQ(::mkfifo(at("/run/pipe").c_str(), 0600), 0);
    EXPECT_EQ(colorOf(ProgramIcons::load(at("/run/pipe"))), "none");
}

}
}
