// Runs random cases through the product and a model, and compares all that can be seen.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/scene.h"

namespace tovtest {

struct Sweep {
    Family family;
    int cases;
    std::function<void(Scene&)> product; // the call
    std::function<void(Scene&)> model;   // fills pixels, reports, status and server.log of its scene
    std::vector<std::string> mustMeet;   // notes that the model must have made in many cases
};

// Reports the first few cases that differ as test failures. With TOV_CASE=n in the environment, case n alone is run.
void runSweep(const Sweep& sweep);

// Product and model on one case; an empty text if they agree.
std::string compareCase(const Case& c, const Sweep& sweep, std::map<std::string, int>* notes = nullptr);

// Lets each tile request of a case fail in turn. The reports must be those of `reportsOf` for the image whose tile
// failed and the mode; what was asked before stays as without the failure; no tile stays held; every byte is that of
// before or that of a full run. In `bands`, tiles held at the failure are released after the report, in the order of
// the images. With keepsWritten, a tile that is held for writing while one to read fails stays held.
void failEachTile(const Case& c, const Sweep& sweep, bool bands,
                  const std::function<Reports(const TileEvent& failed)>& reportsOf, bool keepsWritten = false);
// The same for the first so many cases of a sweep.
void failEachTile(const Sweep& sweep, uint64_t cases, bool bands,
                  const std::function<Reports(const Case& c, const TileEvent& failed)>& reportsOf,
                  bool keepsWritten = false);

// Lets each block of memory that the product takes fail in turn, up to the first fatal failure of the test.
// check(scene, n) looks at the call in which the n-th one did, and whole(scene), if given, at the one in which none
// did. Returns how many did.
int failEachBlock(const Case& c, const Sweep& sweep, const std::function<void(const Scene& scene, int n)>& check,
                  const std::function<void(const Scene& scene)>& whole = {});
// The same for the first so many cases of a sweep, with at least so many failures in all.
void failEachBlock(const Sweep& sweep, uint64_t cases, int atLeast,
                   const std::function<void(const Scene& scene, int n)>& check);

// The call must report exactly this, change nothing, ask for no tile, and leave the status of the reports' first
// failure, or 0.
void expectRefusal(const Case& c, const std::function<void(Scene&)>& call, const Reports& reports);

template <typename T>
std::string list(const std::vector<T>& items);

} // namespace tovtest
