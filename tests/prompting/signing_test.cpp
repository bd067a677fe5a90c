#include "hosts/simulated/simulated_system.h"
#include "prompting/code_signing_inspection.h"
#include "prompting/signing_text.h"
#include "support/queries.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vossel {
namespace {

TEST(SigningText, ShowsTheSignerWhereTheStateLeavesRoom)
{
    const std::tuple<std::int32_t, std::string, std::string> rows[] = {
        {2, "a\tb\tSigner", "Signer"}, {2, "a\tb", "a\tb"}, {2, "a\tb\tc\td", "a\tb\tc\td"},
        {1, "a\tb\tNot signed", "Not signed"}, {7, "a\tb\tc", "c"},
        {2, "a\xff\tb\tSigner", "Unknown Codesign State"}, // one bad field spoils the whole text
        {3, "a\tb\tSigner", "Code Signature Invalid"}, {6, "\xff", "Code Sign Error"}};
    auto query = test::queryFor("/x");
    for (const auto& [state, fields, text] : rows) {
        query.reserved1 = state;
        storeText(query.reserved2, fields);
        EXPECT_EQ(checkCodesign(query), (SigningText{text, state}));
    }
    query.reserved1 = CODE_SIGN_VALID;
    storeText(query.reserved2, "a\tb\t");
    std::memset(query.reserved2 + 4, 's', sizeof query.reserved2 - 4); // behind two tabs, no NUL
    query.reserved2[127] = '\xc3'; // the array's end cuts a character in two
    EXPECT_EQ(checkCodesign(query).text, "Unknown Codesign State");
}

TEST(CodeSigningInspection, TellsTheStateAndWhatTheInformationHolds)
{
    SimulatedCodeSigning signing;
    const std::pair<std::int32_t, std::int32_t> rows[] = {{0, 2}, {-67062, 1}, {-67061, 3},
        {-67045, 3}, {-67060, 4}, {-67059, 5}, {-67058, 6}, {1, 6}};
    for (const auto& [result, state] : rows) {
        signing.code.set({{"/x", {result, std::nullopt}}});
        EXPECT_EQ(getStaticStrictCodeSignState(signing, "/x"), state) << result;
    }
    EXPECT_EQ(signing.lastFlags.get(), 0x40000014U);
    EXPECT_EQ(getStaticStrictCodeSignState(signing, "/missing"), CODE_SIGN_ERROR);

    PropertyList known;
    known.set("identifier", PropertyList(std::string("org.notes")));
    known.set("teamid", PropertyList(std::string("(null)")));
    known.set("platform-identifier", PropertyList(std::string("14")));
    signing.code.set({{"/known", {0, known}}, {"/none", {0, std::nullopt}}});
    EXPECT_EQ(getStaticCodeSignIdentifier(signing, "/known"), "org.notes");
    EXPECT_EQ(getStaticCodeSignTeamIdentifier(signing, "/known"), std::nullopt);
    EXPECT_EQ(getStaticCodeSignPlatformIdentifier(signing, "/known"), 14);
    for (const char* path : {"/none", "/missing"}) {
        EXPECT_EQ(getStaticCodeSignIdentifier(signing, path), std::nullopt) << path;
        EXPECT_EQ(getStaticCodeSignPlatformIdentifier(signing, path), 0) << path;
    }
}

}
}
