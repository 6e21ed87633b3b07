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

// The key tells when a thread ends. The value itself stands in the thread's own memory, so that threads that are still
// at work while the process ends keep theirs when the slot has been closed.
pthread_key_t slot;
bool slotOpen = false;
void (*releaseValue)(void* value) = nullptr;
thread_local void* ownValue = nullptr;

void endThread(void* value) {
    ownValue = nullptr;
    releaseValue(value);
}

} // namespace

bool openThreadSlot(void (*atThreadEnd)(void* value)) {
    releaseValue = atThreadEnd;
    slotOpen = pthread_key_create(&slot, endThread) == 0;
    return slotOpen;
}

void closeThreadSlot() {
    if (slotOpen) pthread_key_delete(slot);
    slotOpen = false;
}

void* threadValue() { return ownValue; }

bool setThreadValue(void* value) {
    if (!slotOpen || pthread_setspecific(slot, value) != 0) return false;
    ownValue = value;
    return true;
}

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
