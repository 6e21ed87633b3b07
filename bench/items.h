// What the benchmark program measures: items, each with its memory limit, its peers and its aim.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Size {
    int32_t width;
    int32_t height;
};
constexpr Size kInCache = {640, 480};
constexpr Size kOutOfCache = {3840, 2160};
constexpr Size kSizes[] = {kInCache, kOutOfCache};

inline bool operator==(Size a, Size b) { return a.width == b.width && a.height == b.height; }
inline double pixels(Size size) { return double{1} * size.width * size.height; }
inline std::string text(Size size) { return std::to_string(size.width) + " x " + std::to_string(size.height); }

// One call of what is measured. Preparing makes it, outside the time.
using Call = std::function<void()>;
using Prepare = std::function<Call()>;

enum class Kind { kOperation, kLimit, kPeer };

// What an item is to reach: at most `most` times the time that item `of` takes for as many values, or at most `most`
// nanoseconds where `of` is empty. With 0 there is nothing to reach, and the ratio is shown for its own sake.
struct Aim {
    double most;
    std::string of;
};

// Limits, peers and an aim's item are named; those of the item's own size are meant.
struct Item {
    std::string name;
    Size size;
    double count;     // values or pixels of one call
    std::string unit; // which of the two: "value" or "pixel"
    Prepare prepare;
    Kind kind = Kind::kOperation;
    std::string limit = {};
    double moved = 1; // values that pass by for each one counted
    std::vector<std::string> peers = {};
    std::vector<Aim> aims = {};

    std::string id() const { return idOf(name); }
    std::string idOf(const std::string& other) const {
        return other + "/" + std::to_string(size.width) + "x" + std::to_string(size.height);
    }
    Item& limitedBy(std::string other, double valuesMoved = 1) {
        limit = std::move(other);
        moved = valuesMoved;
        return *this;
    }
    Item& peer(std::string other) {
        peers.push_back(std::move(other));
        return *this;
    }
    Item& aim(double most, std::string of = {}) {
        aims.push_back({most, std::move(of)});
        return *this;
    }
};

// All items, in the order of the table. References stay valid.
class Items {
public:
    Item& add(Item item);
    const Item* find(const std::string& id) const;
    const std::deque<Item>& all() const { return items_; }
    // The items whose id matches a regular expression, and all that those are measured against.
    std::vector<const Item*> select(const std::string& filter) const;

private:
    std::deque<Item> items_;
};

// The families, each in its file.
void addAlphaItems(Items& items);
void addArithItems(Items& items);
void addBlurItems(Items& items);
void addConvItems(Items& items);
void addDibItems(Items& items);
void addHistItems(Items& items);
void addMirrorItems(Items& items);
void addMorphItems(Items& items);
void addMoveItems(Items& items);
void addReduceItems(Items& items);
void addResampleItems(Items& items);

} // namespace bench
