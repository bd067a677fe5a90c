#include "hosts/linux/package_identity.h"

#include "foundation/files.h"
#include "hosts/linux/package_index.h"
#include "hosts/linux/proc_file.h"

#include <openssl/evp.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>
#include <vector>

namespace vossel {

namespace {

constexpr std::array<std::string_view, 6> mergedFolders
    = {"/bin/", "/sbin/", "/lib/", "/lib32/", "/lib64/", "/libx32/"};

// Below /usr and below the root the same folder has two names, and packages list either.
std::string otherName(std::string_view path)
{
    const bool below = path.starts_with("/usr/");
    const std::string_view rest = below ? path.substr(4) : path;
    const bool merged = std::any_of(mergedFolders.begin(), mergedFolders.end(),
        [rest](std::string_view folder) { return rest.starts_with(folder); });
    if (!merged)
        return {};
    return below ? std::string(rest) : std::string("/usr").append(rest);
}

bool isFile(const std::string& path, const struct stat& file)
{
    struct stat there = {};
    return ::stat(path.c_str(), &there) == 0 && there.st_dev == file.st_dev
        && there.st_ino == file.st_ino;
}

std::string hexadecimal(const unsigned char* bytes, std::size_t size)
{
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

// The sum of the whole file; empty, with errno set, when it cannot be read.
std::string md5Of(int fd)
{
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(
        ::EVP_MD_CTX_new(), &::EVP_MD_CTX_free);
    errno = ENOSYS; // what a library built without the sum comes down to
    if (!context || ::EVP_DigestInit_ex(context.get(), ::EVP_md5(), nullptr) != 1)
        return {};
    std::vector<unsigned char> buffer(std::size_t{256} * 1024);
    off_t offset = 0;
    for (;;) {
        const auto size = ::pread(fd, buffer.data(), buffer.size(), offset);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return {};
        if (size == 0)
            break;
        ::EVP_DigestUpdate(context.get(), buffer.data(), static_cast<std::size_t>(size));
        offset += size;
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum = {};
    unsigned length = 0;
    ::EVP_DigestFinal_ex(context.get(), sum.data(), &length);
    return hexadecimal(sum.data(), length);
}

ProgramIdentity without(CodeSignState state, std::string text)
{
    ProgramIdentity identity;
    identity.state = state;
    identity.signerText = std::move(text);
    return identity;
}

ProgramIdentity failed(int error)
{
    ProgramIdentity identity = without(CODE_SIGN_ERROR, errorText(error));
    identity.error = error;
    return identity;
}

// Only the distribution's own, and only what no other user can have changed since.
bool isPlatform(const PackageIndex& index, std::string_view path, const struct stat& file)
{
    return !index.origin().empty() && index.origin() == index.vendor() && file.st_uid == 0
        && (file.st_mode & (S_IWGRP | S_IWOTH)) == 0
        && (path.starts_with("/usr/") || otherName(path).starts_with("/usr/"))
        && !path.starts_with("/usr/local/");
}

}

PackageIdentity::PackageIdentity(std::string_view root)
    : root_(root)
{
}

PackageIdentity::~PackageIdentity() = default;

std::shared_ptr<const PackageIndex> PackageIdentity::index() const
{
    const MutexLock guard(lock_);
    if (!index_ || index_->stamp() != PackageIndex::stampOf(root_))
        index_ = std::make_shared<const PackageIndex>(root_);
    return index_;
}

ProgramIdentity PackageIdentity::identify(const std::string& path) const
{
    const std::string place = root_.at(path);
    struct stat file = {};
    if (path.find('\0') != std::string::npos || ::stat(place.c_str(), &file) != 0)
        return failed(path.find('\0') != std::string::npos ? EINVAL : errno);
    // Opening anything else may wait, or do something to a device.
    if (!S_ISREG(file.st_mode))
        return without(CODE_SIGN_UNSUPPORTED, "Not a file");
    const UniqueFd fd(::open(place.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd)
        return failed(errno);
    // Where the symbolic links led, for what has just been opened.
    const std::string real = descriptorPath(fd.get());
    if (real.empty())
        return failed(errno);
    return identify(std::string(root_.inside(real)), fd.get());
}

ProgramIdentity PackageIdentity::identify(const std::string& path, int fd) const
{
    struct stat file = {};
    if (::fstat(fd, &file) != 0)
        return failed(errno);
    if (!S_ISREG(file.st_mode) || file.st_nlink == 0)
        return without(CODE_SIGN_UNSUPPORTED, "Not a file, or deleted");
    const auto packages = index();
    auto owner = packages->ownerOf(path);
    if (const std::string other = otherName(path);
        !owner && !other.empty() && isFile(root_.at(other), file))
        owner = packages->ownerOf(other);
    if (!owner)
        return without(CODE_SIGN_UNSIGNED, "Not from any package");

    ProgramIdentity identity;
    identity.identifier = owner->package;
    if (!owner->architecture.empty())
        identity.identifier.append(":").append(owner->architecture);
    identity.signerText = "Package " + owner->package;
    if (owner->md5.empty()) {
        identity.state = CODE_SIGN_NOT_VERIFIABLE;
        return identity;
    }
    const std::string sum = md5Of(fd);
    if (sum.empty())
        return failed(errno);
    if (sum != owner->md5) {
        identity.state = CODE_SIGN_INVALID;
        return identity;
    }
    identity.state = CODE_SIGN_VALID;
    identity.team = packages->origin();
    identity.platform = isPlatform(*packages, path, file);
    if (!identity.team.empty())
        identity.signerText = identity.team + " package " + owner->package;
    return identity;
}

}
