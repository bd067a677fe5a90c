#pragma once

#include "rules/marked_slots.h"
#include "rules/rule_text.h"
#include "rules/stable_list.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vossel {

// Process name and constraint of rules in the files that are being read, held once for all of them.
struct Application {
    RuleText processName;
    RuleText constraint;
    std::size_t waiting = 0; // rules that have been read and are not taken yet
    std::size_t bucket = 0; // the place of its group while they are taken
};

// Finds applications by both texts. They stay where they are. One thread.
class ApplicationTable {
public:
    // One that is looked for. The texts outlive it.
    struct Wanted {
        std::string_view processName;
        std::string_view constraint;
        std::uint64_t hash = 0; // applicationHash of both
        std::uint32_t likely = MarkedSlots::none; // its place, if it is known
    };
    // Known from now on; its texts lie in the arena.
    [[nodiscard]] Application& find(const Wanted& wanted, Arena& arena);

    // What find will read, in three steps, each of which reads what the one before asked for.
    void expectSlot(const Wanted& wanted) const { slots_.expect(wanted.hash); }
    void expectApplication(Wanted& wanted) const;
    void expectName(const Wanted& wanted) const;

    void clear();

    // All of them.
    [[nodiscard]] std::size_t size() const { return applications_.size(); }
    [[nodiscard]] Application& operator[](std::size_t place) const { return applications_[place]; }

private:
    [[nodiscard]] static bool isMeant(const Application& application, const Wanted& wanted)
    {
        return application.processName.view() == wanted.processName
            && application.constraint.view() == wanted.constraint;
    }

    MarkedSlots slots_;
    StableList<Application, 256> applications_;
};

}
