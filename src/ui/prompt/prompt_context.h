#pragma once

namespace vossel {

class Directories;
class PermissionsManager;
class PromptPresenter;
struct Host;

// What the prompts are made from; all of it outlives them.
struct PromptContext {
    const Host& host;
    const Directories& directories;
    PermissionsManager& manager;
    PromptPresenter& presenter;
};

}
