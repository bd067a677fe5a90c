#include "ui/prompt/operations_title.h"

#include "wire/driver_messages.h"

#include <array>
#include <cstddef>

namespace vossel {

namespace {

struct Row {
    std::string_view title;
    std::int32_t operations;
};

constexpr std::array<Row, 5> cycle{{
    {"Read-Write", OPERATION_READ | OPERATION_WRITE | OPERATION_CREATE},
    {readOnlyTitle, OPERATION_READ},
    {"Create Only", OPERATION_CREATE},
    {"Mount", OPERATION_MOUNT},
    {"Execute", OPERATION_EXECUTE},
}};

std::size_t rowOf(std::string_view title)
{
    for (std::size_t row = 0; row < cycle.size(); ++row) {
        if (cycle[row].title == title)
            return row;
    }
    return 0;
}

}

std::string_view operationsTitle(std::int32_t operation)
{
    const bool ownTitle = operation == OPERATION_MOUNT || operation == OPERATION_EXECUTE;
    for (const Row& row : cycle) {
        if (ownTitle && row.operations == operation)
            return row.title;
    }
    return cycle.front().title;
}

std::string_view nextOperationsTitle(std::string_view title)
{
    return cycle[(rowOf(title) + 1) % cycle.size()].title;
}

std::int32_t operationsOfTitle(std::string_view title)
{
    return cycle[rowOf(title)].operations;
}

}
