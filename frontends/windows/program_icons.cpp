#include "frontends/windows/program_icons.h"

#include "foundation/file_replacement.h"
#include "foundation/files.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QPixmap>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>

namespace vossel {

namespace {

constexpr std::size_t maxPictureBytes = 4'194'304;
constexpr int maxSide = 1024;
constexpr int storedSide = 128;
constexpr std::size_t maxFaces = 64;

// A theme's own icon of that very name: a general one ("editor" for "editor-plus") may be another
// program's.
QIcon themeIcon(const QString& name)
{
    return QIcon::hasThemeIcon(name) ? QIcon::fromTheme(name) : QIcon();
}

QIcon firstOf(std::initializer_list<const char*> names)
{
    for (const char* name : names)
        if (QIcon icon = themeIcon(QString::fromLatin1(name)); !icon.isNull())
            return icon;
    // Made only where it exists: an icon of a missing file does not count as null.
    const QPixmap own(QStringLiteral(":/images/program.png"));
    return own.isNull() ? QIcon() : QIcon(own);
}

QIcon generalIcon()
{
    return firstOf({"application-x-executable"});
}

QImage decoded(std::string& bytes, const char* format)
{
    QByteArray array = QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
    QBuffer buffer(&array);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    // Asked before anything is decoded: a small file may announce a huge picture.
    if (size.isEmpty() || size.width() > maxSide || size.height() > maxSide)
        return {};
    // A drawing has no size of its own that would mean anything.
    if (qstrcmp(format, "svg") == 0)
        reader.setScaledSize(size.scaled(2 * storedSide, 2 * storedSide, Qt::KeepAspectRatio));
    return reader.read();
}

// Fitted into a transparent square of that many pixels.
QImage fitted(const QIcon& icon, QSize size, double ratio)
{
    const QSize pixels(qRound(size.width() * ratio), qRound(size.height() * ratio));
    if (icon.isNull() || pixels.isEmpty() || pixels.width() > maxSide || pixels.height() > maxSide)
        return {};
    QImage picture = icon.pixmap(size, ratio).toImage();
    if (picture.isNull())
        return {};
    picture.setDevicePixelRatio(1);
    if (picture.width() != pixels.width() || picture.height() != pixels.height())
        picture = picture.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage canvas(pixels, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.drawImage(
        (pixels.width() - picture.width()) / 2, (pixels.height() - picture.height()) / 2, picture);
    painter.end();
    canvas.setDevicePixelRatio(ratio);
    return canvas;
}

// Takes away what could be shown as the picture, where it is this user's to take away; emptied, it
// shows nothing, where the folder may not be written.
void removeOwn(const std::string& file)
{
    struct stat facts = {};
    if (file.find('\0') != std::string::npos || ::lstat(file.c_str(), &facts) != 0
        || facts.st_uid != ::geteuid() || !(S_ISREG(facts.st_mode) || S_ISLNK(facts.st_mode)))
        return;
    if (::unlink(file.c_str()) == 0 || S_ISLNK(facts.st_mode))
        return;
    const UniqueFd kept(::open(file.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (kept && ::fstat(kept.get(), &facts) == 0 && S_ISREG(facts.st_mode)
        && facts.st_uid == ::geteuid())
        (void)!::ftruncate(kept.get(), 0);
}

bool replaceFile(const std::string& file, std::string_view content)
{
    struct stat facts = {};
    if (file.find('\0') != std::string::npos)
        return false;
    if (::lstat(file.c_str(), &facts) == 0) {
        if (facts.st_uid != ::geteuid())
            return false;
        if (S_ISLNK(facts.st_mode) && ::unlink(file.c_str()) != 0)
            return false;
        if (!S_ISLNK(facts.st_mode) && !S_ISREG(facts.st_mode))
            return false;
    }
    FileReplacement replacement(file, S_IRUSR | S_IWUSR);
    return replacement.open() == 0 && replacement.append(content) == 0 && replacement.commit() == 0;
}

}

ProgramIcons::ProgramIcons(const SystemRoot& root, const std::vector<std::string>& dataFolders)
    : entries_(root, dataFolders)
{
    QStringList themes;
    for (const std::string& folder : dataFolders)
        if (entries_.files().isSystemFolder(folder + "/icons"))
            themes += QString::fromStdString(root.at(folder + "/icons"));
    QIcon::setThemeSearchPaths(themes);
    QStringList loose;
    for (const std::string& folder : dataFolders)
        if (entries_.files().isSystemFolder(folder + "/pixmaps"))
            loose += QString::fromStdString(root.at(folder + "/pixmaps"));
    QIcon::setFallbackSearchPaths(loose);
    if (QIcon::themeName().isEmpty())
        QIcon::setThemeName(QStringLiteral("hicolor"));
    if (QIcon::fallbackThemeName().isEmpty())
        QIcon::setFallbackThemeName(QStringLiteral("hicolor"));
    theme_ = QIcon::themeName();
}

QIcon ProgramIcons::iconOf(const std::string& program)
{
    const QIcon icon = faceIcon(faceOf(program));
    return icon.isNull() ? generalIcon() : icon;
}

QImage ProgramIcons::image(const std::string& program, QSize size, double devicePixelRatio)
{
    const QImage own = fitted(faceIcon(faceOf(program)), size, devicePixelRatio);
    return own.isNull() ? fitted(generalIcon(), size, devicePixelRatio) : own;
}

QIcon ProgramIcons::workspaceIcon(const std::string& path)
{
    const std::string_view name(path);
    return name.ends_with("/Installer.app") || name.ends_with("/Installer.app/")
        ? firstOf({"system-software-install", "package-x-generic"})
        : generalIcon();
}

std::string ProgramIcons::faceOf(const std::string& program)
{
    std::string face = entries_.iconOf(program);
    if (QIcon::themeName() != theme_ || entries_.readings() != readings_) {
        theme_ = QIcon::themeName();
        readings_ = entries_.readings();
        faces_.clear();
        encoded_.clear();
        stored_ = {};
    }
    return face;
}

QIcon ProgramIcons::faceIcon(const std::string& face)
{
    if (face.empty())
        return {};
    if (const auto known = faces_.find(face); known != faces_.end())
        return known->second;
    QIcon icon = face.front() == '/' ? pictureAt(face) : themeIcon(QString::fromStdString(face));
    // What is missing may be on its way: packages bring the entry before the picture.
    if (icon.isNull())
        return icon;
    if (faces_.size() >= maxFaces) {
        faces_.clear();
        encoded_.clear();
    }
    faces_.emplace(face, icon);
    return icon;
}

QIcon ProgramIcons::pictureAt(const std::string& path) const
{
    for (const char* format : {"png", "svg", "xpm"}) {
        if (!std::string_view(path).ends_with(std::string(".") + format))
            continue;
        auto bytes = entries_.files().read(path, maxPictureBytes);
        const QImage image = bytes ? decoded(*bytes, format) : QImage();
        return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
    }
    return {};
}

std::string ProgramIcons::encoded(const std::string& face, const std::string& program)
{
    if (const auto known = encoded_.find(face); known != encoded_.end())
        return known->second;
    const QImage picture = image(program, QSize(storedSide, storedSide));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    // Little is gained by packing harder, and the prompt waits.
    if (picture.isNull() || !buffer.open(QIODevice::WriteOnly) || !picture.save(&buffer, "PNG", 80))
        return {};
    // The general picture is not kept for a face whose own is still missing.
    if (face.empty() || faces_.contains(face))
        encoded_.emplace(face, bytes.toStdString());
    return bytes.toStdString();
}

bool ProgramIcons::ownStamp(const std::string& file, FileStamp& stamp)
{
    struct stat facts = {};
    if (::lstat(file.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_uid != ::geteuid()
        || (facts.st_mode & 0777) != (S_IRUSR | S_IWUSR))
        return false;
    stamp = FileStamp::of(facts);
    return true;
}

bool ProgramIcons::store(const std::string& program, const std::string& file)
{
    const std::string face = faceOf(program);
    FileStamp now;
    if (stored_.file == file && stored_.face == face && ownStamp(file, now) && now == stored_.stamp)
        return true;
    stored_ = {};
    const std::string bytes = encoded(face, program);
    if (!bytes.empty() && replaceFile(file, bytes) && ownStamp(file, now)
        && now.size == static_cast<std::int64_t>(bytes.size())) {
        if (face.empty() || faces_.contains(face))
            stored_ = {file, face, now};
        return true;
    }
    removeOwn(file);
    return false;
}

QImage ProgramIcons::load(const std::string& file)
{
    // Asked before it is opened, too: opening a device may do something.
    struct stat facts = {};
    if (::lstat(file.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode))
        return {};
    const FileToRead opened = openRefusingLink(file);
    if (!opened.fd || ::fstat(opened.fd.get(), &facts) != 0 || !S_ISREG(facts.st_mode)
        || (facts.st_uid != ::geteuid() && facts.st_uid != 0))
        return {};
    auto bytes = readDescriptor(opened.fd.get(), maxPictureBytes, file);
    return bytes ? decoded(*bytes, "png") : QImage();
}

}
