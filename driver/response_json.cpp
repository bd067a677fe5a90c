#include "driver/response_json.h"

#include "foundation/utf8.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace vossel {

std::string describe(const ReplayedAnswer& answer)
{
    const user_prompt_response& response = answer.response;
    nlohmann::ordered_json line;
    line["duration"] = response.duration;
    line["decision"] = response.decision;
    line["code"] = response.code;
    line["pathType"] = response.pathType;
    line["process"] = response.process;
    line["constraint_type"] = response.constraint_type;
    line["path"] = toValidUtf8(textOf(response.path));
    line["user_data"] = toValidUtf8(textOf(response.user_data));
    line["operations"] = response.operations;
    line["security_token"] = response.security_token;
    line["pid"] = response.pid;
    line["skeyMatches"] = answer.keyMatches;
    line["index"] = answer.index;
    line["milliseconds"] = std::round(answer.milliseconds * 1000) / 1000;
    return line.dump();
}

}
