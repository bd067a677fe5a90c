#include "prompting/code_signing_inspection.h"

#include "wire/driver_messages.h"

namespace vossel {

namespace {

// Enforce revocation checks, validate strictly, leave out a bundle's resources.
constexpr std::uint32_t strictValidation = 0x40000014;

std::optional<PropertyList> propertyOf(
    const CodeSigning& signing, const std::string& path, std::string_view key)
{
    if (!signing.isCode(path))
        return std::nullopt;
    const auto information = signing.signingInformation(path);
    const auto* property = information ? information->find(key) : nullptr;
    return property ? std::optional(*property) : std::nullopt;
}

}

std::int32_t getStaticCodeSignStateWithFlags(
    const CodeSigning& signing, const std::string& path, std::uint32_t flags)
{
    if (!signing.isCode(path))
        return CODE_SIGN_ERROR;
    switch (signing.checkValidity(path, flags)) {
    case signatureValid:
        return CODE_SIGN_VALID;
    case signatureUnsigned:
        return CODE_SIGN_UNSIGNED;
    case signatureFailed:
    case signatureInvalid:
        return CODE_SIGN_INVALID;
    case signatureNotVerifiable:
        return CODE_SIGN_NOT_VERIFIABLE;
    case signatureUnsupported:
        return CODE_SIGN_UNSUPPORTED;
    default:
        return CODE_SIGN_ERROR;
    }
}

std::int32_t getStaticStrictCodeSignState(const CodeSigning& signing, const std::string& path)
{
    return getStaticCodeSignStateWithFlags(signing, path, strictValidation);
}

std::optional<std::string> getStaticCodeSignProperty(
    const CodeSigning& signing, const std::string& path, std::string_view key)
{
    const auto property = propertyOf(signing, path, key);
    const auto* text = property ? property->string() : nullptr;
    if (!text || *text == "(null)")
        return std::nullopt;
    return *text;
}

std::optional<std::string> getStaticCodeSignIdentifier(
    const CodeSigning& signing, const std::string& path)
{
    return getStaticCodeSignProperty(signing, path, "identifier");
}

std::optional<std::string> getStaticCodeSignTeamIdentifier(
    const CodeSigning& signing, const std::string& path)
{
    return getStaticCodeSignProperty(signing, path, "teamid");
}

std::int64_t getStaticCodeSignPlatformIdentifier(
    const CodeSigning& signing, const std::string& path)
{
    const auto property = propertyOf(signing, path, "platform-identifier");
    return property ? property->integerValue() : 0;
}

}
