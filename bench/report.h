// The reporter: gathers the shortest time of each item and makes one table of them.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "items.h"

namespace bench {

// Takes the shortest of an item's repetitions: what disturbs a measurement only ever makes it longer, and ratios of
// shortest times are steady on a machine that others use as well.
class TableReporter : public benchmark::BenchmarkReporter {
public:
    explicit TableReporter(std::vector<const Item*> items) : items_(std::move(items)) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    // The table in Markdown, columns lined up. Empty when nothing was measured.
    std::string table() const;
    // A page with the table, the date and the machine.
    std::string page() const;

private:
    using Row = std::vector<std::string>;

    // Nanoseconds for one value or pixel; not a number where the item was not measured.
    double perUnit(const std::string& id) const;
    double ratio(const Item& item, const std::string& other) const;
    std::string bestPeer(const Item& item) const;
    void addRows(const Item& item, std::vector<Row>& rows) const;

    std::vector<const Item*> items_;
    std::map<std::string, double> perUnit_;
};

} // namespace bench
