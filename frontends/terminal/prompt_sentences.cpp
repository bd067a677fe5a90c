#include "frontends/terminal/prompt_sentences.h"

#include "ui/prompt/prompt_words.h"

namespace vossel {

std::string outcomeSentence(const user_prompt_response& response, QueryWait::Outcome outcome)
{
    switch (outcome) {
    case QueryWait::Outcome::Waiting:
        return {};
    case QueryWait::Outcome::TimedOut:
        return "not answered in time, denied";
    case QueryWait::Outcome::Cancelled:
        return "withdrawn";
    case QueryWait::Outcome::Reevaluated:
        return "left to the rules";
    case QueryWait::Outcome::Answered:
        break;
    }
    std::string text = response.decision == DECISION_ALLOW ? "allowed" : "denied";
    const std::string duration = durationPhrase(response.duration);
    return duration.empty() ? text : text + ", " + duration;
}

std::string durationPhrase(std::int32_t code)
{
    std::string phrase(durationTitle(code));
    if (!phrase.empty())
        phrase.front() = static_cast<char>(phrase.front() | 0x20); // an ASCII letter
    return phrase;
}

const char* refusedKeySentence(const TerminalKey& key, const KeyBinding& binding, bool touchBarOnly)
{
    if (binding.decides && touchBarOnly)
        return "No key answers this prompt; it is denied when its time is over.";
    if (key.kind == TerminalKey::Kind::Return)
        return "Return alone answers nothing: Alt-Return or a capital A allows, Escape denies.";
    if (key.kind == TerminalKey::Kind::Pasted)
        return "What is pasted is not taken for keys.";
    return "This key means nothing here; ? shows those that do.";
}

}
