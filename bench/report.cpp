// The reporter: gathers the shortest time of each item and makes one table of them.
#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <limits>

namespace bench {

namespace {

constexpr double kNotMeasured = std::numeric_limits<double>::quiet_NaN();

// Three significant digits, never in exponents.
std::string threeDigits(double number) {
    if (std::isnan(number)) return "";
    const int decimals = number <= 0 ? 2 : std::clamp(2 - static_cast<int>(std::floor(std::log10(number))), 0, 6);
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, number);
    return buffer;
}

std::string ratioText(double ratio) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.2f", ratio);
    return std::isnan(ratio) ? "" : buffer;
}

std::string plainText(double number) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.4g", number);
    return buffer;
}

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.compare(0, 10, "model name") == 0) return line.substr(line.find(':') + 2);
    }
    return "a processor that does not tell its name";
}

std::string caches() {
    std::string all;
    for (const auto& cache : benchmark::CPUInfo::Get().caches) {
        if (cache.type == "Instruction") continue;
        all += all.empty() ? "" : ", ";
        all += "L" + std::to_string(cache.level) + " " + std::to_string(cache.size / 1024) + " KiB";
    }
    return all.empty() ? "unknown" : all;
}

std::string compiler() {
#if defined(__clang__)
    return std::string("clang ") + __clang_version__;
#elif defined(__GNUC__)
    return std::string("g++ ") + __VERSION__;
#else
    return "another compiler";
#endif
}

std::string today() {
    const std::time_t now = std::time(nullptr);
    char buffer[16];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%d", std::gmtime(&now));
    return buffer;
}

constexpr const char* kPageHead =
    "# Performance\n"
    "\n"
    "`make bench` has written this page. All times are of one thread and of one run, and the shortest of several\n"
    "repetitions, which are run in random order so that a busy moment of the machine meets all items alike.\n"
    "\n"
    "- **ns**: nanoseconds for each value, or pixel, of the processed rectangle, those under clear bits of a mask\n"
    "  included.\n"
    "- **to limit**: the time as a multiple of the memory limit's for the same bytes: `memcpy` and `memset` for "
    "copying\n"
    "  and filling, otherwise a plain vectorised loop with as many streams, built with the library's flags.\n"
    "- **to peer**: the time as a multiple of that of the fastest other library that does the same; below 1, tov is\n"
    "  faster.\n"
    "- **aim**: what the item is to reach, in nanoseconds or as a multiple of the limit's or another item's time for "
    "as\n"
    "  many values; **reached**: what it did. Without a number, the ratio is shown for comparison.\n"
    "- 640 x 480 pixels fit the processor's caches, 3840 x 2160 do not.\n"
    "\n";

} // namespace

bool TableReporter::ReportContext(const Context& context) {
    std::fprintf(stderr, "Measuring %zu items on %s", items_.size(), processor().c_str());
    for (size_t i = 0; i < context.cpu_info.load_avg.size(); i++) {
        std::fprintf(stderr, "%s%.2f", i == 0 ? ", load " : ", ", context.cpu_info.load_avg[i]);
    }
    std::fputs("\n", stderr);
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) continue;
        const std::string& id = run.run_name.function_name;
        const auto item = std::find_if(items_.begin(), items_.end(), [&id](const Item* i) { return i->id() == id; });
        if (item == items_.end()) continue;
        const double calls = static_cast<double>(run.iterations);
        const double time = run.cpu_accumulated_time * 1e9 / calls / (*item)->count;
        const auto known = perUnit_.find(id);
        if (known == perUnit_.end() || time < known->second) perUnit_[id] = time;
    }
}

double TableReporter::perUnit(const std::string& id) const {
    const auto found = perUnit_.find(id);
    return found == perUnit_.end() ? kNotMeasured : found->second;
}

double TableReporter::ratio(const Item& item, const std::string& other) const {
    const double moved = other == item.limit ? item.moved : 1;
    return perUnit(item.id()) / (moved * perUnit(item.idOf(other)));
}

std::string TableReporter::bestPeer(const Item& item) const {
    double best = kNotMeasured;
    std::string name;
    for (const std::string& peer : item.peers) {
        const double one = ratio(item, peer);
        // The fastest peer gives the largest ratio.
        if (std::isnan(one) || one <= best) continue;
        best = one;
        name = peer;
    }
    return name.empty() ? "" : ratioText(best) + " (" + name + ")";
}

void TableReporter::addRows(const Item& item, std::vector<Row>& rows) const {
    const double time = perUnit(item.id());
    if (std::isnan(time)) return;
    Row row = {item.name,
               text(item.size),
               threeDigits(time),
               item.unit,
               ratioText(ratio(item, item.limit)),
               bestPeer(item),
               "",
               "",
               ""};
    if (item.aims.empty()) rows.push_back(row);
    for (const Aim& aim : item.aims) {
        const double reached = aim.of.empty() ? time : ratio(item, aim.of);
        const std::string what = aim.of == item.limit ? "limit" : aim.of;
        row[6] = aim.most > 0 ? plainText(aim.most) + (aim.of.empty() ? " ns" : " x " + what) : "x " + what;
        row[7] = aim.of.empty() ? threeDigits(reached) + " ns" : ratioText(reached);
        row[8] = aim.most <= 0 || std::isnan(reached) ? "" : reached <= aim.most ? "yes" : "**no**";
        rows.push_back(row);
        row.assign(9, "");
    }
}

std::string TableReporter::table() const {
    std::vector<Row> rows = {{"item", "size", "ns", "per", "to limit", "to peer", "aim", "reached", "met"}, {}};
    for (const Kind kind : {Kind::kOperation, Kind::kLimit, Kind::kPeer}) {
        for (const Item* item : items_) {
            if (item->kind == kind) addRows(*item, rows);
        }
    }
    if (rows.size() == 2) return {};
    std::vector<size_t> widths(rows[0].size(), 3);
    for (const Row& row : rows) {
        for (size_t i = 0; i < row.size(); i++) widths[i] = std::max(widths[i], row[i].size());
    }
    for (const size_t width : widths) rows[1].push_back(std::string(width, '-'));
    std::string table;
    for (const Row& row : rows) {
        for (size_t i = 0; i < row.size(); i++) {
            table += (i == 0 ? "| " : " | ") + row[i] + std::string(widths[i] - row[i].size(), ' ');
        }
        table += " |\n";
    }
    return table;
}

std::string TableReporter::page() const {
    return kPageHead + ("Measured on " + today() + ": " + processor() + "; " + caches() + "; " + compiler() + ".\n\n") +
           table();
}

} // namespace bench
