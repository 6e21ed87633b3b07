// Thread contexts: their life from thread start to thread end, the status calls and the reporter.
#include "core/context.h"

#include <cstdlib>

#include "core/image.h"
#include "core/platform.h"

namespace tov {

namespace {

TovContext* makeContext() {
    auto* context = static_cast<TovContext*>(allocateZeroed(sizeof(TovContext)));
    if (context == nullptr) return nullptr;
    tovInitContext(context);
    if (setThreadValue(context)) return context;
    freeZeroed(context);
    return nullptr;
}

} // namespace

void tovInitContext(TovContext* context) {
    if (context == nullptr) return;
    context->status = TOV_STS_OK;
    context->handler = tovDefaultErrorHandler;
}

TovContext* tovGetContext() {
    if (void* value = threadValue()) return static_cast<TovContext*>(value);
    TovContext* context = makeContext();
    if (context == nullptr) fatalExit("Problem to allocate memory for TLS TOV context.");
    return context;
}

bool attachThread() { return makeContext() != nullptr; }

bool attachProcess() { return openThreadSlot(freeZeroed) && attachThread(); }

void detachProcess() {
    void* context = threadValue();
    setThreadValue(nullptr);
    freeZeroed(context);
    closeThreadSlot();
}

TovStatus tovError(TovStatus status, const char* funcName, const char* context, const char* file, int32_t line) {
    TovContext* thread = tovGetContext();
    if (status != TOV_STS_BACKTRACE && status != TOV_STS_AUTOTRACE) {
        thread->status = status;
        if (status == TOV_STS_OK) return TOV_STS_OK;
    }
    return thread->handler(status, funcName, context, file, line);
}

TovStatus tovDefaultErrorHandler(TovStatus, const char*, const char*, const char*, int32_t) { std::exit(1); }

bool Reporter::accepts(TovImage* image, int32_t line) const {
    if (tovCheckImage(image) == TOV_STS_OK) return true;
    tovError(tovGetErrStatus(), funcName, "Incorrect Image", file, line);
    return false;
}

bool Reporter::passes(const Check* checks, int32_t count) const {
    for (int32_t i = 0; i < count; i++) {
        if (!checks[i].fails) continue;
        tovError(TOV_STS_BAD_ARG, funcName, checks[i].context, file, checks[i].line);
        return false;
    }
    return true;
}

} // namespace tov

using tov::tovGetContext;

TovStatus tovGetErrStatus(void) { return tovGetContext()->status; }

void tovSetErrStatus(TovStatus status) { tovGetContext()->status = status; }

TovErrorCallback tovRedirectError(TovErrorCallback handler) {
    tov::TovContext* thread = tovGetContext();
    const TovErrorCallback previous = thread->handler;
    thread->handler = handler != nullptr ? handler : tov::tovDefaultErrorHandler;
    return previous;
}
