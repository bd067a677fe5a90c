#pragma once

#include <functional>
#include <type_traits>
#include <utility>

namespace vossel {

// What every control is made of. It owns its state, which can be compared whole, and one observer,
// which it calls after each real change. It must not know who draws it or what a change means. Main
// thread only; the observer may drop the control's owner only if somebody else keeps the control
// alive during the call.
template <class State>
class Control {
public:
    using Observer = std::function<void()>;

    Control() = default;
    explicit Control(State state)
        : state_(std::move(state))
    {
    }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    [[nodiscard]] const State& state() const { return state_; }
    void setObserver(Observer observer) { observer_ = std::move(observer); }

protected:
    ~Control() = default;

    template <class Value>
    void set(Value State::*field, std::type_identity_t<Value> value)
    {
        if (state_.*field == value)
            return;
        state_.*field = std::move(value);
        changed();
    }

    // A derived class edits this and calls changed() when set() would not fit.
    [[nodiscard]] State& editable() { return state_; }
    void changed() const
    {
        if (observer_)
            observer_();
    }

private:
    State state_;
    Observer observer_;
};

}
