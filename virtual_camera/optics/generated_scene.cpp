// Layers from front to back: board, trees, near houses, far houses, sky. The first one that holds
// the sample paints it.
#include "optics/generated_scene.h"

#include "optics/focus_chart.h"
#include "optics/paint_tools.h"
#include "optics/surface_texture.h"

namespace vcam {

static constexpr float kTop = -0.28125F;
static constexpr float kHorizon = 0.15F;

static constexpr Rgb kZenith = {0.07F, 0.11F, 0.27F};
static constexpr Rgb kDusk = {0.47F, 0.35F, 0.52F};
static constexpr Rgb kGlow = {0.99F, 0.69F, 0.42F};
static constexpr Rgb kHaze = {0.36F, 0.29F, 0.42F};
static constexpr Rgb kWall = {0.085F, 0.095F, 0.16F};
static constexpr Rgb kWarmPane = {1.0F, 0.82F, 0.47F};
static constexpr Rgb kCoolPane = {0.72F, 0.86F, 1.0F};
static constexpr Rgb kDarkPane = {0.17F, 0.20F, 0.30F};
static constexpr Rgb kLeafShade = {0.025F, 0.055F, 0.045F};
static constexpr Rgb kLeafLight = {0.30F, 0.38F, 0.15F};

namespace {
/// A row of houses: how wide a house is, how high it may be, how large its windows are.
struct Row {
    float houseWidth;
    float baseHeight;
    float extraHeight;
    float window;
    float litShare;
    int salt;
};
} // namespace

static constexpr Row kFarRow = {0.023F, 0.045F, 0.14F, 0.0040F, 0.36F, 11};
static constexpr Row kNearRow = {0.058F, 0.060F, 0.24F, 0.0085F, 0.30F, 23};

static float houseHeight(const Row &row, int house) {
    const float variety = hashUnit(house, row.salt, 1);
    return row.baseHeight + row.extraHeight * variety * variety;
}

static Rgb paintSky(const SceneSample &at) {
    const float share = std::clamp((at.y - kTop) / (kHorizon - kTop), 0.0F, 1.0F);
    Rgb sky = share < 0.55F ? mixColours(kZenith, kDusk, share / 0.55F)
                            : mixColours(kDusk, kGlow, (share - 0.55F) / 0.45F);
    const float sunX = at.x - 0.27F;
    const float sunY = at.y - 0.10F;
    const float glow = 0.012F / (0.012F + sunX * sunX + 3 * sunY * sunY);
    sky = mixColours(sky, {1.0F, 0.86F, 0.60F}, 0.55F * glow);
    const SceneSample drawnOut = {at.x, 3.5F * at.y, 0.02F, 5.6F};
    const float cloud = std::clamp(0.16F * sampleSurface(drawnOut, 2), -0.1F, 0.5F);
    return mixColours(sky, {0.98F, 0.62F, 0.50F}, 0.6F * cloud);
}

/// A pane with a cross bar and a sill; what lies behind it is lit or not.
static Rgb paintWindow(const Row &row, const SceneSample &at, float fromTop, const Rgb &wall) {
    const float cell = row.window;
    const int column = floorToInt(at.x / cell);
    const int storey = floorToInt(fromTop / (1.4F * cell));
    const float x = at.x - (static_cast<float>(column) + 0.5F) * cell;
    const float y = fromTop - (static_cast<float>(storey) + 0.5F) * 1.4F * cell;
    const float pane = coverBox(x, y, 0.32F * cell, 0.42F * cell, at.size) *
                       (1 - coverSpan(x, -0.03F * cell, 0.03F * cell, at.size)) *
                       (1 - coverSpan(y, -0.13F * cell, -0.08F * cell, at.size));
    const int second = storey + row.salt * 1000;
    Rgb light = kDarkPane;
    if (hashUnit(column, second, 3) < row.litShare) {
        light = hashUnit(column, second, 4) < 0.8F ? kWarmPane : kCoolPane;
        light = scaleColour(light, 0.55F + 0.45F * hashUnit(column, second, 5));
    }
    return mixColours(wall, light, pane);
}

/// False where the row's houses leave the view open.
static bool paintHouses(const Row &row, const Rgb &wallColour, const SceneSample &at, Rgb &colour) {
    const int house = floorToInt(at.x / row.houseWidth);
    const float fromTop = at.y - (kHorizon - houseHeight(row, house));
    const float middle = (static_cast<float>(house) + 0.5F) * row.houseWidth;
    const float mastHalf = 0.012F * row.houseWidth;
    const bool isMast = hashUnit(house, row.salt, 6) < 0.35F && fromTop > -0.35F * row.houseWidth &&
                        std::fabs(at.x - middle) < mastHalf + at.size / 2;
    if (fromTop < 0 && !isMast)
        return false;
    const float tone = 0.8F + 0.5F * hashUnit(house, row.salt, 2);
    const float falloff = 1.0F + 0.9F * std::max(0.0F, fromTop);
    colour = scaleColour(wallColour, tone * falloff);
    const float edge = std::fabs(at.x - middle) / row.houseWidth;
    const bool isFacade = edge < 0.46F && fromTop > 0.6F * row.window;
    if (isFacade)
        colour = paintWindow(row, at, fromTop, colour);
    return true;
}

/// Crowns of trees along the lower edge, lit from the right.
static bool paintTrees(const SceneSample &at, Rgb &colour) {
    constexpr float kHighestCrown = 0.16F;
    if (at.y < kHighestCrown)
        return false;
    const SceneSample alongTop = {at.x, 0.37F, 0.004F, 8.0F};
    const float crown = std::max(kHighestCrown, 0.205F + 0.008F * sampleSurface(alongTop, 3));
    if (at.y < crown)
        return false;
    constexpr int kCoarsestLeaf = 5;
    const float leaf = 0.16F * sampleSurface(at, kCoarsestLeaf);
    const float depth = (at.y - crown) / 0.12F;
    colour =
        mixColours(kLeafShade, kLeafLight, std::clamp(0.40F + leaf - 0.30F * depth, 0.0F, 1.0F));
    return true;
}

static bool paintBoard(const SceneSample &at, Rgb &colour) {
    constexpr float kRim = 0.006F;
    constexpr float kPostX = 0.13F;
    constexpr float kPostHalf = 0.006F;
    const float x = std::fabs(at.x);
    const float y = std::fabs(at.y);
    if (x < kBoardHalfWidth && y < kBoardHalfHeight) {
        colour = paintChart(at);
        return true;
    }
    const bool isRim = x < kBoardHalfWidth + kRim && y < kBoardHalfHeight + kRim;
    const bool isPost = at.y > 0 && std::fabs(x - kPostX) < kPostHalf;
    colour = {0.16F, 0.17F, 0.20F};
    return isRim || isPost;
}

static Rgb paintLayers(const SceneSample &at, bool &hasSurface) {
    Rgb colour{};
    hasSurface = true;
    if (paintTrees(at, colour) || paintBoard(at, colour) ||
        paintHouses(kNearRow, kWall, at, colour) || paintHouses(kFarRow, kHaze, at, colour)) {
        return colour;
    }
    hasSurface = false;
    return paintSky(at);
}

Rgb paintScene(const SceneSample &at) {
    constexpr float kSurfaceContrast = 0.05F;
    constexpr int kGrainOctaves = 2;
    bool hasSurface = false;
    const Rgb colour = paintLayers(at, hasSurface);
    if (!hasSurface)
        return colour;
    const float grain =
        kSurfaceContrast * sampleSurface(at, static_cast<int>(at.finestOctave) + 1 - kGrainOctaves);
    return scaleColour(colour, std::max(0.0F, 1 + grain));
}

} // namespace vcam
