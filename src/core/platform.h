// What the library needs of the platform beyond the C runtime; one source file per platform implements it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tov {

// One slot per process with a value per thread that starts null. When a thread ends and its value isn't null,
// atThreadEnd receives it. False when the platform has no slot left. Threads at work while the slot is closed keep what
// they have.
bool openThreadSlot(void (*atThreadEnd)(void* value));
void closeThreadSlot();
void* threadValue();
bool setThreadValue(void* value);

// A zero-filled block, or null.
void* allocateZeroed(size_t size);
void freeZeroed(void* block);

// Ends the process with a text for the person in front of it.
[[noreturn]] void fatalExit(const char* text);

// While one stands, floating-point arithmetic of the thread rounds toward zero; then the mode found is back.
class RoundTowardZero {
public:
    RoundTowardZero();
    ~RoundTowardZero();
    RoundTowardZero(const RoundTowardZero&) = delete;
    RoundTowardZero& operator=(const RoundTowardZero&) = delete;

private:
    int32_t found_;
};

} // namespace tov
