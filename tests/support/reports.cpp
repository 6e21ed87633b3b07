// The report log and the allocator that can fail.
#include "support/reports.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

thread_local tovtest::ReportLog* current = nullptr;
int mallocCount = 0;
int mallocFailAt = 0;
bool mallocWatched = false;

} // namespace

// The test executables are linked with -Wl,--wrap=malloc.
extern "C" {
void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
    if (mallocWatched && ++mallocCount == mallocFailAt) return nullptr;
    void* block = __real_malloc(size);
    // Blocks are often clear by chance, which would hide that they are read before they are written.
    if (mallocWatched && block) std::memset(block, 0xA5, size);
    return block;
}
}

namespace tovtest {

bool Report::operator==(const Report& other) const {
    return status == other.status && funcName == other.funcName && context == other.context && file == other.file;
}

std::ostream& operator<<(std::ostream& out, const Report& report) {
    return out << "{" << report.status << ", \"" << report.funcName << "\", \"" << report.context << "\", \""
               << report.file << "\"}";
}

ReportLog::ReportLog(TovStatus answerToAll) : answer(answerToAll), before(tovRedirectError(handle)) {
    current = this;
    tovSetErrStatus(TOV_STS_OK);
}

ReportLog::~ReportLog() {
    current = nullptr;
    tovRedirectError(before);
    tovSetErrStatus(TOV_STS_OK);
}

TovStatus ReportLog::handle(TovStatus status, const char* funcName, const char* context, const char* file, int32_t) {
    current->reports.push_back({status, funcName, context, file});
    if (current->atReport) current->atReport();
    return current->answer;
}

ForgivingHandler::ForgivingHandler()
    : before(tovRedirectError([](TovStatus, const char*, const char*, const char*, int32_t) -> TovStatus {
          tovSetErrStatus(TOV_STS_OK);
          return 0;
      })) {}
ForgivingHandler::~ForgivingHandler() { tovRedirectError(before); }

MallocWatch::MallocWatch(int failAt) {
    mallocCount = 0;
    mallocFailAt = failAt;
    mallocWatched = true;
}

MallocWatch::~MallocWatch() { mallocWatched = false; }

int MallocWatch::count() const { return mallocCount; }

} // namespace tovtest
