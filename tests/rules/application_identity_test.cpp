#include "rules/application_identity.h"
#include "rules/policy_rule.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

TEST(ApplicationIdentity, TakesProcessNamesApart)
{
    constexpr const char* none = "(none)";
    const struct {
        const char* processName;
        const char* name;
        const char* group; // with the constraint TEAM
        const char* path;
        const char* parent;
        const char* parentName;
        const char* bundle;
    } rows[] = {
        {"any", "Any Process", "Any Process:Any Process:(null):TEAM", "any", none, none, "any"},
        {"/bin/cat", "cat", "cat:/bin/cat:(null):TEAM", "/bin/cat", none, none, "/bin/cat"},
        {"/bin/cat via /bin/sh", "cat", "cat:/bin/cat:/bin/sh:TEAM", "/bin/cat", "/bin/sh", "sh",
            "/bin/cat"},
        {"/bin/cat via any", "cat", "cat:/bin/cat:any:TEAM", "/bin/cat", "any", "any", "/bin/cat"},
        {"any via any", "Any Process", "Any Process:Any Process:any:TEAM", "any", "any", "any",
            "any"},
        {"any via /bin/sh", "Any Process", "Any Process:Any Process:/bin/sh:TEAM", "any", "/bin/sh",
            "sh", "any"},
        {"any via x/tool", "Any Process via tool", "Any Process via x/tool", "any via x/tool", none,
            none, "any via x/tool"},
        {"any via a via /b", "Any Process via a", "Any Process via a", "any via a", "/b", "b",
            "any via a"},
        {"any ancestor /bin/sh", "Any Process with ancestor sh",
            "Any Process with ancestor /bin/sh", "any ancestor /bin/sh", none, none,
            "any ancestor /bin/sh"},
        {"any ancestor /a via any", "Any Process with ancestor a", "Any Process with ancestor /a",
            "any ancestor /a", "any", "any", "any ancestor /a"},
        // The first " via /" counts, and comes before " via any".
        {"/a via /b via /c", "a", "a:/a:/b via /c:TEAM", "/a", "/b via /c", "c", "/a"},
        {"/a via any via /b/", "a via any", "a via any:/a via any:/b/:TEAM", "/a via any", "/b/",
            "b", "/a via any"},
        {"/a via any via any", "a via any", "a via any:/a via any:any:TEAM", "/a via any", "any",
            "any", "/a via any"},
        {"/x/A.app/B.app/m (-zsh)", "m (-zsh)", "m (-zsh):/x/A.app/B.app/m (-zsh):(null):TEAM",
            "/x/A.app/B.app/m", none, none, "/x/A.app"},
        {"/bin/sh (-l) (-x) via /i", "sh (-l) (-x)", "sh (-l) (-x):/bin/sh (-l) (-x):/i:TEAM",
            "/bin/sh", "/i", "i", "/bin/sh (-l) (-x)"},
        {"/x/A.app", "A.app", "A.app:/x/A.app:(null):TEAM", "/x/A.app", none, none, "/x/A.app"},
        {"Any", "Any", "Any:Any:(null):TEAM", "Any", none, none, "Any"},
        {"/a VIA /b", "b", "b:/a VIA /b:(null):TEAM", "/a VIA /b", none, none, "/a VIA /b"},
        {" via any", "", "::any:TEAM", "", "any", "any", ""},
        {"", "", "::(null):TEAM", "", none, none, ""},
        {"/a/%@/", "%@", "%@:/a/%@/:(null):TEAM", "/a/%@/", none, none, "/a/%@/"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.processName);
        PolicyRule rule;
        rule.setProcessName(row.processName);
        rule.setConstraint("TEAM");
        EXPECT_EQ(applicationNameForRule(rule), row.name);
        EXPECT_EQ(rule.getProcessShortName(), row.name);
        EXPECT_EQ(applicationGroupIdentityForRule(rule), row.group);
        EXPECT_EQ(applicationPathForRule(rule), row.path);
        EXPECT_EQ(applicationParentPathForRule(rule).value_or(none), row.parent);
        EXPECT_EQ(applicationParentNameForRule(rule).value_or(none), row.parentName);
        EXPECT_EQ(applicationBundlePathForRule(rule), row.bundle);
    }
}

}
}
