// A small seeded generator, so that a case is made from its number alone on every machine.
#pragma once

#include <cstdint>
#include <initializer_list>

namespace tovtest {

class Rng {
public:
    explicit Rng(uint64_t seed) : state(seed) {}

    uint64_t next() {
        uint64_t z = (state += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    // A number from low to high, both included.
    int32_t between(int32_t low, int32_t high) {
        return low + static_cast<int32_t>(next() % static_cast<uint64_t>(int64_t{high} - low + 1));
    }
    bool oneIn(int32_t n) { return between(1, n) == 1; }
    template <typename T>
    T pick(std::initializer_list<T> values) {
        return values.begin()[between(0, static_cast<int32_t>(values.size()) - 1)];
    }

private:
    uint64_t state;
};

} // namespace tovtest
