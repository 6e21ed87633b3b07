// The calling thread's status and error handler, and the one way in which failures are reported.
#pragma once

#include "tov.h"

namespace tov {

struct TovContext {
    TovStatus status;
    TovErrorCallback handler;
};

// The calling thread's context, made at its first use; never null.
TovContext* tovGetContext();

// Sets status 0 and the default handler; null is ignored.
void tovInitContext(TovContext* context);

// Stores status (unless it is TOV_STS_BACKTRACE or TOV_STS_AUTOTRACE, which leave the inner failure's) and returns what
// the thread's handler returns; TOV_STS_OK returns 0 without calling it.
TovStatus tovError(TovStatus status, const char* funcName, const char* context, const char* file, int32_t line);

// The handler that threads start with: ends the process with exit code 1.
TovStatus tovDefaultErrorHandler(TovStatus status, const char* funcName, const char* context, const char* file,
                                 int32_t line);

// What the platform calls as the process and its threads come and go. False: no context can be had.
bool attachProcess();
bool attachThread();
void detachProcess();

// A check of arguments as data: whether it fails, and what a failure is reported with.
struct Check {
    Check(bool failing, const char* text, int32_t atLine = __builtin_LINE())
        : fails(failing), context(text), line(atLine) {}

    bool fails;
    const char* context;
    int32_t line;
};

// Reports under the name of an operation and its module; the report's line is that of the call.
struct Reporter {
    const char* funcName;
    const char* file;

    // For sites that end the operation whatever the handler says: `return report(...)`.
    void operator()(TovStatus status, const char* context, int32_t line = __builtin_LINE()) const {
        tovError(status, funcName, context, file, line);
    }

    // For sites that tell the caller of an inner failure, and may go on when the handler returns 0.
    TovStatus backtrace(const char* context = "", int32_t line = __builtin_LINE()) const {
        return tovError(TOV_STS_BACKTRACE, funcName, context, file, line);
    }

    // True when tovCheckImage passes; otherwise the fault is reported.
    bool accepts(TovImage* image, int32_t line = __builtin_LINE()) const;

    // True when all checks pass; otherwise the first that fails is reported as TOV_STS_BAD_ARG.
    template <int32_t N>
    bool passes(const Check (&checks)[N]) const {
        return passes(checks, N);
    }
    bool passes(const Check* checks, int32_t count) const;

    // Reports each of the checks that fails as TOV_STS_BAD_ARG. True when none does.
    template <int32_t N>
    bool all(const Check (&checks)[N]) const {
        bool pass = true;
        for (const Check& check : checks) pass = passes(&check, 1) && pass;
        return pass;
    }
};

} // namespace tov
