// The memory limits: the least that moving an item's bytes can cost.
#include "memory_limits.h"

#include <cstring>

#include "kernel/kernel.h"
#include "scene.h"

namespace bench {

namespace {

template <class T>
OWN_INLINE void oneReadLoop(size_t count, T* d, const T* a) {
    OWN_EACH
    for (size_t i = 0; i < count; i++) d[i] = static_cast<T>(a[i] ^ 0x55);
}

template <class T>
OWN_INLINE void twoReadsLoop(size_t count, T* d, const T* a, const T* b) {
    OWN_EACH
    for (size_t i = 0; i < count; i++) d[i] = static_cast<T>(a[i] ^ b[i]);
}

OWN_KERNEL void oneRead8(size_t n, uint8_t* d, const uint8_t* a) { oneReadLoop(n, d, a); }
OWN_KERNEL void oneRead16(size_t n, uint16_t* d, const uint16_t* a) { oneReadLoop(n, d, a); }
OWN_KERNEL void oneRead32(size_t n, uint32_t* d, const uint32_t* a) { oneReadLoop(n, d, a); }
OWN_KERNEL void twoReads8(size_t n, uint8_t* d, const uint8_t* a, const uint8_t* b) { twoReadsLoop(n, d, a, b); }
OWN_KERNEL void twoReads16(size_t n, uint16_t* d, const uint16_t* a, const uint16_t* b) { twoReadsLoop(n, d, a, b); }
OWN_KERNEL void twoReads32(size_t n, uint32_t* d, const uint32_t* a, const uint32_t* b) { twoReadsLoop(n, d, a, b); }

// The places of one turn.
struct Streams {
    Streams(size_t nBytes, size_t turn)
        : d(placeOf(kDestination, nBytes, turn)),
          a(placeOf(kSourceA, nBytes, turn)),
          b(placeOf(kSourceB, nBytes, turn)) {}
    uint8_t* d;
    const uint8_t* a;
    const uint8_t* b;
};

// The loop over values of type T.
template <class T, class One, class Two>
void runLoop(Traffic traffic, size_t nBytes, const Streams& at, One oneRead, Two twoReads) {
    T* d = reinterpret_cast<T*>(at.d);
    const T* a = reinterpret_cast<const T*>(at.a);
    const T* b = traffic == Traffic::kInPlace ? d : reinterpret_cast<const T*>(at.b);
    if (traffic == Traffic::kOneRead) return oneRead(nBytes / sizeof(T), d, a);
    twoReads(nBytes / sizeof(T), d, a, b);
}

void run(Traffic traffic, size_t nBytes, int32_t bits, const Streams& at) {
    if (traffic == Traffic::kMemcpy) {
        std::memcpy(at.d, at.a, nBytes);
    } else if (traffic == Traffic::kMemset) {
        std::memset(at.d, 0x55, nBytes);
    } else if (bits == 32) {
        runLoop<uint32_t>(traffic, nBytes, at, oneRead32, twoReads32);
    } else if (bits == 16) {
        runLoop<uint16_t>(traffic, nBytes, at, oneRead16, twoReads16);
    } else {
        runLoop<uint8_t>(traffic, nBytes, at, oneRead8, twoReads8);
    }
}

const char* nameOf(Traffic traffic) {
    switch (traffic) {
    case Traffic::kMemcpy: return "memcpy";
    case Traffic::kMemset: return "memset";
    case Traffic::kOneRead: return "loop, 1 read";
    case Traffic::kTwoReads: return "loop, 2 reads";
    case Traffic::kInPlace: return "loop, in place";
    }
    return "";
}

} // namespace

std::string limit(Items& items, Traffic traffic, Size size, int32_t bits, int32_t nChannels) {
    std::string name = std::string(nameOf(traffic)) + ", " + std::to_string(bits) + "-bit";
    if (nChannels != 1) name += " x " + std::to_string(nChannels);
    const double values = pixels(size) * nChannels;
    Item item{name, size, values, "value", {}, Kind::kLimit};
    if (items.find(item.id()) != nullptr) return name;
    const auto nBytes = static_cast<size_t>(values * bits / 8);
    item.prepare = [=]() -> Call {
        return [=, nTurns = turnsOf(size, nBytes), turn = size_t{0}]() mutable {
            run(traffic, nBytes, bits, Streams(nBytes, turn));
            turn = turn + 1 == nTurns ? 0 : turn + 1;
        };
    };
    items.add(std::move(item));
    return name;
}

} // namespace bench
