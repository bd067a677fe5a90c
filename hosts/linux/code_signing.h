#pragma once

#include "platform/code_signing.h"

namespace vossel {

class PackageIdentity;

// What PackageIdentity knows, in the numbers and keys that the agent asks for. Any thread.
class LinuxCodeSigning final : public CodeSigning {
public:
    // `packages` must outlive this.
    explicit LinuxCodeSigning(const PackageIdentity& packages);

    // Whether something lies there that may be looked at.
    [[nodiscard]] bool isCode(const std::string& path) const override;
    // The flags change nothing: there is one way to check. An error of the system's own is its
    // errno.
    [[nodiscard]] std::int32_t checkValidity(
        const std::string& path, std::uint32_t flags) const override;
    [[nodiscard]] std::optional<PropertyList> signingInformation(
        const std::string& path) const override;

private:
    const PackageIdentity& packages_;
};

}
