#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace vossel {

// A list that owns its items and grows at its end without moving them, in pieces of `pieceSize` (a
// power of two). One thread.
template <class T, std::size_t pieceSize>
class StableList {
public:
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] T& operator[](std::size_t place) const
    {
        return (*pieces_[place / pieceSize])[place % pieceSize];
    }

    T& append(T item)
    {
        if (size_ == pieces_.size() * pieceSize)
            pieces_.push_back(std::make_unique_for_overwrite<Piece>());
        auto& place = (*this)[size_++];
        place = std::move(item);
        return place;
    }
    void clear()
    {
        pieces_.clear();
        size_ = 0;
    }

private:
    using Piece = std::array<T, pieceSize>;

    std::vector<std::unique_ptr<Piece>> pieces_;
    std::size_t size_ = 0;
};

}
