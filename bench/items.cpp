// The list of items and the choice of those to run.
#include "items.h"

#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>

namespace bench {

Item& Items::add(Item item) {
    if (find(item.id()) != nullptr) {
        std::fprintf(stderr, "tov_bench: two items are called %s\n", item.id().c_str());
        std::exit(2);
    }
    items_.push_back(std::move(item));
    return items_.back();
}

const Item* Items::find(const std::string& id) const {
    for (const Item& item : items_) {
        if (item.id() == id) return &item;
    }
    return nullptr;
}

std::vector<const Item*> Items::select(const std::string& filter) const {
    std::set<std::string> wanted;
    const std::regex pattern(filter);
    for (const Item& item : items_) {
        if (!std::regex_search(item.id(), pattern)) continue;
        wanted.insert({item.id(), item.idOf(item.limit)});
        for (const std::string& peer : item.peers) wanted.insert(item.idOf(peer));
        for (const Aim& aim : item.aims) wanted.insert(item.idOf(aim.of));
    }
    std::vector<const Item*> chosen;
    for (const Item& item : items_) {
        if (wanted.count(item.id()) != 0) chosen.push_back(&item);
    }
    return chosen;
}

} // namespace bench
