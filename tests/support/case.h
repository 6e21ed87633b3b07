// What a random case is made of: images by role, each with its options, drawn from the case's number alone.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <vector>

#include "support/block.h"
#include "support/rng.h"
#include "tov.h"

namespace tovtest {

// values: weighted to limits; runs: long runs of equal bits; areas: of equal bytes, or stripes down the rows
enum class Fill { values, bytes, zeros, ones, runs, areas };

struct ImageForm {
    uint32_t depth = TOV_DEPTH_8U;
    int32_t nChannels = 1, alpha = 0, order = TOV_DATA_ORDER_PIXEL, origin = TOV_ORIGIN_TL, align = 4;
    int32_t width = 1, height = 1;
    int32_t slack = 0; // bytes added to each row of a plain image; -1: rows follow each other without any
    bool hasRoi = false;
    TovROI roi{};
    int32_t tileWidth = 0, tileHeight = 0; // 0: a plain image
    int mask = -1;                         // index of the mask among the case's images
    int sameAs = -1;                       // this role is the very header of that role
    int sharesWith = -1;                   // a header of its own over that image's memory,
    int32_t shift = 0;                     // this many bytes further on (plain images only)
    Fill fill = Fill::values;
    const char* channelSeq = "G"; // "G" makes a GRAY image, all else an RGB one
    int32_t borderMode[4]{}, borderConst[4]{};

    int32_t bits() const { return static_cast<int32_t>(depth & 0x7FFFFFFF); }
    int32_t packedRow(int32_t pixels) const; // bytes of a row of pixels without row end
    int32_t planes() const { return order == TOV_DATA_ORDER_PLANE ? nChannels : 1; }
    int32_t rowStep() const; // of a plain image, or of a tile
    int32_t dataSize() const { return rowStep() * (tileHeight ? tileHeight : height) * planes(); }
};

struct Case {
    uint64_t number = 0;
    Fence fence = Fence::end;
    std::vector<ImageForm> images; // the roles in order, then the masks
    int32_t value = 0;             // for operations that take one

    // The image that plays a role.
    ImageForm& at(int role) { return images[resolve(role)]; }
    const ImageForm& at(int role) const { return images[resolve(role)]; }
    int resolve(int role) const { return images[role].sameAs < 0 ? role : images[role].sameAs; }
};
std::ostream& operator<<(std::ostream& out, const ImageForm& form);
std::ostream& operator<<(std::ostream& out, const Case& c);

// What a family of operations takes. Roles are in the order of arguments, the destination last.
struct Family {
    int roles = 1;
    std::vector<uint32_t> depths = {TOV_DEPTH_1U,  TOV_DEPTH_8U,  TOV_DEPTH_8S, TOV_DEPTH_16U,
                                    TOV_DEPTH_16S, TOV_DEPTH_32S, TOV_DEPTH_32F};
    bool oneOrigin = false;                  // all images have the same origin
    bool overlaps = true;                    // the destination's memory may overlap a source's
    std::function<void(Case&, Rng&)> adjust; // the family's own constraints, applied last
};

Case drawCase(uint64_t number, const Family& family);
void drawGeometry(ImageForm& form, Rng& rng);
// Adds a 1-bit image that suits the region of an image, and returns its index.
int addMask(Case& c, int owner, Rng& rng);

// Lets images of wide integers begin at any address, for families that take such.
void shiftImages(Case& c, Rng& rng);

// A case of plain images without regions, all of one kind.
Case alike(int roles, uint32_t depth, int32_t nChannels, int32_t width, int32_t height);
// Gives an image a mask of its own size.
int giveMask(Case& c, int role);

} // namespace tovtest
