#include "frontends/windows/window_manager.h"

#include "hosts/x11/window_hints.h"

#include <QGuiApplication>
#include <QWindow>

namespace vossel {

namespace {

xcb_connection_t* server()
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

}

void showOnEveryWorkspace(QWindow& window)
{
    if (xcb_connection_t* x11 = server())
        showOnEveryWorkspace(x11, static_cast<std::uint32_t>(window.winId()));
}

void keepAbove(QWindow& window, bool above)
{
    if (xcb_connection_t* x11 = server())
        keepAbove(x11, static_cast<std::uint32_t>(window.winId()), above);
}

}
