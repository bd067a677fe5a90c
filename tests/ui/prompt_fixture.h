#pragma once

#include "foundation/files.h"
#include "foundation/property_list.h"
#include "hosts/simulated/simulated_host.h"
#include "prompting/permissions_manager.h"
#include "settings/directories.h"
#include "support/queries.h"
#include "support/temporary_directory.h"
#include "ui/prompt/prompt_presenter.h"
#include "ui/prompt/prompt_windows.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"
#include "user/user_checks.h"

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vossel::test {

// Remembers which prompt stands, and what it was told of it.
class PresenterProbe final : public PromptPresenter {
public:
    QMPermissionsWindow* advanced = nullptr;
    QMSimplePermissionsWindow* simple = nullptr;
    std::vector<std::string> calls;

    void promptOpened(QMPermissionsWindow& prompt) override { open(advanced, prompt); }
    void promptOpened(QMSimplePermissionsWindow& prompt) override { open(simple, prompt); }
    void promptChanged(QMPermissionsWindow&) override { calls.emplace_back("changed"); }
    void promptChanged(QMSimplePermissionsWindow&) override { calls.emplace_back("changed"); }
    void promptClosed(QMPermissionsWindow&) override { close(advanced); }
    void promptClosed(QMSimplePermissionsWindow&) override { close(simple); }

private:
    template <class Prompt>
    void open(Prompt*& place, Prompt& prompt)
    {
        place = &prompt;
        calls.emplace_back("opened");
    }
    template <class Prompt>
    void close(Prompt*& place)
    {
        place = nullptr;
        calls.emplace_back("closed");
    }
};

// What either prompt hands over, as one line of text each.
class DelegateProbe final : public QMPermissionsWindowDelegate,
                            public QMSimplePermissionsWindowDelegate {
public:
    std::vector<std::string> handedOver;

    void didClickAllowWithSelectedPath(const std::optional<std::string>& path,
        std::int64_t duration, std::int32_t process, std::int32_t operations,
        const policy_query& query, std::uint32_t pid) override
    {
        shaped("allow", path, duration, process, operations, query, pid);
    }
    void didClickDenyWithSelectedPath(const std::optional<std::string>& path, std::int64_t duration,
        std::int32_t process, std::int32_t operations, const policy_query& query,
        std::uint32_t pid) override
    {
        shaped("deny", path, duration, process, operations, query, pid);
    }
    void didClickAllowWithQuery(const policy_query& query, std::int64_t duration) override
    {
        plain("allow", query, " for " + std::to_string(duration));
    }
    void didClickDenyWithQuery(const policy_query& query, std::int64_t duration) override
    {
        plain("deny", query, " for " + std::to_string(duration));
    }
    void didRequestAdvancedDisplayForQuery(const policy_query& query) override
    {
        plain("advanced", query, "");
    }

private:
    void shaped(const char* decision, const std::optional<std::string>& path, std::int64_t duration,
        std::int32_t process, std::int32_t operations, const policy_query& query, std::uint32_t pid)
    {
        plain(decision, query,
            " by [" + path.value_or("none") + "] for " + std::to_string(duration) + " process "
                + std::to_string(process) + " operations " + std::to_string(operations)
                + " parent [" + std::string(textOf(query.parent_name)) + "] pid "
                + std::to_string(pid));
    }
    void plain(const char* what, const policy_query& query, const std::string& rest)
    {
        handedOver.push_back(std::string(what) + " " + std::string(textOf(query.path))
            + " constraint " + std::to_string(query.constraint_type) + rest);
    }
};

// A simulated machine whose product files lie in a temporary folder, with the real broker and the
// real prompts, on whose screen nothing is drawn.
struct PromptFixture {
    TemporaryDirectory directory;
    Directories directories{directory.path()};
    SimulatedHost host;
    UserChecks userChecks{host.host, directories};
    PermissionsManager broker{host.host, directories, userChecks};
    PresenterProbe presenter;
    DelegateProbe delegate;
    PromptWindows prompts{PromptContext{host.host, directories, broker, presenter}};
    // Of everybody who answers through the broker.
    std::shared_ptr<QueryWait> wait = std::make_shared<QueryWait>();

    PromptFixture()
    {
        std::filesystem::create_directories(directories.sharedData());
        broker.setPromptFactory(&prompts);
        writePreferences({{"access.user.detail", 2}});
    }

    void writePreferences(std::initializer_list<std::pair<const char*, std::int64_t>> values)
    {
        PropertyList list;
        for (const auto& [key, value] : values)
            list.set(key, PropertyList(value));
        (void)writeFile(
            directories.preferences(), *writePropertyList(list, PropertyListFormat::Xml));
    }
    void forbidRules() { std::filesystem::remove_all(directories.sharedData()); }

    // A prompt that answers to `delegate`; the broker knows nothing of it.
    std::shared_ptr<QMPermissionsWindow> openAdvanced(const policy_query& query)
    {
        return open<QMPermissionsWindow>(query);
    }
    std::shared_ptr<QMSimplePermissionsWindow> openSimple(const policy_query& query)
    {
        return open<QMSimplePermissionsWindow>(query);
    }
    // A prompt of the broker's, in the mode that the preferences choose.
    void present(const policy_query& query)
    {
        broker.presentQueryToUser(query, wait);
        host.mainThread.runPending();
    }

private:
    template <class Prompt>
    std::shared_ptr<Prompt> open(const policy_query& query)
    {
        auto prompt
            = std::make_shared<Prompt>(PromptContext{host.host, directories, broker, presenter});
        prompt->setPolicyQuery(query);
        prompt->setDelegate(&delegate);
        prompt->showWindow();
        return prompt;
    }
};

// An image's path less the folders that an installation decides.
[[nodiscard]] inline std::string describe(const ImageSource& image)
{
    static constexpr const char* kinds[] = {"none", "file", "icon of"};
    std::string text = kinds[static_cast<int>(image.kind)];
    text += " " + std::filesystem::path(image.path).filename().string();
    if (image.width > 0)
        text += " " + std::to_string(static_cast<int>(image.width)) + "x"
            + std::to_string(static_cast<int>(image.height));
    return text;
}

[[nodiscard]] inline std::string describe(const Button& button, const char* name)
{
    return name + std::string(button.hidden() ? " hidden" : "")
        + (button.highlighted() ? " highlighted" : "") + (button.on() ? " on" : "");
}

}
