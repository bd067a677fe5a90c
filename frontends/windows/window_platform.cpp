#include "frontends/windows/window_platform.h"

#include "foundation/files.h"

#include <QDir>
#include <QLibraryInfo>
#include <QtGlobal>

#include <sys/socket.h>
#include <sys/un.h>

#include <memory>
#include <utility>
#include <xcb/xcb.h>

namespace vossel {

namespace {

// Null where none answers.
std::shared_ptr<void> connectToXServer()
{
    std::shared_ptr<xcb_connection_t> connection(xcb_connect(nullptr, nullptr), xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0 ? connection : nullptr;
}

bool compositorAnswers(const std::string& display)
{
    const std::string folder = qEnvironmentVariable("XDG_RUNTIME_DIR").toStdString();
    const std::string path = display.starts_with('/') ? display : folder + "/" + display;
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
    const std::string wanted = qEnvironmentVariable("QT_QPA_PLATFORM").toStdString();
    const std::string server = qEnvironmentVariable("DISPLAY").toStdString();
    const std::string compositor = qEnvironmentVariable("WAYLAND_DISPLAY").toStdString();
    if (!wanted.empty())
        return WindowPlatform{wanted};
    std::string reason = "there is no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
    if (!server.empty()) {
        if (auto connection = connectToXServer())
            return WindowPlatform{"xcb", std::move(connection)};
        reason = "the display " + server + " does not answer";
    }
    if (!compositor.empty()) {
        if (!compositorAnswers(compositor))
            reason = "the display " + compositor + " does not answer";
        else if (!hasPlugin("qwayland-generic"))
            reason = "Qt's plugin for Wayland is not installed (package qt6-wayland)";
        else
            return WindowPlatform{"wayland"};
    }
    return Failure{reason};
}

}
