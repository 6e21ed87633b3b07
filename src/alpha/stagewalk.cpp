// The walk of the alpha operations over tiled images.
#include "alpha/stage.h"

namespace tov {

namespace {

// Owns a stage for one call.
class StageOwner {
public:
    explicit StageOwner(OwnTileStage* stage) : stage_(stage) {}
    StageOwner(const StageOwner&) = delete;
    StageOwner& operator=(const StageOwner&) = delete;
    ~StageOwner() { ownTileStageDestroy(stage_); }
    OwnTileStage* get() const { return stage_; }

private:
    OwnTileStage* stage_;
};

const TovImage& firstTiled(const StageWalk& walk) {
    int32_t i = 0;
    while (walk.images[i].image == nullptr || walk.images[i].image->tileInfo == nullptr) i++;
    return *walk.images[i].image;
}

// Where a rectangle that begins at `at` ends: at the next tile's edge or at the region's end. offset is where the
// region begins in the grid.
int32_t rectEnd(int32_t at, int32_t offset, int32_t tile, int32_t end) {
    const int64_t edge = ((int64_t{offset} + at) / tile + 1) * tile - offset;
    return edge < end ? static_cast<int32_t>(edge) : end;
}

void reportFault(const Reporter& report, int32_t status) {
    if (status == TOV_STS_OK) return;
    if (status == TOV_STS_TILE_FAILURE) return report(status, "ERROR in Tiling callBack");
    if (status == TOV_STS_NO_MEMORY) return report(status, "No working memory");
    if (tovGetErrStatus() < 0 && report.backtrace("Internal tiling error") != 0) return;
    report(TOV_STS_INTERNAL, "Internal tiling error");
}

} // namespace

void runStageWalk(const StageWalk& walk, void (*kernel)(const void* args, TovImage* const* views, Size size),
                  const void* args) {
    const TovImage& driving = firstTiled(walk);
    const TovTileInfo& tiles = *driving.tileInfo;
    const Point from = driving.roi != nullptr ? Point{driving.roi->xOffset, driving.roi->yOffset} : Point{0, 0};
    const StageOwner owner(ownTileStageCreate(walk.nImages, tiles.width, tiles.height));
    OwnTileStage* stage = owner.get();
    int32_t slots[kMostStaged] = {};
    TovImage* views[kMostStaged] = {};
    for (int32_t i = 0; i < walk.nImages; i++) {
        slots[i] = ownTileStageAdd(stage, walk.images[i].image, walk.images[i].mode);
    }
    for (int32_t y = 0, yEnd = 0; y < walk.size.height && ownTileStageStatus(stage) == 0; y = yEnd) {
        yEnd = rectEnd(y, from.y, tiles.height, walk.size.height);
        for (int32_t x = 0, xEnd = 0; x < walk.size.width; x = xEnd) {
            xEnd = rectEnd(x, from.x, tiles.width, walk.size.width);
            ownTileStageSetRect(stage, x, y, xEnd - x, yEnd - y);
            for (int32_t i = 0; i < walk.nImages; i++) {
                const int32_t n = walk.viewOrder != nullptr ? walk.viewOrder[i] : i;
                views[n] = ownTileStageView(stage, slots[n]);
            }
            if (ownTileStageStatus(stage) != 0) break;
            kernel(args, views, {xEnd - x, yEnd - y});
            ownTileStageReleaseAll(stage);
        }
    }
    reportFault(walk.report, ownTileStageStatus(stage));
}

} // namespace tov
