// Painted from the outermost copy inwards until the copy that holds the sample is found. Within a
// copy, x runs from -1 to 1 and y from -9/16 to 9/16.
#include "optics/focus_chart.h"

#include "optics/paint_tools.h"
#include "optics/surface_texture.h"

namespace vcam {

static constexpr float kHalfHeight = 9.0F / 16;
static constexpr float kNesting = 3; // a copy is a third as wide as the one around it
static constexpr int kMostCopies = 6;
static constexpr float kFrame = 0.035F;
static constexpr float kTick = 0.125F;

static constexpr float kStarX = 0.68F;
static constexpr float kStarRadius = 0.25F;
static constexpr float kStarSpokes = 36;

static constexpr Rgb kPaper = {0.85F, 0.82F, 0.76F};
static constexpr Rgb kInk = {0.11F, 0.12F, 0.16F};
static constexpr Rgb kAccents[] = {
    {0.80F, 0.20F, 0.16F}, {0.93F, 0.62F, 0.13F}, {0.20F, 0.55F, 0.36F}, {0.16F, 0.37F, 0.67F}};

namespace {
struct Place {
    float x;
    float y;
    float size;
    int copy;
};
} // namespace

/// Marks are 1 where ink is; the copies alternate which of the two colours is ink.
static float markFrame(const Place &at) {
    const float edgeX = 1 - std::fabs(at.x);
    const float edgeY = kHalfHeight - std::fabs(at.y);
    if (std::min(edgeX, edgeY) > kFrame)
        return 0;
    const float along = edgeX < edgeY ? at.y : at.x;
    return paintStripes(along / kTick, at.size / kTick);
}

static float markStar(const Place &at) {
    const float x = std::fabs(at.x) - kStarX;
    const float radius = std::sqrt(x * x + at.y * at.y);
    if (radius > kStarRadius + at.size)
        return 0;
    const float phase = std::atan2(at.y, x) / kTwoPi * kStarSpokes;
    const float width = at.size * kStarSpokes / (kTwoPi * std::max(radius, at.size));
    const float rim = coverSpan(radius, kStarRadius - 0.012F, kStarRadius, at.size);
    const float inside = coverSpan(radius, -kStarRadius, kStarRadius, at.size);
    return std::max(rim, inside * paintStripes(phase, width));
}

/// Line pairs that grow finer to the right; upright above the stars, checks below them.
static float markGrating(const Place &at) {
    constexpr float kHalfBox = 0.24F;
    constexpr float kBoxY = 0.41F;
    constexpr float kBoxHalfHeight = 0.085F;
    constexpr float kPairs = 16;
    const float x = std::fabs(at.x) - kStarX;
    const float y = std::fabs(at.y) - kBoxY;
    const float inside = coverBox(x, y, kHalfBox, kBoxHalfHeight, at.size);
    if (inside <= 0)
        return 0;
    const float share = x / kHalfBox * 0.5F + 0.5F;
    const float density = kPairs / (2 * kHalfBox) * (0.5F + share);
    const float lines = paintStripes(kPairs * share * (1 + share) / 2, at.size * density);
    if (at.y < 0)
        return inside * lines;
    constexpr float kCheck = 0.0425F;
    const float across = paintStripes(x / kCheck / 2, at.size / kCheck / 2);
    const float down = paintStripes(y / kCheck / 2, at.size / kCheck / 2);
    return inside * (across * (1 - down) + (1 - across) * down);
}

/// Glyphs of hashed dots in a 5 x 7 cell, like lines of small print.
static float markText(const Place &at) {
    constexpr float kHalfBox = 0.35F;
    constexpr float kTop = 0.225F;
    constexpr float kBottom = 0.505F;
    constexpr int kDotsAcross = 5;
    constexpr int kDotsDown = 7;
    constexpr float kDot = 0.0056F;
    const float fromTop = std::fabs(at.y) - kTop;
    if (std::fabs(at.x) > kHalfBox || fromTop < 0 || fromTop > kBottom - kTop)
        return 0;
    const int dotX = floorToInt((at.x + kHalfBox) / kDot);
    const int dotY = floorToInt(fromTop / kDot);
    const int glyph = dotX / kDotsAcross;
    const int line = dotY / (kDotsDown + 1) + (at.y < 0 ? 0 : 100);
    const bool isGap = dotX % kDotsAcross == 0 || dotY % (kDotsDown + 1) > kDotsDown - 2 ||
                       hashUnit(glyph, line, 1) < 0.17F;
    if (isGap)
        return 0;
    const float blurred = std::clamp(at.size / kDot - 0.5F, 0.0F, 1.0F);
    const float dot = hashUnit(dotX, dotY + line * 64, 2) < 0.55F ? 1.0F : 0.0F;
    return dot + (0.55F - dot) * blurred;
}

/// Colour patches between the chart's middle and its stars.
static bool findAccent(const Place &at, Rgb &accent) {
    constexpr float kPatchX = 0.385F;
    constexpr float kPatchHalfWidth = 0.025F;
    constexpr float kPatchHalfHeight = 0.18F;
    const bool isPatch = std::fabs(std::fabs(at.x) - kPatchX) < kPatchHalfWidth &&
                         std::fabs(at.y) < kPatchHalfHeight;
    if (!isPatch)
        return false;
    const float share = (at.y + kPatchHalfHeight) / (2 * kPatchHalfHeight);
    accent = kAccents[std::clamp(static_cast<int>(share * 4), 0, 3)];
    return true;
}

static Place findCopy(const SceneSample &at) {
    Place place = {at.x / kBoardHalfWidth, at.y / kBoardHalfWidth, at.size / kBoardHalfWidth, 0};
    while (std::fabs(place.x) < 1 / kNesting && std::fabs(place.y) < kHalfHeight / kNesting &&
           place.copy < kMostCopies) {
        place = {place.x * kNesting, place.y * kNesting, place.size * kNesting, place.copy + 1};
    }
    return place;
}

Rgb paintChart(const SceneSample &at) {
    const Place place = findCopy(at);
    const bool isReversed = place.copy % 2 == 1;
    const Rgb &paper = isReversed ? kInk : kPaper;
    const Rgb &ink = isReversed ? kPaper : kInk;
    Rgb accent{};
    if (findAccent(place, accent))
        return accent;
    const float mark = std::max(std::max(markFrame(place), markStar(place)),
                                std::max(markGrating(place), markText(place)));
    return mixColours(paper, ink, mark);
}

} // namespace vcam
