#include "qt/window_fixture.h"

#include <gtest/gtest.h>

namespace vossel::test {
namespace {

policy_query ordinary()
{
    policy_query query = makeQuery("/home/ann/Documents/taxes/2026/return.pdf");
    query.ppid = 4200;
    storeText(query.process_name, "/usr/lib/firefox-esr/firefox-esr");
    storeText(query.parent_name, "/usr/bin/gnome-shell");
    storeText(query.cs_info.teamid, "Debian");
    storeText(query.reserved2, "a\tb\tDebian Mozilla Maintainers");
    return query;
}

policy_query dangerous()
{
    policy_query query = ordinary();
    query.reserved1 = CODE_SIGN_UNSIGNED;
    storeText(query.reserved2, "");
    storeText(query.process_name, "/home/ann/Downloads/setup.bin");
    storeText(query.path, "/private/var/db/lockdown/x.plist");
    return query;
}

policy_query hostile()
{
    policy_query query = ordinary();
    std::string path = "/home/ann/<b>Allow</b>\n\xff\u202egnp.exe/אבג/";
    while (path.size() < 1000)
        path += "very long name ";
    storeText(query.path, path);
    storeText(query.process_name, path);
    storeText(query.parent_name, path);
    storeText(query.reserved2,
        "a\tb\t<h1>Trusted</h1>\r\n\u202eevil and a text that goes on and on, "
        "as far as there is room for it in the record");
    return query;
}

struct State {
    const char* name;
    policy_query query;
    bool simple;
    bool touchBar;
};

TEST(PromptPicturesTest, ShowEveryState)
{
    const State states[] = {
        {"advanced", ordinary(), false, false},
        {"advanced-dangerous", dangerous(), false, false},
        {"advanced-hostile", hostile(), false, false},
        {"advanced-touch-bar", ordinary(), false, true},
        {"simple", ordinary(), true, false},
        {"simple-dangerous", dangerous(), true, false},
        {"simple-hostile", hostile(), true, false},
        {"simple-touch-bar", ordinary(), true, true},
    };
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark}) {
        for (const State& state : states) {
            WindowFixture agent;
            agent.writePreferences({{"access.user.detail", state.simple ? 0 : 2},
                {"ui.prompts.oob", state.touchBar ? 1 : 0}});
            agent.prompts.setColorScheme(scheme);
            PromptDialog& window = agent.present(state.query);
            const std::string name
                = state.name + std::string(scheme == ColorScheme::Dark ? "-dark" : "");
            const QPixmap picture = window.grab();
            EXPECT_TRUE(picture.save(QString::fromStdString(pictureFile(name))));
            EXPECT_LE(window.width(), 1024) << name;
            EXPECT_LE(window.height(), 768) << name;
            for (const char* button : {"deny", "allow"}) {
                const auto* shown = window.findChild<QWidget*>(button);
                EXPECT_EQ(shown->isVisible(), !state.touchBar) << name;
                EXPECT_TRUE(!shown->isVisible() || window.rect().contains(shown->geometry()))
                    << name;
            }
        }
    }
}

}
}
