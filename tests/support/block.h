// Storage that ends, or begins, at a protected page, with guard bytes on its other side.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tovtest {

enum class Fence { end, begin };
enum class Access { none, read, write };

class Block {
public:
    Block(std::size_t size, Fence fence);
    Block(Block&& other) noexcept;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block();

    uint8_t* data() const { return bytes; }
    std::size_t size() const { return count; }
    bool guardIntact() const;
    // What the process may do with the block's pages; write at first.
    void allow(Access access) const;

private:
    uint8_t* guard() const;

    uint8_t* pages;
    std::size_t pageBytes;
    uint8_t* bytes;
    std::size_t count;
    std::size_t guardSize;
};

} // namespace tovtest
