#include "prompting/signing_text.h"

#include "foundation/utf8.h"

#include <algorithm>
#include <string_view>

namespace vossel {

namespace {

// The third field where there are exactly three; otherwise the whole text.
std::string_view signerText(std::string_view fields)
{
    if (!isValidUtf8(fields))
        return "Unknown Codesign State";
    if (std::count(fields.begin(), fields.end(), '\t') != 2)
        return fields;
    return fields.substr(fields.rfind('\t') + 1);
}

}

SigningText checkCodesign(const policy_query& query)
{
    switch (query.reserved1) {
    case CODE_SIGN_INVALID:
        return {"Code Signature Invalid", query.reserved1};
    case CODE_SIGN_NOT_VERIFIABLE:
        return {"Code Signature Not Verifiable", query.reserved1};
    case CODE_SIGN_UNSUPPORTED:
        return {"Code Signature Unsupported", query.reserved1};
    case CODE_SIGN_ERROR:
        return {"Code Sign Error", query.reserved1};
    default:
        return {std::string(signerText(textOf(query.reserved2))), query.reserved1};
    }
}

}
