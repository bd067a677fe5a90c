#include "prompting/response_builder.h"

#include "wire/pseudo_paths.h"

#include <string_view>

namespace vossel {

namespace {

void storeScope(user_prompt_response& response, std::string_view choice)
{
    std::size_t start = choice.find('/');
    if (start == std::string_view::npos)
        start = choice.find('.');
    response.pathType = PATH_EXACT;
    if (start == std::string_view::npos)
        return;
    const std::string_view scope = choice.substr(start);
    storeText(response.path, scope);
    if (!choice.starts_with("Only "))
        response.pathType = scope.starts_with('.') ? PATH_EXTENSION : PATH_PREFIX;
}

}

user_prompt_response buildResponse(const policy_query& query, const PromptDecision& decision)
{
    user_prompt_response response{};
    response.decision = decision.decision;
    response.duration = static_cast<std::int32_t>(decision.duration);
    response.process = decision.processType;
    response.operations = decision.operations;
    response.pid = decision.pid;
    response.code = RESPONSE_DECIDED;
    response.constraint_type = query.constraint_type;
    if (decision.processType == PROCESS_ANY_WITH_ANCESTOR)
        storeText(response.user_data, textOf(query.parent_name));
    if (response.operations & OPERATION_EXECUTE)
        response.operations |= OPERATION_READ;

    if (decision.selectedPath) {
        storeScope(response, *decision.selectedPath);
    } else {
        storeText(response.path, textOf(query.path));
        response.pathType = PATH_PREFIX;
    }
    // A decision on one capture device covers all of them: their numbers mean nothing to a person.
    if (isPacketCaptureDevice(textOf(response.path))) {
        storeText(response.path, packetCaptureDevices);
        response.pathType = PATH_PREFIX;
    }
    return response;
}

}
