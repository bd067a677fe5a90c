#include "wire_json/record_json.h"

#include "foundation/utf8.h"

#include <string>

namespace vossel {

namespace {

std::string hex(const std::uint8_t* bytes, std::size_t count)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

}

Json responseJson(const user_prompt_response& response)
{
    return Json{
        {"duration", response.duration},
        {"decision", response.decision},
        {"code", response.code},
        {"pathType", response.pathType},
        {"process", response.process},
        {"constraint_type", response.constraint_type},
        {"path", toValidUtf8(textOf(response.path))},
        {"user_data", toValidUtf8(textOf(response.user_data))},
        {"skey", hex(response.skey, sizeof response.skey)},
        {"operations", response.operations},
        {"security_token", response.security_token},
        {"pid", response.pid},
    };
}

}
