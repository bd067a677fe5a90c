#pragma once

#include <functional>
#include <optional>
#include <string>

namespace vossel {

// Where the person at the machine is asked for what must not be kept: a password, a code. The
// front end that shows the prompts shows the question, too. Main thread only; one question at a
// time. No operation calls `answer` before it has returned.
class PersonQuestion {
public:
    // Called once, with nothing when the person would not say. Who takes the answer wipes it; who
    // made another copy wipes that.
    using Answer = std::function<void(std::optional<std::string>)>;

    virtual ~PersonQuestion() = default;

    // Returns at once; `answer` is called later, on the main thread, and does nothing once the
    // question was withdrawn. `echo`: what is typed may be seen. Texts are UTF-8 and may hold
    // control characters.
    virtual void ask(const std::string& text, bool echo, Answer answer) = 0;
    // Something to know, good or bad, that wants no answer.
    virtual void tell(const std::string& text) = 0;
    // The question that stands is over: no answer is wanted any more.
    virtual void withdraw() = 0;
};

}
