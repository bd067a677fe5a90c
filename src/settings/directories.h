#pragma once

#include <string>
#include <string_view>

namespace vossel {

// Owns every fixed path of the product, named once; it opens no file. A prefix moves the whole
// layout below a folder; comparisons with the product's own paths follow it. Folder paths end in
// "/". An immutable value.
class Directories {
public:
    // `prefix` without a trailing "/"; empty for the real layout.
    explicit Directories(std::string_view prefix = {});

    [[nodiscard]] const std::string& prefix() const { return prefix_; }

    // Files shared between the product's programs and users.
    [[nodiscard]] std::string sharedData() const { return at("/Users/Shared/Vossel/"); }
    [[nodiscard]] std::string preferences() const;
    [[nodiscard]] std::string firstRunMarker() const;
    [[nodiscard]] std::string learningModeMarker() const;
    [[nodiscard]] std::string simpleModeMarker(std::string_view login) const;
    [[nodiscard]] std::string failsafeRules() const;
    [[nodiscard]] std::string userRules(std::string_view login) const;
    [[nodiscard]] std::string autodetectIgnoreList(std::string_view login) const;
    // The icon of the program behind the current query.
    [[nodiscard]] std::string programIcon() const;
    [[nodiscard]] std::string autodetectAssets() const;

    // What an installation puts in place.
    [[nodiscard]] std::string support() const { return at("/Library/Application Support/Vossel/"); }
    [[nodiscard]] std::string systemRules() const; // the main ones
    [[nodiscard]] std::string paranoidSystemRules() const; // in their place
    [[nodiscard]] std::string userSystemRules() const;
    [[nodiscard]] std::string webcamSystemRules() const;
    [[nodiscard]] std::string startupSystemRules() const;
    [[nodiscard]] std::string execSystemRules() const;
    [[nodiscard]] std::string warningImage() const;
    [[nodiscard]] std::string lockImage() const;
    [[nodiscard]] std::string buildNumber() const;
    [[nodiscard]] std::string userGuide() const;
    [[nodiscard]] std::string configurationApplication() const;

    // What exists while the driver runs.
    [[nodiscard]] std::string driverSocket() const;

private:
    [[nodiscard]] std::string at(std::string_view path) const;

    std::string prefix_;
};

}
