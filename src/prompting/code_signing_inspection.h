#pragma once

#include "platform/code_signing.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Signatures of executables on disk, read afresh at each call. Callable from any thread.

namespace vossel {

// A CodeSignState, CODE_SIGN_ERROR for a path that is no code.
[[nodiscard]] std::int32_t getStaticCodeSignStateWithFlags(
    const CodeSigning& signing, const std::string& path, std::uint32_t flags);

// With revocation checked, strictly, without the resources of a bundle.
[[nodiscard]] std::int32_t getStaticStrictCodeSignState(
    const CodeSigning& signing, const std::string& path);

// A text of the signing information; empty when anything fails, and for the text "(null)".
[[nodiscard]] std::optional<std::string> getStaticCodeSignProperty(
    const CodeSigning& signing, const std::string& path, std::string_view key);
[[nodiscard]] std::optional<std::string> getStaticCodeSignIdentifier(
    const CodeSigning& signing, const std::string& path);
[[nodiscard]] std::optional<std::string> getStaticCodeSignTeamIdentifier(
    const CodeSigning& signing, const std::string& path);

// 0 when anything fails.
[[nodiscard]] std::int64_t getStaticCodeSignPlatformIdentifier(
    const CodeSigning& signing, const std::string& path);

}
