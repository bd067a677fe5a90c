#include "settings/directories.h"

#include "foundation/text_format.h"

namespace vossel {

Directories::Directories(std::string_view prefix)
    // npos + 1 is 0: a prefix of nothing but slashes is the empty one.
    : prefix_(prefix.substr(0, prefix.find_last_not_of('/') + 1))
{
}

std::string Directories::at(std::string_view path) const
{
    return prefix_ + std::string(path);
}

std::string Directories::preferences() const
{
    return sharedData() + "com.brenick.Vossel.preferences.plist";
}

std::string Directories::firstRunMarker() const
{
    return sharedData() + "first_run";
}

std::string Directories::learningModeMarker() const
{
    return sharedData() + "learning_mode";
}

std::string Directories::simpleModeMarker(std::string_view login) const
{
    return formatText("%@%@.vossel.simple_mode", {sharedData(), login});
}

std::string Directories::failsafeRules() const
{
    return sharedData() + "failsafe.rc";
}

std::string Directories::userRules(std::string_view login) const
{
    return formatText("%@%@.vossel.rc", {sharedData(), login});
}

std::string Directories::autodetectIgnoreList(std::string_view login) const
{
    return formatText("%@%@.autodetect.plist", {sharedData(), login});
}

std::string Directories::programIcon() const
{
    return sharedData() + ".VosselTemp.png";
}

std::string Directories::autodetectAssets() const
{
    return at("/Users/Shared/Vossel Extras/Autodetect/");
}

std::string Directories::systemRules() const
{
    return support() + "vossel.rc";
}

std::string Directories::paranoidSystemRules() const
{
    return support() + "paranoid.rc";
}

std::string Directories::userSystemRules() const
{
    return support() + "user.rc";
}

std::string Directories::webcamSystemRules() const
{
    return support() + "webcam.rc";
}

std::string Directories::startupSystemRules() const
{
    return support() + "startup.rc";
}

std::string Directories::execSystemRules() const
{
    return support() + "exec.rc";
}

std::string Directories::warningImage() const
{
    return support() + "warning.png";
}

std::string Directories::lockImage() const
{
    return support() + "lock.png";
}

std::string Directories::buildNumber() const
{
    return support() + "build_number";
}

std::string Directories::userGuide() const
{
    return support() + "Vossel User Guide.pdf";
}

std::string Directories::configurationApplication() const
{
    return at("/Applications/Vossel Configuration.app");
}

std::string Directories::driverSocket() const
{
    return at("/run/vossel/VosselDriver.sock");
}

}
