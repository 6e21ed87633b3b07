// The stage of the alpha operations: plain views of any set of images, rectangle by rectangle, whatever their tiles.
#pragma once

#include "core/context.h"
#include "core/geometry.h"
#include "tov.h"

namespace tov {

// One image of a stage. Headers, regions, staging pixels and the tile table belong to the slot; the image is borrowed,
// and tile pixels are the caller's.
struct OwnTileSlot {
    TovImage* image;      // null marks a free slot; free slots only follow used ones
    int32_t useCount;     // views handed out for the current rectangle
    int32_t mode;         // TOV_TILE_READ or TOV_TILE_WRITE
    TovImage* stageImage; // a plain image's view, or the staging image of a tiled one, made when first needed
    TovROI* stageROI;
    TovImage* tileImage; // of a tiled image: a header of one tile's size, pointed at the tile in hand
    TovROI* tileROI;
    TovImage* view; // what was handed out for the current rectangle
    int32_t tileWidth;
    int32_t tileHeight;
    uint8_t** tileTable; // of the staging image: the tiles of the rectangle, row by row
    int32_t tableColumns;
    int32_t firstColumn;
    int32_t lastColumn;
    int32_t firstRow;
    int32_t lastRow;
};

struct OwnTileStage {
    int32_t nSlots;
    int32_t width; // a rectangle's largest size
    int32_t height;
    int32_t status; // 0, or the first fault: -1 a copy failed, -2 a tile could not be had, -4 out of memory
    int32_t x;      // the current rectangle, from the first pixel of each image's region
    int32_t y;
    int32_t rectWidth;
    int32_t rectHeight;
    OwnTileSlot* slots;
};

// A stage with all slots free, or null.
OwnTileStage* ownTileStageCreate(int32_t nSlots, int32_t width, int32_t height);
// Releases and frees what the slots hold. Null is ignored.
void ownTileStageDestroy(OwnTileStage* stage);

// Registers an image: its slot's number (from 1), the one that it has already, 0 for a null image, -1 for a stage that
// is null or at fault. The mode of the first registration stays. Callers give the stage a slot for each image.
int32_t ownTileStageAdd(OwnTileStage* stage, TovImage* image, int32_t mode);
void ownTileStageRemove(OwnTileStage* stage, int32_t number);

void ownTileStageSetRect(OwnTileStage* stage, int32_t x, int32_t y, int32_t width, int32_t height);

// A plain image whose region is the current rectangle of the slot's image, with its coi: the image's own pixels, one
// tile's, or a copy where the rectangle crosses tiles. Null when it can't be had, and status says why.
TovImage* ownTileStageView(OwnTileStage* stage, int32_t number);

// Ends the use of a view: copies are written back to the tiles of an image got for writing, unless the stage is at
// fault, and tiles are released in the order in which they were asked for.
void ownTileStageRelease(OwnTileStage* stage, int32_t number);
void ownTileStageReleaseAll(OwnTileStage* stage);

// The stage's status; out of memory for a null stage.
int32_t ownTileStageStatus(const OwnTileStage* stage);

// One image of a walk; image may be null, and so are its views then.
struct StagedImage {
    TovImage* image;
    int32_t mode;
};

// A walk over `size` pixels of images of which one at least is tiled. The first tiled one cuts the rectangles.
struct StageWalk {
    const Reporter& report;
    Size size;
    const StagedImage* images; // in the order of registration
    int32_t nImages;           // at most kMostStaged
    const int32_t* viewOrder;  // the order in which views are fetched, as indices of images; null: that of registration
};
constexpr int32_t kMostStaged = 7;

// Runs `kernel(args, views, size)` for each rectangle, rows of rectangles from the top, each from the left; views stand
// in the order of registration. Reports a fault under the operation's name and then releases what is held.
void runStageWalk(const StageWalk& walk, void (*kernel)(const void* args, TovImage* const* views, Size size),
                  const void* args);

} // namespace tov
