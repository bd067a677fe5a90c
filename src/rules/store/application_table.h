#pragma once

#include "rules/marked_slots.h"
#include "rules/rule_statement.h"
#include "rules/store/stable_list.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vossel {

// An application of the files that are being read, and what becomes of its rules.
struct LoadedApplication : Application {
    std::size_t waiting = 0; // rules that have been read and are not in the store yet
    std::size_t bucket = 0; // the place of its group while they move there
};

// Finds the applications of the files that are being read by process name and constraint. Owns
// their entries, which stay where they are; the texts lie in an arena of the caller's. One thread.
class ApplicationTable {
public:
    // What is looked for. The texts outlive it.
    struct Wanted {
        std::string_view processName;
        std::string_view constraint;
        std::uint64_t hash = 0; // applicationHash of both
        std::uint32_t likely = MarkedSlots::none; // its place, if it is known
    };
    // Added where it is missing, with its texts in the arena.
    [[nodiscard]] LoadedApplication& find(const Wanted& wanted, Arena& arena);

    // Ask for what find will read, in three steps: each reads what the one before asked for.
    void expectSlot(const Wanted& wanted) const { slots_.expect(wanted.hash); }
    void expectApplication(Wanted& wanted) const;
    void expectName(const Wanted& wanted) const;

    void clear();

    [[nodiscard]] std::size_t size() const { return applications_.size(); }
    [[nodiscard]] LoadedApplication& operator[](std::size_t place) const
    {
        return applications_[place];
    }

private:
    [[nodiscard]] static bool isMeant(const LoadedApplication& application, const Wanted& wanted)
    {
        return application.processName.view() == wanted.processName
            && application.constraint.view() == wanted.constraint;
    }

    MarkedSlots slots_;
    StableList<LoadedApplication, 256> applications_;
};

}
