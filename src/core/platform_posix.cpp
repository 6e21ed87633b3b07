// The platform layer over POSIX threads.
#include <pthread.h>
#include <unistd.h>

#include <cfenv>
#include <cstdio>
#include <cstdlib>

#include "core/context.h"
#include "core/platform.h"

namespace tov {

namespace {

pthread_key_t slot;
bool slotOpen = false;

} // namespace

bool openThreadSlot(void (*atThreadEnd)(void* value)) {
    slotOpen = pthread_key_create(&slot, atThreadEnd) == 0;
    return slotOpen;
}

void closeThreadSlot() {
    if (slotOpen) pthread_key_delete(slot);
    slotOpen = false;
}

void* threadValue() { return slotOpen ? pthread_getspecific(slot) : nullptr; }

bool setThreadValue(void* value) { return slotOpen && pthread_setspecific(slot, value) == 0; }

void* allocateZeroed(size_t size) { return std::calloc(1, size); }

void freeZeroed(void* block) { std::free(block); }

void fatalExit(const char* text) {
    dprintf(STDERR_FILENO, "%s\n", text);
    std::abort();
}

RoundTowardZero::RoundTowardZero() : found_(std::fegetround()) { std::fesetround(FE_TOWARDZERO); }

RoundTowardZero::~RoundTowardZero() { std::fesetround(found_); }

namespace {

// A constructor can't refuse to load the library as a Windows entry can; without a slot the first call ends the
// process.
__attribute__((constructor)) void atLoad() { attachProcess(); }

__attribute__((destructor)) void atUnload() { detachProcess(); }

} // namespace

} // namespace tov
