// Blocks of memory with an owner.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace tov {

// A block of `size` bytes that begins at a multiple of 32, or null. The allocator's own address is kept in the pointer
// below it.
void* ownAlignedAlloc(size_t size);
// The same for `count` two-byte elements.
void* ownAlignedAllocW(size_t count);
// Null is ignored.
void ownAlignedFree(void* block);

// Owns an aligned block of Ts, which have no constructors to run.
template <class T>
class AlignedBlock {
public:
    AlignedBlock() = default;
    // Check get() for null before use.
    explicit AlignedBlock(size_t count)
        : block_(count <= SIZE_MAX / 2 / sizeof(T) ? static_cast<T*>(ownAlignedAlloc(count * sizeof(T))) : nullptr) {}
    AlignedBlock(AlignedBlock&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    AlignedBlock& operator=(AlignedBlock&& other) noexcept {
        std::swap(block_, other.block_);
        return *this;
    }
    AlignedBlock(const AlignedBlock&) = delete;
    AlignedBlock& operator=(const AlignedBlock&) = delete;
    ~AlignedBlock() { ownAlignedFree(block_); }

    T* get() const { return block_; }
    T& operator[](size_t i) const { return block_[i]; }
    explicit operator bool() const { return block_ != nullptr; }
    T* release() { return std::exchange(block_, nullptr); }

private:
    T* block_ = nullptr;
};

} // namespace tov
