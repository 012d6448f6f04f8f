// A malloc'd (or calloc'd) working block, freed on every path.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace radimo {

// Owns count elements of T from malloc (contents uninitialised). A failed
// allocation leaves the block empty; callers test it before use.
template <typename T>
class HeapBlock {
public:
    HeapBlock() = default;
    explicit HeapBlock(std::size_t count) { allocate(count); }
    ~HeapBlock() { std::free(data_); }
    HeapBlock(const HeapBlock &) = delete;
    HeapBlock &operator=(const HeapBlock &) = delete;

    // Replaces the block by a new one of count elements; false on failure.
    bool allocate(std::size_t count) {
        release();
        data_ = static_cast<T *>(std::malloc(count * sizeof(T)));
        return data_ != nullptr;
    }
    // As allocate(), with every byte of the new block zero (calloc).
    bool allocate_zeroed(std::size_t count) {
        release();
        data_ = static_cast<T *>(std::calloc(count, sizeof(T)));
        return data_ != nullptr;
    }
    // Frees the block early (the owner is done with it before the call ends).
    void release() {
        std::free(data_);
        data_ = nullptr;
    }

    explicit operator bool() const { return data_ != nullptr; }
    T *get() const { return data_; }
    T &operator[](std::size_t i) const { return data_[i]; }

private:
    T *data_ = nullptr;
};

}  // namespace radimo
