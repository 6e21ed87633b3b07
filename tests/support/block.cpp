// Fenced storage: pages between two protected ones, kept for reuse since mapping is slow.
#include "support/block.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

namespace tovtest {
namespace {

std::map<std::size_t, std::vector<uint8_t*>>& freePages() {
    static auto* pool = new std::map<std::size_t, std::vector<uint8_t*>>;
    return *pool;
}

std::size_t pageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

void protect(uint8_t* pages, std::size_t size, int mode) {
    if (mprotect(pages, size, mode) != 0) {
        std::perror("mprotect");
        std::abort();
    }
}

uint8_t* takePages(std::size_t size) {
    auto& free = freePages()[size];
    if (!free.empty()) {
        uint8_t* pages = free.back();
        free.pop_back();
        return pages;
    }
    void* region = mmap(nullptr, size + 2 * pageSize(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (region == MAP_FAILED) {
        std::perror("mmap");
        std::abort();
    }
    uint8_t* pages = static_cast<uint8_t*>(region) + pageSize();
    protect(pages, size, PROT_READ | PROT_WRITE);
    return pages;
}

uint8_t guardByte(std::size_t index) { return static_cast<uint8_t>(0xA5 ^ (index * 29)); }

} // namespace

Block::Block(std::size_t size, Fence fence) : count(size) {
    pageBytes = std::max<std::size_t>(1, (size + pageSize() - 1) / pageSize()) * pageSize();
    pages = takePages(pageBytes);
    bytes = fence == Fence::end ? pages + pageBytes - size : pages;
    guardSize = std::min<std::size_t>(64, pageBytes - size);
    for (std::size_t i = 0; i < guardSize; ++i) guard()[i] = guardByte(i);
}

Block::Block(Block&& other) noexcept
    : pages(other.pages),
      pageBytes(other.pageBytes),
      bytes(other.bytes),
      count(other.count),
      guardSize(other.guardSize) {
    other.pages = nullptr;
}

Block::~Block() {
    if (pages) freePages()[pageBytes].push_back(pages);
}

uint8_t* Block::guard() const { return bytes == pages ? bytes + count : bytes - guardSize; }

bool Block::guardIntact() const {
    for (std::size_t i = 0; i < guardSize; ++i) {
        if (guard()[i] != guardByte(i)) return false;
    }
    return true;
}

void Block::allow(Access access) const {
    protect(pages, pageBytes,
            access == Access::none   ? PROT_NONE
            : access == Access::read ? PROT_READ
                                     : PROT_READ | PROT_WRITE);
}

} // namespace tovtest
