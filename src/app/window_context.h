#pragma once

namespace vossel {

class Directories;
class WindowPresenter;
struct Host;

// What the application's own windows are made from; all of it outlives them.
struct WindowContext {
    const Host& host;
    const Directories& directories;
    WindowPresenter& presenter;
};

}
