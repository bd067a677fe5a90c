#pragma once

#include "wire/driver_messages.h"

#include <string_view>

namespace vossel::test {

[[nodiscard]] inline policy_query queryFor(std::string_view path,
    std::int32_t operation = OPERATION_READ, std::string_view program = "/opt/Notes",
    std::string_view parent = {})
{
    policy_query query{};
    query.pid = 100;
    query.operation = operation;
    storeText(query.path, path);
    storeText(query.process_name, program);
    storeText(query.parent_name, parent);
    return query;
}

}
