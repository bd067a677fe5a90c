#include "frontends/lines/prompt_json.h"

#include "foundation/utf8.h"
#include "ui/prompt/prompt_view.h"

#include <algorithm>

namespace vossel {

namespace {

Json buttonJson(const ButtonState& button)
{
    return Json{{"hidden", button.hidden}, {"highlighted", button.highlighted}};
}

const char* iconKind(ImageSource::Kind kind)
{
    switch (kind) {
    case ImageSource::Kind::File:
        return "file";
    case ImageSource::Kind::WorkspaceIcon:
        return "workspace";
    case ImageSource::Kind::Resource:
        return "resource";
    case ImageSource::Kind::None:
        break;
    }
    return "none";
}

Json pathList(const PromptView::Choices& paths)
{
    Json list = Json::array();
    for (const PromptView::Entry& entry : paths.entries)
        list.push_back(toValidUtf8(entry.title));
    return list;
}

Json processJson(const PromptView::Entry& entry)
{
    Json process{{"title", toValidUtf8(entry.title)}, {"tag", entry.tag}};
    if (!entry.path.empty())
        process["path"] = toValidUtf8(entry.path);
    return process;
}

// Scripts count a list's title entry as well.
Json processList(const PromptView::Choices& processes)
{
    Json list = Json::array();
    if (processes.titleEntry)
        list.push_back(processJson(*processes.titleEntry));
    for (const PromptView::Entry& entry : processes.entries)
        list.push_back(processJson(entry));
    return list;
}

void addAdvanced(Json& state, const PromptView& view)
{
    state["parent"] = toValidUtf8(view.parent.text);
    state["file"] = toValidUtf8(view.file.text);
    state["paths"] = pathList(view.paths);
    state["path"] = view.paths.selected;
    state["pathEnabled"] = view.paths.enabled;
    state["processes"] = processList(view.processes);
    state["process"] = view.processes.selected + (view.processes.titleEntry ? 1 : 0);
    state["processTitle"] = toValidUtf8(view.processes.title);
    state["operations"] = view.operations;
    state["segments"] = std::count_if(view.durations.begin(), view.durations.end(),
        [](const PromptView::Duration& duration) { return duration.present; });
    state["duration"] = view.duration;
    state["updates"] = Json{{"checked", view.updates.checked}, {"enabled", view.updates.enabled},
        {"hidden", view.updates.hidden}};
    state["installerPid"] = view.installerPid;
}

}

Json promptJson(const PromptView& view, std::int64_t secondsLeft)
{
    const bool advanced = view.kind == PromptView::Kind::Advanced;
    Json state{
        {"sentence", toValidUtf8(view.sentence)},
        {"alertType", view.alertType},
        {"codeSignState", view.signer.state},
        {"codeSign", toValidUtf8(view.signer.text)},
        {"allow", buttonJson(view.allow)},
        {"deny", buttonJson(view.deny)},
        {"touchBarRequired", view.touchBarOnly},
        {"secondsLeft", secondsLeft},
        {"icon", toValidUtf8(view.icon.path)},
        {"iconKind", iconKind(view.icon.kind)},
        {"application", toValidUtf8(advanced ? view.application.text : view.name.text)},
    };
    if (advanced) {
        addAdvanced(state, view);
    } else {
        state["duration"] = view.duration;
        state["foreverHidden"] = !view.durations[DURATION_FOREVER].present;
    }
    return state;
}

}
