#include "hosts/simulated/simulated_system.h"
#include "prompting/code_signing_inspection.h"
#include "prompting/signing_text.h"
#include "support/queries.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

TEST(SigningText, ShowsTheSignerWhereTheStateLeavesRoom)
{
    struct Row {
        std::int32_t state;
        std::string_view fields, text;
    };
    const Row rows[] = {
        {2, "a\tb\tSigner", "Signer"},
        {2, "no tabs", "no tabs"},
        {2, "a\tb", "a\tb"},
        {2, "a\tb\tc\td", "a\tb\tc\td"},
        {1, "a\tb\tNot signed", "Not signed"},
        {7, "a\tb\tc", "c"},
        {2, "a\xff\tb\tSigner", "Unknown Codesign State"}, // one bad field spoils the whole text
        {1, "\xed\xa0\x80", "Unknown Codesign State"}, // a surrogate
        {3, "a\tb\tSigner", "Code Signature Invalid"},
        {6, "\xff", "Code Sign Error"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fields);
        auto query = test::queryFor("/x");
        query.reserved1 = row.state;
        storeText(query.reserved2, row.fields);
        EXPECT_EQ(checkCodesign(query), (SigningText{std::string(row.text), row.state}));
    }
    auto query = test::queryFor("/x");
    test::fillArray(query.reserved2, 's', "a\tb\t");
    EXPECT_EQ(checkCodesign(query).text, std::string(124, 's'));
    query.reserved2[127] = '\xc3'; // the array's end cuts a character in two
    EXPECT_EQ(checkCodesign(query).text, "Unknown Codesign State");
}

TEST(CodeSigningInspection, MapsEachResultToItsState)
{
    SimulatedCodeSigning signing;
    EXPECT_EQ(getStaticStrictCodeSignState(signing, "/missing"), CODE_SIGN_ERROR);
    const std::pair<std::int32_t, std::int32_t> rows[] = {{0, 2}, {-67062, 1}, {-67061, 3},
        {-67045, 3}, {-67060, 4}, {-67059, 5}, {-67058, 6}, {1, 6}};
    for (const auto& [result, state] : rows) {
        SCOPED_TRACE(result);
        signing.code.set({{"/x", {result, std::nullopt}}});
        EXPECT_EQ(getStaticStrictCodeSignState(signing, "/x"), state);
    }
    EXPECT_EQ(signing.lastFlags.get(), 0x40000014U);
}

TEST(CodeSigningInspection, TellsOnlyWhatTheInformationHolds)
{
    SimulatedCodeSigning signing;
    PropertyList full;
    full.set("identifier", PropertyList(std::string("org.notes")));
    full.set("teamid", PropertyList(std::string("(null)")));
    full.set("platform-identifier", PropertyList(std::int64_t{9}));
    PropertyList wrong; // kinds that nobody expects
    wrong.set("identifier", PropertyList(std::int64_t{1}));
    wrong.set("platform-identifier", PropertyList(std::string("14")));
    signing.code.set({{"/full", {0, full}}, {"/wrong", {0, wrong}}, {"/none", {0, std::nullopt}}});

    EXPECT_EQ(getStaticCodeSignIdentifier(signing, "/full"), "org.notes");
    EXPECT_EQ(getStaticCodeSignTeamIdentifier(signing, "/full"), std::nullopt);
    EXPECT_EQ(getStaticCodeSignPlatformIdentifier(signing, "/full"), 9);
    EXPECT_EQ(getStaticCodeSignPlatformIdentifier(signing, "/wrong"), 14);
    for (const auto* path : {"/wrong", "/none", "/missing"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(getStaticCodeSignIdentifier(signing, path), std::nullopt);
    }
    EXPECT_EQ(getStaticCodeSignPlatformIdentifier(signing, "/none"), 0);
    EXPECT_EQ(getStaticCodeSignPlatformIdentifier(signing, "/missing"), 0);
}

}
}
