#pragma once

#include <string>
#include <utility>
#include <variant>

namespace vossel {

// Why something failed: one sentence that names the thing and the reason.
struct Failure {
    std::string reason;
};

// A value, or the reason why there is none.
template <class T>
class [[nodiscard]] Result {
public:
    // Implicit on purpose: `return value;` and `return Failure{...};` both read well.
    Result(T value) // NOLINT(google-explicit-constructor)
        : state_(std::in_place_index<0>, std::move(value))
    {
    }
    Result(Failure failure) // NOLINT(google-explicit-constructor)
        : state_(std::in_place_index<1>, std::move(failure))
    {
    }

    [[nodiscard]] explicit operator bool() const { return state_.index() == 0; }
    [[nodiscard]] const T& operator*() const& { return std::get<0>(state_); }
    [[nodiscard]] T& operator*() & { return std::get<0>(state_); }
    [[nodiscard]] T&& operator*() && { return std::get<0>(std::move(state_)); }
    [[nodiscard]] const T* operator->() const { return &std::get<0>(state_); }
    [[nodiscard]] T* operator->() { return &std::get<0>(state_); }
    [[nodiscard]] const std::string& reason() const { return std::get<1>(state_).reason; }

private:
    std::variant<T, Failure> state_;
};

}
