// A log of what the library reports, and an allocator that can be made to fail.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tov.h"

namespace tovtest {

struct Report {
    TovStatus status;
    std::string funcName, context, file;
    bool operator==(const Report& other) const;
};
std::ostream& operator<<(std::ostream& out, const Report& report);
using Reports = std::vector<Report>;

// For its lifetime, the calling thread's handler appends to `reports` and returns `answer`. The status is 0 at its
// start and end, and the handler that stood before comes back.
class ReportLog {
public:
    explicit ReportLog(TovStatus answer = 1);
    ~ReportLog();
    ReportLog(const ReportLog&) = delete;
    ReportLog& operator=(const ReportLog&) = delete;

    Reports reports;
    std::function<void()> atReport; // called after each report, if set

private:
    static TovStatus handle(TovStatus status, const char* funcName, const char* context, const char* file,
                            int32_t line);
    TovStatus answer;
    TovErrorCallback before;
};

// For its lifetime, the calling thread's handler clears the status and answers 0: a call that looks at nothing but the
// status takes every refusal for a success. The handler that stood before comes back.
class ForgivingHandler {
public:
    ForgivingHandler();
    ~ForgivingHandler();
    ForgivingHandler(const ForgivingHandler&) = delete;
    ForgivingHandler& operator=(const ForgivingHandler&) = delete;

private:
    TovErrorCallback before;
};

// For its lifetime, counts blocks taken by malloc in the objects linked into the test, and lets the n-th fail. 0: none.
class MallocWatch {
public:
    explicit MallocWatch(int failAt = 0);
    ~MallocWatch();
    MallocWatch(const MallocWatch&) = delete;
    MallocWatch& operator=(const MallocWatch&) = delete;
    int count() const;
};

} // namespace tovtest
