// Staging: tiles as they lie where a rectangle is inside one, gathered and scattered where it crosses several.
#include "alpha/stage.h"

#include "core/image.h"
#include "core/lifecycle.h"
#include "core/memory.h"

namespace tov {

namespace {

// A header with the attributes of an image, another size, a region of its own and no pixels.
TovImage* makeHeader(const TovImage& image, int32_t width, int32_t height, TovROI* roi) {
    return tovCreateImageHeader(image.nChannels, image.alphaChannel, image.depth, image.colorModel, image.channelSeq,
                                image.dataOrder, image.origin, image.align, width, height, roi, nullptr, image.imageId,
                                nullptr);
}

void makeHeader(const TovImage& image, int32_t width, int32_t height, TovROI*& roi, TovImage*& header) {
    roi = tovCreateROI(0, 0, 0, 0, 0);
    header = roi != nullptr ? makeHeader(image, width, height, roi) : nullptr;
}

// The staging image and the tile table, once per stage; false when memory runs out.
bool makeStaging(const OwnTileStage& stage, OwnTileSlot& slot) {
    makeHeader(*slot.image, stage.width, stage.height, slot.stageROI, slot.stageImage);
    if (slot.stageImage == nullptr) return false;
    tovAllocateImage(slot.stageImage, 0, -1);
    // A table would be read at the release, so there is none without pixels to stage in.
    if (slot.stageImage->imageData == nullptr) return false;
    const auto cells = [](int32_t length, int32_t tile) { return (int64_t{length} - 1 + tile) / tile + 1; };
    const int64_t columns = cells(stage.width, slot.tileWidth);
    const int64_t rows = cells(stage.height, slot.tileHeight);
    slot.tableColumns = static_cast<int32_t>(columns);
    slot.tileTable = AlignedBlock<uint8_t*>(static_cast<size_t>(columns * rows)).release();
    return slot.tileTable != nullptr;
}

bool oneTile(const OwnTileSlot& slot) { return slot.firstColumn == slot.lastColumn && slot.firstRow == slot.lastRow; }

// Where the current rectangle begins in a slot's image.
Point rectStart(const OwnTileStage& stage, const OwnTileSlot& slot) {
    const TovROI* roi = slot.image->roi;
    return roi != nullptr ? Point{stage.x + roi->xOffset, stage.y + roi->yOffset} : Point{stage.x, stage.y};
}

// One of several tiles under a rectangle: its place in the table, and the part of the rectangle that lies in it.
struct TileRun {
    uint8_t** entry;
    int32_t column;
    int32_t row;
    Point inTile;
    Point inRect;
    Size size;
};

// Calls `visit(run)` for the tiles of the current rectangle, row by row, until it says false.
template <class Visit>
void eachTile(const OwnTileStage& stage, const OwnTileSlot& slot, Visit visit) {
    const Point from = rectStart(stage, slot);
    TileRun run{};
    uint8_t** tableRow = slot.tileTable;
    for (run.row = slot.firstRow; run.row <= slot.lastRow; run.row++, tableRow += slot.tableColumns) {
        run.inTile.y = run.row == slot.firstRow ? from.y % slot.tileHeight : 0;
        run.size.height = smaller(slot.tileHeight - run.inTile.y, stage.rectHeight - run.inRect.y);
        run.inRect.x = 0;
        run.entry = tableRow;
        for (run.column = slot.firstColumn; run.column <= slot.lastColumn; run.column++, run.entry++) {
            run.inTile.x = run.column == slot.firstColumn ? from.x % slot.tileWidth : 0;
            run.size.width = smaller(slot.tileWidth - run.inTile.x, stage.rectWidth - run.inRect.x);
            if (!visit(run)) return;
            run.inRect.x += run.size.width;
        }
        run.inRect.y += run.size.height;
    }
}

// Copies one tile's part of the rectangle, all channels and alpha among them; false when the thread's status is
// negative then, which an earlier failure can be the cause of.
bool copyRun(OwnTileSlot& slot, const TileRun& run, bool toTile) {
    slot.tileImage->imageData = *run.entry;
    tovSetROI(slot.tileROI, 0, run.inTile.x, run.inTile.y, run.size.width, run.size.height);
    tovSetROI(slot.stageROI, 0, run.inRect.x, run.inRect.y, run.size.width, run.size.height);
    slot.tileImage->alphaChannel = 0;
    slot.stageImage->alphaChannel = 0;
    tovCopy(toTile ? slot.stageImage : slot.tileImage, toTile ? slot.tileImage : slot.stageImage);
    slot.tileImage->alphaChannel = slot.image->alphaChannel;
    slot.stageImage->alphaChannel = slot.image->alphaChannel;
    return tovGetErrStatus() >= 0;
}

TovImage* viewOneTile(OwnTileStage& stage, OwnTileSlot& slot, int32_t coi, Point inTile) {
    TovTileInfo& tiles = *slot.image->tileInfo;
    tiles.callBack(slot.image, slot.firstColumn, slot.firstRow, slot.mode);
    slot.tileImage->imageData = tiles.tileData;
    if (tiles.tileData == nullptr) {
        stage.status = TOV_STS_TILE_FAILURE;
        return nullptr;
    }
    tovSetROI(slot.tileROI, coi, inTile.x, inTile.y, stage.rectWidth, stage.rectHeight);
    return slot.tileImage;
}

TovImage* viewSeveralTiles(OwnTileStage& stage, OwnTileSlot& slot, int32_t coi) {
    if (slot.tileTable == nullptr && !makeStaging(stage, slot)) {
        stage.status = TOV_STS_NO_MEMORY;
        return nullptr;
    }
    // A release after a fault ends at the first tile that was never asked for.
    eachTile(stage, slot, [](const TileRun& run) {
        *run.entry = nullptr;
        return true;
    });
    eachTile(stage, slot, [&](const TileRun& run) {
        TovTileInfo& tiles = *slot.image->tileInfo;
        tiles.callBack(slot.image, run.column, run.row, slot.mode);
        *run.entry = tiles.tileData;
        if (*run.entry == nullptr) {
            stage.status = TOV_STS_TILE_FAILURE;
        } else if (!copyRun(slot, run, false)) {
            stage.status = TOV_STS_BACKTRACE;
        }
        return stage.status == 0;
    });
    if (stage.status != 0) return nullptr;
    tovSetROI(slot.stageROI, coi, 0, 0, stage.rectWidth, stage.rectHeight);
    return slot.stageImage;
}

void releaseSeveralTiles(OwnTileStage& stage, OwnTileSlot& slot) {
    eachTile(stage, slot, [&](const TileRun& run) {
        if (*run.entry == nullptr) return false;
        TovTileInfo& tiles = *slot.image->tileInfo;
        tiles.tileData = *run.entry;
        if (slot.mode == TOV_TILE_WRITE && stage.status == 0 && !copyRun(slot, run, true)) {
            stage.status = TOV_STS_BACKTRACE;
        }
        tiles.callBack(slot.image, run.column, run.row, TOV_TILE_RELEASE);
        return true;
    });
}

} // namespace

OwnTileStage* ownTileStageCreate(int32_t nSlots, int32_t width, int32_t height) {
    const size_t size = sizeof(OwnTileStage) + static_cast<size_t>(nSlots) * sizeof(OwnTileSlot);
    auto* stage = static_cast<OwnTileStage*>(ownAlignedAlloc(size));
    if (stage == nullptr) return nullptr;
    auto* slots = reinterpret_cast<OwnTileSlot*>(stage + 1);
    for (int32_t i = 0; i < nSlots; i++) slots[i] = {};
    *stage = {nSlots, width, height, 0, 0, 0, 0, 0, slots};
    return stage;
}

void ownTileStageDestroy(OwnTileStage* stage) {
    if (stage == nullptr) return;
    for (int32_t slot = 1; slot <= stage->nSlots; slot++) ownTileStageRemove(stage, slot);
    ownAlignedFree(stage);
}

int32_t ownTileStageAdd(OwnTileStage* stage, TovImage* image, int32_t mode) {
    if (stage == nullptr || stage->status != 0) return -1;
    if (image == nullptr) return 0;
    int32_t number = 1;
    while (stage->slots[number - 1].image != nullptr) {
        if (stage->slots[number - 1].image == image) return number;
        number++;
    }
    OwnTileSlot& slot = stage->slots[number - 1];
    slot = {};
    slot.image = image;
    slot.mode = mode;
    const TovTileInfo* tiles = image->tileInfo;
    if (tiles == nullptr) {
        makeHeader(*image, image->width, image->height, slot.stageROI, slot.stageImage);
        if (slot.stageImage != nullptr) {
            slot.stageImage->imageData = image->imageData;
            // The caller may have set the rows further apart than the library would.
            slot.stageImage->widthStep = image->widthStep;
            slot.stageImage->imageSize = image->imageSize;
        }
    } else {
        slot.tileWidth = tiles->width;
        slot.tileHeight = tiles->height;
        makeHeader(*image, tiles->width, tiles->height, slot.tileROI, slot.tileImage);
    }
    if (slot.stageImage == nullptr && slot.tileImage == nullptr) stage->status = TOV_STS_NO_MEMORY;
    return number;
}

void ownTileStageRemove(OwnTileStage* stage, int32_t number) {
    OwnTileSlot& slot = stage->slots[number - 1];
    if (slot.image == nullptr) return;
    if (slot.useCount > 0) ownTileStageRelease(stage, number);
    if (slot.stageImage != nullptr && slot.image->tileInfo != nullptr) tovDeallocateImage(slot.stageImage);
    tovDeallocateHeader(slot.stageImage);
    ownAlignedFree(slot.stageROI);
    tovDeallocateHeader(slot.tileImage);
    ownAlignedFree(slot.tileROI);
    ownAlignedFree(slot.tileTable);
    slot = {};
}

void ownTileStageSetRect(OwnTileStage* stage, int32_t x, int32_t y, int32_t width, int32_t height) {
    stage->x = x;
    stage->y = y;
    stage->rectWidth = width;
    stage->rectHeight = height;
}

TovImage* ownTileStageView(OwnTileStage* stage, int32_t number) {
    if (stage == nullptr || number < 1 || stage->status != 0) return nullptr;
    OwnTileSlot& slot = stage->slots[number - 1];
    if (slot.useCount++ > 0) return slot.view;
    const int32_t coi = coiOf(*slot.image);
    const Point from = rectStart(*stage, slot);
    if (slot.image->tileInfo == nullptr) {
        tovSetROI(slot.stageROI, coi, from.x, from.y, stage->rectWidth, stage->rectHeight);
        slot.view = slot.stageImage;
        return slot.view;
    }
    slot.firstColumn = from.x / slot.tileWidth;
    slot.lastColumn = (from.x + stage->rectWidth - 1) / slot.tileWidth;
    slot.firstRow = from.y / slot.tileHeight;
    slot.lastRow = (from.y + stage->rectHeight - 1) / slot.tileHeight;
    slot.view = oneTile(slot) ? viewOneTile(*stage, slot, coi, {from.x % slot.tileWidth, from.y % slot.tileHeight})
                              : viewSeveralTiles(*stage, slot, coi);
    return slot.view;
}

void ownTileStageRelease(OwnTileStage* stage, int32_t number) {
    OwnTileSlot& slot = stage->slots[number - 1];
    slot.useCount = 0;
    TovTileInfo* tiles = slot.image->tileInfo;
    if (tiles == nullptr) return;
    if (!oneTile(slot)) {
        if (slot.tileTable != nullptr) releaseSeveralTiles(*stage, slot);
    } else if (tiles->tileData != nullptr) {
        tiles->callBack(slot.image, slot.firstColumn, slot.firstRow, TOV_TILE_RELEASE);
    }
}

void ownTileStageReleaseAll(OwnTileStage* stage) {
    for (int32_t number = 1; number <= stage->nSlots && stage->slots[number - 1].image != nullptr; number++) {
        if (stage->slots[number - 1].useCount > 0) ownTileStageRelease(stage, number);
    }
}

int32_t ownTileStageStatus(const OwnTileStage* stage) { return stage != nullptr ? stage->status : TOV_STS_NO_MEMORY; }

} // namespace tov
