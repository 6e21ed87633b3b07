// The sweep over random cases.
#include "support/sweep.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace tovtest {
namespace {

char caseAtWork[64];
struct sigaction segvBefore, busBefore;

// Names the case whose call has touched a protected page, then leaves the fault to whoever handled it before.
void nameCase(int signal) {
    if (write(STDERR_FILENO, caseAtWork, std::strlen(caseAtWork)) < 0) _exit(1);
    sigaction(SIGSEGV, &segvBefore, nullptr);
    sigaction(SIGBUS, &busBefore, nullptr);
    (void)signal;
}

class CrashNamer {
public:
    CrashNamer() {
        struct sigaction action {};
        action.sa_handler = nameCase;
        sigaction(SIGSEGV, &action, &segvBefore);
        sigaction(SIGBUS, &action, &busBefore);
    }
    ~CrashNamer() {
        sigaction(SIGSEGV, &segvBefore, nullptr);
        sigaction(SIGBUS, &busBefore, nullptr);
    }
};

} // namespace

template <typename T>
std::string list(const std::vector<T>& items) {
    std::ostringstream text;
    for (const T& item : items) text << "    " << item << "\n";
    return text.str();
}
template std::string list(const std::vector<Report>&);
template std::string list(const std::vector<TileEvent>&);

std::string compareCase(const Case& c, const Sweep& sweep, std::map<std::string, int>* notes) {
    Scene actual(c), expected(c);
    sweep.model(expected);
    std::snprintf(caseAtWork, sizeof caseAtWork, "\nfault in TOV_CASE=%llu\n",
                  static_cast<unsigned long long>(c.number));
    actual.run(sweep.product);
    std::string text = actual.differences(expected);
    if (!(actual.reports == expected.reports)) {
        text += "reports\n" + list(actual.reports) + "  instead of\n" + list(expected.reports);
    }
    if (actual.status != expected.status) {
        text += "status " + std::to_string(actual.status) + " instead of " + std::to_string(expected.status) + "\n";
    }
    if (!(actual.server.log == expected.server.log)) {
        text += "tile requests\n" + list(actual.server.log) + "  instead of\n" + list(expected.server.log);
    }
    if (notes) {
        for (const auto& note : expected.notes) ++(*notes)[note.first];
        for (const ImageForm& form : c.images) {
            if (form.sharesWith >= 0) ++(*notes)["overlap"];
        }
    }
    return text;
}

void failEachTile(const Case& c, const Sweep& sweep, bool bands,
                  const std::function<Reports(const TileEvent& failed)>& reportsOf, bool keepsWritten) {
    const CrashNamer namer;
    const Scene before(c);
    Scene done(c);
    sweep.model(done);
    const std::vector<TileEvent>& full = done.server.log;
    int n = 0;
    for (std::size_t at = 0; at < full.size() && !testing::Test::HasFailure(); ++at) {
        if (full[at].mode == TOV_TILE_RELEASE) continue;
        Scene scene(c);
        scene.server.failAt = ++n;
        scene.run(sweep.product);
        const std::vector<TileEvent>& log = scene.server.log;
        std::vector<TileEvent> want(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(at) + 1);
        const bool prefix = log.size() >= want.size() && std::equal(want.begin(), want.end(), log.begin());
        EXPECT_TRUE(prefix) << c << "\nrequest " << n << "\n" << list(log) << "instead of\n" << list(want);
        EXPECT_EQ(scene.reports, reportsOf(full[at])) << c << "\nrequest " << n;
        std::size_t kept = 0; // images whose last request was to write
        for (std::size_t i = 0; keepsWritten && full[at].mode == TOV_TILE_READ && i < c.images.size(); ++i) {
            const auto ofImage = [i](const TileEvent& event) { return event.image == static_cast<int>(i); };
            const auto last = std::find_if(want.rbegin(), want.rend(), ofImage);
            kept += last != want.rend() && last->mode == TOV_TILE_WRITE;
        }
        EXPECT_EQ(scene.server.held(), kept) << c << "\nrequest " << n << "\n" << list(log);
        EXPECT_TRUE(scene.server.faults.empty()) << c << "\n" << scene.server.faults.front();
        if (bands) {
            ASSERT_EQ(scene.eventsAtReport, std::vector<std::size_t>{want.size()}) << c << "\nrequest " << n;
            EXPECT_TRUE(std::is_sorted(log.begin() + static_cast<std::ptrdiff_t>(want.size()), log.end(),
                                       [](const TileEvent& a, const TileEvent& b) { return a.image < b.image; }))
                << c << "\n"
                << list(log);
        }
        for (std::size_t i = 0; i < scene.images.size(); ++i) {
            if (!scene.images[i]) continue;
            EXPECT_EQ(scene.images[i]->changes(), "");
            for (std::size_t b = 0; b < scene.images[i]->store->blocks.size(); ++b) {
                const Block& is = scene.images[i]->store->blocks[b];
                const uint8_t* early = before.images[i]->store->blocks[b].data();
                const uint8_t* late = done.images[i]->store->blocks[b].data();
                EXPECT_TRUE(is.guardIntact());
                for (std::size_t k = 0; k < is.size(); ++k) {
                    const uint8_t byte = is.data()[k];
                    const bool bits = scene.images[i]->form.depth == TOV_DEPTH_1U;
                    ASSERT_TRUE(bits ? ((byte ^ early[k]) & (byte ^ late[k])) == 0
                                     : byte == early[k] || byte == late[k])
                        << c << "\nimage " << i << ", byte " << k;
                }
            }
        }
    }
}

void failEachTile(const Sweep& sweep, uint64_t cases, bool bands,
                  const std::function<Reports(const Case& c, const TileEvent& failed)>& reportsOf, bool keepsWritten) {
    for (uint64_t number = 0; number < cases && !testing::Test::HasFailure(); ++number) {
        const Case c = drawCase(number, sweep.family);
        failEachTile(
            c, sweep, bands, [&](const TileEvent& failed) { return reportsOf(c, failed); }, keepsWritten);
    }
}

int failEachBlock(const Case& c, const Sweep& sweep, const std::function<void(const Scene& scene, int n)>& check,
                  const std::function<void(const Scene& scene)>& whole) {
    for (int n = 1;; ++n) {
        int blocks = 0;
        Scene scene(c);
        scene.run([&](Scene& s) {
            const MallocWatch watch(n);
            sweep.product(s);
            blocks = watch.count();
        });
        if (blocks < n) { // a call that a failure ends has taken n
            if (whole) whole(scene);
            return n - 1;
        }
        check(scene, n);
        if (testing::Test::HasFatalFailure()) {
            ADD_FAILURE() << c << "\nblock " << n;
            return n;
        }
    }
}

void failEachBlock(const Sweep& sweep, uint64_t cases, int atLeast,
                   const std::function<void(const Scene& scene, int n)>& check) {
    int failures = 0;
    for (uint64_t number = 0; number < cases && !testing::Test::HasFatalFailure(); ++number) {
        failures += failEachBlock(drawCase(number, sweep.family), sweep, check);
    }
    EXPECT_GE(failures, atLeast);
}

void expectRefusal(const Case& c, const std::function<void(Scene&)>& call, const Reports& reports) {
    Scene scene(c);
    const Scene untouched(c);
    scene.run(call);
    EXPECT_EQ(scene.differences(untouched), "") << c;
    EXPECT_EQ(scene.reports, reports) << c;
    TovStatus status = 0;
    for (const Report& report : reports) {
        if (report.status != TOV_STS_BACKTRACE) status = report.status;
    }
    EXPECT_EQ(scene.status, status) << c;
    EXPECT_TRUE(scene.server.log.empty()) << c;
}

void runSweep(const Sweep& sweep) {
    const CrashNamer namer;
    const char* single = std::getenv("TOV_CASE");
    const uint64_t first = single ? std::strtoull(single, nullptr, 10) : 0;
    const uint64_t end = single ? first + 1 : static_cast<uint64_t>(sweep.cases);
    std::map<std::string, int> notes;
    int failures = 0;
    for (uint64_t number = first; number < end && failures < 3; ++number) {
        const Case c = drawCase(number, sweep.family);
        const std::string text = compareCase(c, sweep, &notes);
        if (text.empty()) continue;
        ++failures;
        std::ostringstream record;
        record << c;
        ADD_FAILURE() << record.str() << "\n" << text << "run it alone with TOV_CASE=" << number;
    }
    if (single || failures) return;
    for (const std::string& note : sweep.mustMeet) {
        EXPECT_GE(notes[note], sweep.cases / 200) << "too few cases with: " << note;
    }
}

} // namespace tovtest
