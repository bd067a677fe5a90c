#include "hosts/qt/window_platform.h"

#include "foundation/files.h"

#include <QDir>
#include <QLibraryInfo>

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <memory>
#include <utility>
#include <xcb/xcb.h>

namespace vossel {

namespace {

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable);
    return value && *value != '\0';
}

// Null where none answers.
std::shared_ptr<void> connectToXServer()
{
    std::shared_ptr<xcb_connection_t> connection(xcb_connect(nullptr, nullptr), xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0 ? connection : nullptr;
}

bool compositorAnswers()
{
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    std::string path = std::getenv("WAYLAND_DISPLAY");
    if (!path.starts_with('/'))
        path = std::string(folder ? folder : "") + "/" + path;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    path.copy(address.sun_path, path.size());
    const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return socket
        && ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address)
        == 0;
}

bool hasPlugin(const QString& name)
{
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
    return plugins.exists("lib" + name + ".so");
}

}

Result<WindowPlatform> windowPlatform()
{
    if (isSet("QT_QPA_PLATFORM"))
        return WindowPlatform{std::getenv("QT_QPA_PLATFORM")};
    std::string reason = "there is no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
    if (isSet("DISPLAY")) {
        if (auto connection = connectToXServer())
            return WindowPlatform{"xcb", std::move(connection)};
        reason = "the display " + std::string(std::getenv("DISPLAY")) + " does not answer";
    }
    if (isSet("WAYLAND_DISPLAY")) {
        if (!compositorAnswers())
            reason
                = "the display " + std::string(std::getenv("WAYLAND_DISPLAY")) + " does not answer";
        else if (!hasPlugin("qwayland-generic"))
            reason = "Qt's plugin for Wayland is not installed (package qt6-wayland)";
        else
            return WindowPlatform{"wayland"};
    }
    return Failure{reason};
}

}
