#include "foundation/shared_text.h"

#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace vossel {

SharedText::SharedText(std::string_view text)
{
    if (text.empty())
        return;
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("text beyond 4 GiB");
    void* memory = ::operator new(sizeof(Block) + text.size());
    block_ = new (memory) Block{1, static_cast<std::uint32_t>(text.size())};
    std::memcpy(static_cast<char*>(memory) + sizeof(Block), text.data(), text.size());
}

void SharedText::release() noexcept
{
    if (block_->owners.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    block_->~Block();
    ::operator delete(block_);
}

}
