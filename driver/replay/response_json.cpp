#include "driver/replay/response_json.h"

#include "wire_json/record_json.h"

#include <cmath>

namespace vossel {

std::string describe(const ReplayedAnswer& answer)
{
    Json line = responseJson(answer.response);
    line.erase("skey");
    line["skeyMatches"] = answer.keyMatches;
    line["index"] = answer.index;
    line["milliseconds"] = std::round(answer.milliseconds * 1000) / 1000;
    return line.dump();
}

}
