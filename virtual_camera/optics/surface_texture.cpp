// One small tile of white noise, looked up once an octave with shifted origins. The tile is made
// at its first use and then only read.
#include "optics/surface_texture.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "clock/seeded_random.h"

namespace vcam {

static constexpr size_t kTileSize = 128;
static constexpr uint64_t kTileSeed = 77; // the surfaces look the same whatever the camera's seed
static constexpr int kFinestOctave = 24;

using Tile = std::array<float, kTileSize * kTileSize>;

static Tile makeTile() {
    Tile tile{};
    SeededRandom random(kTileSeed, 0);
    for (float &value : tile)
        value = random.drawNormal();
    return tile;
}

static float lookUp(const Tile &tile, float x, float y) {
    const int cellX = floorToInt(x);
    const int cellY = floorToInt(y);
    const size_t column = static_cast<unsigned>(cellX) % kTileSize;
    const size_t row = static_cast<unsigned>(cellY) % kTileSize;
    const size_t nextColumn = (column + 1) % kTileSize;
    const float *upper = &tile[row * kTileSize];
    const float *lower = &tile[(row + 1) % kTileSize * kTileSize];
    const float shareX = x - static_cast<float>(cellX);
    const float above = upper[column] + (upper[nextColumn] - upper[column]) * shareX;
    const float below = lower[column] + (lower[nextColumn] - lower[column]) * shareX;
    return above + (below - above) * (y - static_cast<float>(cellY));
}

float sampleSurface(const SceneSample &at, int firstOctave) {
    static const Tile tile = makeTile();
    const int last = std::min(static_cast<int>(at.finestOctave), kFinestOctave);
    float sum = 0;
    for (int octave = firstOctave; octave <= last; ++octave) {
        const auto texels = static_cast<float>(1 << octave);
        const float shift = 17.3F * static_cast<float>(octave);
        const float weight = std::min(1.0F, at.finestOctave - static_cast<float>(octave));
        sum += weight * lookUp(tile, at.x * texels + shift, at.y * texels - shift);
    }
    return sum;
}

float hashUnit(int first, int second, int third) {
    uint32_t value = static_cast<uint32_t>(first) * 0x9E3779B1U;
    value = (value ^ value >> 15) + static_cast<uint32_t>(second) * 0x85EBCA77U;
    value = (value ^ value >> 13) * 0xC2B2AE3DU + static_cast<uint32_t>(third) * 0x27D4EB2FU;
    value = (value ^ value >> 16) * 0x7FEB352DU;
    value = (value ^ value >> 15) * 0x846CA68BU;
    return static_cast<float>((value ^ value >> 16) >> 8) * 0x1p-24F;
}

} // namespace vcam
