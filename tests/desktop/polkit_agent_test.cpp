#include "desktop/system_bus.h"
#include "hosts/desktop/polkit_authenticator.h"
#include "hosts/desktop/polkit_authority.h"
#include "hosts/linux/accounts.h"
#include "platform/person_question.h"

#include <QTimer>
#include <gmock/gmock.h>

#include <signal.h>

#include <deque>

namespace vossel::test {
namespace {

using testing::ElementsAre;
using Texts = std::vector<std::string>;

const std::string asks = "echo 'PAM_PROMPT_ECHO_OFF Password: '\n";
const std::string takes
    = asks + "read -r it; [ \"$it\" = right ] && echo SUCCESS || echo FAILURE\n";

const PolkitSubject group{QStringLiteral("unix-group"), {{QStringLiteral("gid"), 0U}}};

PolkitSubject user(uint id)
{
    return {QStringLiteral("unix-user"), {{QStringLiteral("uid"), id}}};
}

// Plays polkit, and a person at its question. What they see is written down in words.
class PolkitAgentTest : public SystemBusTest, private PersonQuestion {
protected:
    // What no helper must inherit.
    static void SetUpTestSuite()
    {
        sigset_t blocked;
        ::sigemptyset(&blocked);
        ::sigaddset(&blocked, SIGHUP);
        ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
        ::dup2(STDERR_FILENO, 200);
    }
    void writeHelper(const std::string& script)
    {
        ASSERT_TRUE(writeFile(directory_ / "helper",
            "#!/bin/sh\nread -r cookie; echo $$ >'" + directory_ / "pid" + "'\n"
                + "while read -r key mask && [ $key != SigBlk: ]; do :; done </proc/self/status\n"
                  "[ $cookie$DBUS_SYSTEM_BUS_ADDRESS$mask = cookie0000000000000000 ] || exit 1\n"
                  "[ ! -e /proc/$$/fd/200 ] || exit 1\n"
                + script,
            0755));
    }
    // What happens at each question: one of the acts of act(), or what is typed.
    bool obtain(std::deque<std::string> acts)
    {
        acts_ = std::move(acts);
        bool right = false;
        QTimer::singleShot(0, [&] {
            right = authenticator_.obtainAdministratorRight();
            QCoreApplication::quit();
        });
        QCoreApplication::exec();
        if (auto late = std::exchange(answer_, {}))
            late("right");
        return right;
    }
    void playPolkit()
    {
        authenticator_.setQuestion(this);
        offer("org.freedesktop.PolicyKit1", [this](const QDBusMessage& call) {
            const bool registers = call.member().startsWith(u"Register");
            if (call.member() == QStringLiteral("CheckAuthorization")) {
                call.arguments().value(0).value<QDBusArgument>() >> checked_;
                agent_.service().isEmpty() ? decide(call, true) : authenticate(call);
            } else if (registers && !takesAgents_) {
                send(call.createErrorReply(QDBusError::Failed, QStringLiteral("no")));
            } else {
                agent_ = registers ? call : QDBusMessage();
                reply(call);
            }
        });
    }

    const TemporaryDirectory directory_;
    const std::string name_ = LinuxAccounts().loginName();
    const std::string me_ = "Password of " + name_ + " (administrator)";
    PolkitAuthenticator authenticator_{[] { return true; }, directory_ / "helper"};
    bool takesAgents_ = true;
    QList<PolkitSubject> identities_{user(::getuid())};
    PolkitSubject checked_;
    Texts seen_;

private:
    static void decide(const QDBusMessage& check, bool right)
    {
        QDBusArgument result;
        result.beginStructure();
        result << right << !right << QMap<QString, QString>();
        result.endStructure();
        reply(check, {QVariant::fromValue(result)});
    }
    std::string callAgent(const char* caller, const char* method, const QVariantList& arguments)
    {
        auto call = QDBusMessage::createMethodCall(agent_.service(),
            agent_.arguments().value(2).toString(),
            QStringLiteral("org.freedesktop.PolicyKit1.AuthenticationAgent"), QString(method));
        call.setArguments(arguments);
        const auto outcome = callServing(join(caller), call, ChildProcess::patience);
        return outcome.type() == QDBusMessage::ReplyMessage
            ? "proved"
            : outcome.errorName().section(u'.', -1).toStdString();
    }
    void authenticate(const QDBusMessage& check)
    {
        const QString none;
        QDBusArgument identities;
        identities << identities_;
        seen_.push_back(callAgent("service", "BeginAuthentication",
            {none, none, none, check.arguments().value(2), QStringLiteral("cookie"),
                QVariant::fromValue(identities)}));
        decide(check, seen_.back() == "proved");
    }
    void act(const std::string& what, const Answer& answer)
    {
        if (what == "stranger cancels" || what == "polkit cancels") {
            const char* const caller = what == "polkit cancels" ? "service" : "stranger";
            const auto outcome
                = callAgent(caller, "CancelAuthentication", {QStringLiteral("cookie")});
            answer(outcome == "AccessDenied" ? "right" : "wrong");
        } else if (what == "program cancels") {
            authenticator_.cancel();
            const auto pid = readFile(directory_ / "pid", 100);
            seen_.emplace_back(::kill(std::stoi(*pid), 0) == 0 ? "helper lives" : "helper gone");
        } else if (what == "program asks anew") {
            seen_.emplace_back(authenticator_.obtainAdministratorRight() ? "right" : "no right");
        } else if (what == "program quits") {
            QCoreApplication::quit();
        } else {
            answer(what == "cancel" ? std::nullopt : std::optional(what));
        }
    }
    void ask(const std::string& text, bool echo, Answer answer) override
    {
        seen_.push_back((echo ? "shown: " : "") + text);
        answer_ = answer;
        if (acts_.empty())
            return;
        QTimer::singleShot(0, [this, what = acts_.front(), answer] { act(what, answer); });
        acts_.pop_front();
    }
    void tell(const std::string& text) override { seen_.push_back("told: " + text); }
    void withdraw() override { seen_.emplace_back("withdrawn"); }

    QDBusMessage agent_; // how it registered
    std::deque<std::string> acts_;
    Answer answer_; // to the last question
};

TEST_F(PolkitAgentTest, AsksWhatTheHelperAsksAndTellsPolkitHowItEnded)
{
    const std::string wrong = "told: Authentication failed.";
    const struct {
        std::string helper;
        std::deque<std::string> acts;
        Texts seen;
        QList<PolkitSubject> identities{group, user(65534), user(::getuid())};
    } stories[] = {
        {takes, {"right"}, {me_, "proved"}},
        {takes, {"wrong", "right\nmore"}, {me_, wrong, me_, "proved"}},
        {takes, {"a", "b", "c", "right"}, {me_, wrong, me_, wrong, me_, wrong, "Failed"}},
        {takes, {"cancel"}, {me_, "Cancelled"}},
        {takes, {"polkit cancels"}, {me_, "withdrawn", "Cancelled"}},
        {takes, {"stranger cancels"}, {me_, "proved"}},
        {takes, {"program cancels"}, {me_, "withdrawn", "helper gone", "Cancelled"}},
        {takes, {"program asks anew", "right"},
            {me_, "withdrawn", me_, "proved", "right", "Cancelled"}},
        {takes, {"right"}, {"Password of nobody (administrator)", "proved"},
            {group, user(4'000'000'000), user(65534)}},
        {takes, {}, {"Failed"}, {group, user(4'000'000'000)}},
        {takes, {}, {"Failed"}, {}},
        {"echo FAILURE\n", {}, {wrong, "Failed"}},
        {asks + "kill -9 $$\n", {}, {me_, "withdrawn", "Failed"}},
        {asks + "echo hello; read -r it\n", {}, {me_, "withdrawn", "Failed"}},
        {"head -c 9000 /dev/zero; read -r it\n", {}, {"Failed"}},
        {R"(cat <<END
PAM_TEXT_INFO \\t\\"quote\\" back\\\\slash \\303\\244 \\777\\89\\
PAM_PROMPT_ECHO_ON Code of $1:
SUCCESS
)",
            {},
            {"told: \t\"quote\" back\\slash \u00e4 \uFFFD89\\",
                "shown: " + name_ + " (administrator): Code of " + name_ + ":", "withdrawn",
                "proved"}},
        {takes, {"program quits"}, {me_, "", "withdrawn"}},
    };
    playPolkit();
    for (const auto& [helper, acts, seen, identities] : stories) {
        SCOPED_TRACE(helper + testing::PrintToString(acts));
        seen_.clear();
        identities_ = identities;
        writeHelper(helper);
        EXPECT_EQ(obtain(acts), seen.back() == "proved");
        EXPECT_EQ(seen_, seen);
    }
    ::unlink((directory_ / "helper").c_str());
    EXPECT_FALSE(obtain({}));
    EXPECT_THAT(seen_, ElementsAre(me_, "", "withdrawn", "Failed"));
}

TEST_F(PolkitAgentTest, IsThereWhilePolkitChecksThisProcess)
{
    playPolkit();
    writeHelper(takes);
    EXPECT_TRUE(obtain({"right"}));
    takesAgents_ = false;
    EXPECT_TRUE(obtain({})); // polkit finds somebody else to ask
    authenticator_.setQuestion(nullptr);
    EXPECT_TRUE(obtain({}));
    EXPECT_THAT(calls_,
        ElementsAre("RegisterAuthenticationAgent", "CheckAuthorization",
            "UnregisterAuthenticationAgent", "RegisterAuthenticationAgent",
            "UnregisterAuthenticationAgent", "CheckAuthorization", "CheckAuthorization"));
    EXPECT_GT(checked_.details[QStringLiteral("start-time")].toULongLong(), 0U);
}

}
}
