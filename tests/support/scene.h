// The images of a case in memory: headers, regions, tile records, fenced pixels, and a server for their tiles.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "support/case.h"
#include "support/reports.h"
#include "tov.h"

namespace tovtest {

// The pixels of one image, plain or tiled; several headers may use one store.
struct Store {
    struct Tile {
        int readers = 0, writers = 0;
    };
    std::vector<Block> blocks; // one, or one a tile from left to right and from top to bottom
    std::vector<Tile> tiles;   // how each tile is held
    uint32_t depth = 0;
};

class Scene;

class TestImage {
public:
    TestImage(Scene& owner, int index, const ImageForm& form, std::shared_ptr<Store> store);

    int tileCols() const { return (header.width + tiles.width - 1) / tiles.width; }
    int tileRows() const { return (header.height + tiles.height - 1) / tiles.height; }
    bool tiled() const { return form.tileWidth > 0; }
    // The first byte of a tile, without asking the server.
    uint8_t* tileAt(int col, int row) const { return store->blocks[row * tileCols() + col].data(); }
    // What a call has changed in the records, or an empty text.
    std::string changes() const;

    Scene& scene;
    const int index;
    const ImageForm form;
    TovImage header{};
    TovROI roi{};
    TovTileInfo tiles{};
    TestImage* mask = nullptr;
    std::shared_ptr<Store> store;

    // Call once the records are as the caller wants them.
    void remember();

private:
    TovImage headerBefore{};
    TovROI roiBefore{};
    TovTileInfo tilesBefore{};
};

struct TileEvent {
    int image;
    int32_t x, y, mode;
    bool operator==(const TileEvent& o) const { return image == o.image && x == o.x && y == o.y && mode == o.mode; }
};
std::ostream& operator<<(std::ostream& out, const TileEvent& event);

// Serves the tiles of a scene's images, logs each request and checks the protocol. While it is strict, the memory of a
// tile can be reached only as long as the tile is held, and written only while it is held for writing.
class TileServer {
public:
    std::vector<TileEvent> log;
    std::vector<std::string> faults;
    int failAt = 0;             // the n-th request gives null; 0: none
    bool acceptsCopies = false; // requests may come with a copy of the caller's header

    void serve(TovImage* header, int32_t x, int32_t y, int32_t mode);
    int requests() const { return requestCount; }
    std::size_t held() const { return holds.size(); }
    void setStrict(const Scene& scene, bool on);

private:
    void release(TestImage& image, int32_t x, int32_t y);
    void protect(TestImage& image, int32_t x, int32_t y) const;

    std::multimap<std::tuple<int, int32_t, int32_t>, int32_t> holds; // image, x, y: mode
    int requestCount = 0;
    bool strict = false;
};

// All images of a case. Two scenes of one case are equal byte by byte.
class Scene {
public:
    explicit Scene(const Case& c);
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    ~Scene();

    TestImage& at(int role) const { return *images[of.resolve(role)]; }
    TovImage* operator[](int role) const { return &at(role).header; }
    // Runs a call with the report log and strict tiles, and keeps its reports and status.
    template <typename Call>
    void run(Call&& call, TovStatus answer = 1) {
        ReportLog log(answer);
        log.atReport = [this] { eventsAtReport.push_back(server.log.size()); };
        server.setStrict(*this, true);
        call(*this);
        server.setStrict(*this, false);
        reports = log.reports;
        status = tovGetErrStatus();
    }
    // Every byte that differs from the other scene's, every changed record, every fault of the protocol: the first
    // few as text, or an empty text. Floats that are both not a number count as equal.
    std::string differences(const Scene& expected) const;

    const Case of;
    std::vector<std::unique_ptr<TestImage>> images;
    TileServer server;
    Reports reports;
    std::vector<std::size_t> eventsAtReport; // number of tile events logged before each report
    TovStatus status = 0;
    std::vector<std::string> faults;  // what a test's own call has found wrong
    std::map<std::string, int> notes; // what a model has met on its way
};

} // namespace tovtest
