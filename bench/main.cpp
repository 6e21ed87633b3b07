// The benchmark program: measures the library's operations beside memory limits and peers, in one run.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "items.h"
#include "report.h"
#include "tov.h"

namespace {

// The library's default handler ends the process without a word.
TovStatus onError(TovStatus status, const char* funcName, const char* context, const char* file, int32_t line) {
    std::fprintf(stderr, "tov_bench: %s: %s (%s, %s:%d)\n", funcName, tovErrorStr(status), context, file, int{line});
    std::exit(1);
}

// Takes the value of --name=value from the arguments; the last one counts.
bool takeOption(std::vector<std::string>& arguments, const std::string& name, std::string& value) {
    bool found = false;
    const std::string head = "--" + name + "=";
    for (size_t i = 1; i < arguments.size();) {
        if (arguments[i].compare(0, head.size(), head) != 0) {
            i++;
            continue;
        }
        value = arguments[i].substr(head.size());
        arguments.erase(arguments.begin() + static_cast<ptrdiff_t>(i));
        found = true;
    }
    return found;
}

void registerItem(const bench::Item& item) {
    const auto measure = [&item](benchmark::State& state) {
        const bench::Call call = item.prepare();
        for ([[maybe_unused]] auto _ : state) {
            call();
            benchmark::ClobberMemory();
        }
    };
    // A peer may do its work in a thread of its own: the process's time has that, too.
    benchmark::RegisterBenchmark(item.id().c_str(), measure)->MeasureProcessCPUTime();
}

} // namespace

// --write=PATH stores the page with the table; --benchmark_filter=REGEX chooses items, and what they are measured
// against runs with them. All other options are Google Benchmark's.
int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv, argv + argc);
    std::string filter;
    std::string path;
    takeOption(arguments, "benchmark_filter", filter);
    takeOption(arguments, "write", path);
    // In front of the user's, which so prevail.
    arguments.insert(arguments.begin() + 1, {"--benchmark_repetitions=25", "--benchmark_min_time=0.006",
                                             "--benchmark_enable_random_interleaving=true"});
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;

    tovRedirectError(onError);
    bench::Items items;
    bench::addArithItems(items);
    bench::addBlurItems(items);
    bench::addConvItems(items);
    bench::addMorphItems(items);
    bench::addMirrorItems(items);
    bench::addMoveItems(items);
    bench::addAlphaItems(items);
    bench::addHistItems(items);
    bench::addReduceItems(items);
    bench::addDibItems(items);
    bench::addResampleItems(items);
    const std::vector<const bench::Item*> chosen = items.select(filter);
    for (const bench::Item* item : chosen) registerItem(*item);

    bench::TableReporter reporter(chosen);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    const std::string table = reporter.table();
    if (table.empty()) return 0;
    std::fputs(table.c_str(), stdout);
    if (path.empty()) return 0;
    std::ofstream page(path);
    page << reporter.page();
    page.close();
    if (!page) std::fprintf(stderr, "tov_bench: %s could not be written\n", path.c_str());
    return page ? 0 : 1;
}
