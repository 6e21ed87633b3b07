// Drawing of cases for the alpha operations.
#include "alpha/calls.h"

#include <algorithm>

#include "reference/alpha.h"

namespace tovtest {
namespace {

void drawRoles(Case& c, Rng& rng) {
    const auto shares = [](const ImageForm& form) { return form.sharesWith >= 0; };
    if (std::any_of(c.images.begin(), c.images.end(), shares)) return;
    c.images[roleDst].sameAs = rng.oneIn(3) ? c.resolve(rng.between(roleA, roleB)) : -1;
    for (int role : {roleAlphaA, roleAlphaB, roleAlphaDst}) {
        if (rng.oneIn(4)) c.images[role].sameAs = c.resolve(rng.pick({roleA, roleB, roleDst}));
    }
}

void chooseChannel(ImageForm& form, int32_t coi) {
    if (!form.hasRoi && coi) {
        form.hasRoi = true;
        form.roi = {0, 0, 0, form.width, form.height};
    }
    form.roi.coi = coi;
}

void drawCompositeChannels(Case& c, bool whole, Rng& rng) {
    const bool chosen = !whole && rng.oneIn(4);
    const int32_t colours = whole ? 3 : chosen ? 1 : rng.pick({0, 1, 1, 2, 3, 3, 4});
    for (int role : {roleA, roleB, roleDst}) {
        ImageForm& form = c.images[role];
        if (form.sameAs >= 0) continue;
        form.nChannels = chosen ? rng.between(1, 4) : colours;
        chooseChannel(form, chosen ? rng.between(1, form.nChannels) : 0);
        form.alpha = whole || colours == 0 || rng.oneIn(2) ? ++form.nChannels : 0;
    }
    if (!CompositeValue(c.value).alphaA && c.at(roleA).alpha == 0) c.at(roleA).alpha = ++c.at(roleA).nChannels;
    for (int role : {roleAlphaA, roleAlphaB, roleAlphaDst}) {
        ImageForm& form = c.images[role];
        if (form.sameAs >= 0) continue;
        form.nChannels = rng.between(1, 3);
        chooseChannel(form, form.hasRoi ? rng.between(0, form.nChannels) : 0);
        form.alpha = role == roleAlphaDst || rng.oneIn(2) ? form.nChannels : 0;
    }
    if (c.at(roleAlphaDst).alpha == 0) c.value %= 96;
}

// Rows of several blocks of the kernels.
void widen(Case& c, Rng& rng) {
    for (const ImageForm& form : c.images) {
        if (form.tileWidth || form.mask >= 0 || form.sharesWith >= 0) return;
    }
    for (ImageForm& form : c.images) {
        form.width = rng.between(500, 1100);
        form.height = 2;
        form.roi = {form.roi.coi, 0, 0, form.width, 2};
    }
}

void adjustComposite(Case& c, Rng& rng) {
    c.value = rng.between(0, CompositeValue::kCount - 1);
    const bool whole = rng.oneIn(3); // pixels of three colours and alpha throughout
    if (whole) c.value %= 24;
    drawRoles(c, rng);
    drawCompositeChannels(c, whole, rng);
    const bool mixed = rng.oneIn(2);
    for (int role = roleA; role <= roleDst; ++role) {
        if (whole) c.images[role].order = TOV_DATA_ORDER_PIXEL;
        if (!whole && mixed) c.images[role].order = rng.between(0, 1);
    }
    if (rng.oneIn(10)) widen(c, rng);
}

Sweep sweepOf(int roles) {
    Sweep sweep;
    sweep.family.roles = roles;
    sweep.family.depths = {TOV_DEPTH_8U, TOV_DEPTH_16U};
    sweep.family.adjust = [roles](Case& c, Rng& rng) {
        for (int i = 0; i < roles && rng.oneIn(3); ++i) c.images[i].order = rng.between(0, 1);
    };
    sweep.cases = 5000;
    sweep.mustMeet = {"runs", "planes", "samples", "masked", "merged", "tiled", "gathered", "overlap"};
    return sweep;
}

} // namespace

Sweep compositeSweep() {
    Sweep sweep = sweepOf(6);
    sweep.family.adjust = adjustComposite;
    sweep.product = [](Scene& s) {
        const CompositeValue v(s.of.value);
        tovAlphaComposite(s[roleA], s[roleB], s[roleDst], v.type, v.alphaA ? s[roleAlphaA] : nullptr,
                          v.alphaB ? s[roleAlphaB] : nullptr, v.alphaDst ? s[roleAlphaDst] : nullptr, v.premultiplied,
                          v.divides);
    };
    sweep.model = [](Scene& s) {
        const CompositeValue v(s.of.value);
        const auto given = [&s](bool is, int role) { return is ? &s.at(role) : nullptr; };
        composeImages(
            s, {&s.at(roleA), &s.at(roleB), &s.at(roleDst), given(v.alphaA, roleAlphaA), given(v.alphaB, roleAlphaB),
                given(v.alphaDst, roleAlphaDst), v.type, v.premultiplied, v.divides});
    };
    sweep.cases = 8000;
    sweep.mustMeet = {"complement", "in place", "divides", "masked", "merged", "tiled", "gathered", "overlap"};
    return sweep;
}

Sweep productSweep() {
    Sweep sweep = sweepOf(3);
    sweep.product = [](Scene& s) { tovMultiplyScale(s[0], s[1], s[2]); };
    sweep.model = [](Scene& s) { multiplyImages(s, "tovMultiplyScale", {&s.at(0), &s.at(1)}, s.at(2), 0); };
    return sweep;
}

Sweep scalarSweep() {
    Sweep sweep = sweepOf(2);
    sweep.product = [](Scene& s) { tovMultiplySScale(s[0], s[1], s.of.value); };
    sweep.model = [](Scene& s) { multiplyImages(s, "tovMultiplySScale", {&s.at(0)}, s.at(1), s.of.value); };
    return sweep;
}

} // namespace tovtest
