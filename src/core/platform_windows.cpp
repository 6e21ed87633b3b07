// The platform layer over the Windows calls.
#include <windows.h>

#include <cfloat>

#include "core/context.h"
#include "core/platform.h"

namespace tov {

namespace {

DWORD slot = TLS_OUT_OF_INDEXES;
void (*releaseValue)(void* value) = nullptr;

} // namespace

bool openThreadSlot(void (*atThreadEnd)(void* value)) {
    slot = TlsAlloc();
    releaseValue = atThreadEnd;
    return slot != TLS_OUT_OF_INDEXES;
}

void closeThreadSlot() {
    if (slot != TLS_OUT_OF_INDEXES) TlsFree(slot);
    slot = TLS_OUT_OF_INDEXES;
}

void* threadValue() { return slot != TLS_OUT_OF_INDEXES ? TlsGetValue(slot) : nullptr; }

bool setThreadValue(void* value) { return slot != TLS_OUT_OF_INDEXES && TlsSetValue(slot, value) != 0; }

void* allocateZeroed(size_t size) { return LocalAlloc(LMEM_ZEROINIT, size); }

void freeZeroed(void* block) { LocalFree(block); }

void fatalExit(const char* text) {
    FatalAppExitA(0, text);
    ExitProcess(1);
}

RoundTowardZero::RoundTowardZero() : found_(0) {
    unsigned int found = 0;
    unsigned int ignored = 0;
    _controlfp_s(&found, 0, 0);
    _controlfp_s(&ignored, _RC_CHOP, _MCW_RC);
    found_ = static_cast<int32_t>(found);
}

RoundTowardZero::~RoundTowardZero() {
    unsigned int ignored = 0;
    _controlfp_s(&ignored, static_cast<unsigned int>(found_), _MCW_RC);
}

} // namespace tov

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    switch (reason) {
    case DLL_PROCESS_ATTACH: return tov::attachProcess() ? TRUE : FALSE;
    case DLL_THREAD_ATTACH: return tov::attachThread() ? TRUE : FALSE;
    case DLL_THREAD_DETACH:
        if (void* value = tov::threadValue()) tov::releaseValue(value);
        return TRUE;
    case DLL_PROCESS_DETACH: tov::detachProcess(); return TRUE;
    default: return TRUE;
    }
}
