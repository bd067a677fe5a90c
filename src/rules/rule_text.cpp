#include "rules/rule_text.h"

#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace vossel {

namespace {

void refuseTooLong(std::string_view text)
{
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("text beyond 4 GiB");
}

}

RuleText::RuleText(std::string_view text)
{
    refuseTooLong(text);
    if (!text.empty())
        block_ = filled(::operator new(sizeof(Block) + text.size()), text, true);
}

RuleText::RuleText(Arena& arena, std::string_view text)
{
    refuseTooLong(text);
    if (!text.empty())
        block_ = filled(arena.take(sizeof(Block) + text.size()), text, false);
}

const RuleText::Block* RuleText::filled(void* memory, std::string_view text, bool owned)
{
    auto* block = new (memory) Block{static_cast<std::uint32_t>(text.size()), owned};
    std::memcpy(block + 1, text.data(), text.size());
    return block;
}

void RuleText::release() noexcept
{
    ::operator delete(const_cast<Block*>(block_));
}

}
