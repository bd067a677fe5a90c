#include "hosts/linux/code_signing.h"

#include "foundation/files.h"
#include "hosts/linux/package_identity.h"

#include <cerrno>

namespace vossel {

LinuxCodeSigning::LinuxCodeSigning(const PackageIdentity& packages)
    : packages_(packages)
{
}

bool LinuxCodeSigning::isCode(const std::string& path) const
{
    return fileExists(path);
}

std::int32_t LinuxCodeSigning::checkValidity(const std::string& path, std::uint32_t) const
{
    const ProgramIdentity identity = packages_.identify(path);
    switch (identity.state) {
    case CODE_SIGN_UNSIGNED:
        return signatureUnsigned;
    case CODE_SIGN_VALID:
        return signatureValid;
    case CODE_SIGN_INVALID:
        return signatureFailed;
    case CODE_SIGN_NOT_VERIFIABLE:
        return signatureNotVerifiable;
    case CODE_SIGN_UNSUPPORTED:
        return signatureUnsupported;
    case CODE_SIGN_ERROR:
        break;
    }
    return identity.error > 0 ? identity.error : EIO;
}

std::optional<PropertyList> LinuxCodeSigning::signingInformation(const std::string& path) const
{
    const ProgramIdentity identity = packages_.identify(path);
    if (identity.identifier.empty())
        return std::nullopt;
    PropertyList information;
    information.set("identifier", PropertyList(identity.identifier));
    if (!identity.team.empty())
        information.set("teamid", PropertyList(identity.team));
    if (identity.platform)
        information.set("platform-identifier", PropertyList(std::int64_t{1}));
    return information;
}

}
