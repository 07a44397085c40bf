// Per zoom key, a table of every zone's value over the diameter of the blur disc: the square root
// of the zone's energy with each frequency attenuated as the disc does. A frame blends four rows
// of two tables and adds noise, which takes microseconds; tables are built when first needed.
#include "optics/zone_values.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "devices/seeded_random.h"
#include "optics/lens_curves.h"
#include "optics/optical_model.h"
#include "optics/scene.h"

namespace vcam {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr uint64_t kNoisePurpose = 3;
constexpr float kFullCounts = 65535;
constexpr float kCountsPerLevel = 257;

/// Zoom keys lie evenly in the logarithm of the focal length.
constexpr size_t kKeyCount = 41;

/// Blur levels: quarter pixels of disc diameter first, then a constant ratio.
constexpr size_t kFineLevels = 64;
constexpr double kFineStep = 0.25;
constexpr double kFineEnd = kFineLevels * kFineStep;
constexpr size_t kCoarseLevels = 128;
constexpr double kLargestDisc = 2000;
constexpr size_t kLevelCount = kFineLevels + kCoarseLevels + 1;

constexpr int kWeights[kZoneRows][kZoneColumns] = {
    {1, 1, 1, 1, 1, 1, 1, 1}, {1, 2, 2, 2, 2, 2, 2, 1}, {1, 2, 2, 2, 2, 2, 2, 1},
    {1, 2, 2, 3, 3, 2, 2, 1}, {1, 2, 2, 3, 3, 2, 2, 1}, {1, 2, 2, 2, 2, 2, 2, 1},
    {1, 2, 2, 2, 2, 2, 2, 1}, {1, 1, 1, 1, 1, 1, 1, 1},
};
constexpr size_t kCentreFrom = 2;
constexpr size_t kCentreTo = 5;

using ZoneRow = std::array<float, kZoneCount>;

struct KeyTable {
    std::array<std::array<ZoneRow, kBandCount>, kLevelCount> counts;
    ZoneRow luminance;
};

using Attenuation = std::array<std::array<float, kBinCount>, kLevelCount>;

struct Engine {
    uint64_t seed = 1;
    float noise = 1;
    Attenuation attenuation{};
    std::array<std::unique_ptr<KeyTable>, kKeyCount> tables;
};

Engine &engine() {
    static Engine state;
    return state;
}

double levelDiameter(size_t level) {
    if (level <= kFineLevels) {
        return static_cast<double>(level) * kFineStep;
    }
    const double share = static_cast<double>(level - kFineLevels) / kCoarseLevels;
    return kFineEnd * std::pow(kLargestDisc / kFineEnd, share);
}

double findLevel(double diameter) {
    if (diameter <= kFineEnd) {
        return diameter / kFineStep;
    }
    const double share = std::log(diameter / kFineEnd) / std::log(kLargestDisc / kFineEnd);
    return kFineLevels + std::min(share, 1.0) * kCoarseLevels;
}

/// Transfer function of a uniform disc. Its side lobes let a fine pattern rise again out of focus.
double transferDisc(double diameter, double frequency) {
    const double x = kPi * diameter * frequency;
    return x < 1e-6 ? 1.0 : 2 * j1(x) / x;
}

/// A Gaussian as wide as the disc, root mean square.
double transferGaussian(double diameter, double frequency) {
    const double x = kPi * diameter / 4 * frequency;
    return std::exp(-2 * x * x);
}

/// Mean over the bin, so that a side lobe narrower than a bin does not depend on where it falls.
double attenuateBin(size_t bin, double diameter, bool isGaussian) {
    constexpr int kParts = 8;
    double sum = 0;
    for (int part = 0; part < kParts; ++part) {
        const double share = (part + 0.5) / kParts;
        const double frequency = binEdge(bin) * std::pow(binEdge(bin + 1) / binEdge(bin), share);
        const double left =
            isGaussian ? transferGaussian(diameter, frequency) : transferDisc(diameter, frequency);
        sum += left * left;
    }
    return sum / kParts;
}

void tabulateAttenuation(bool isGaussian, Attenuation &attenuation) {
    for (size_t level = 0; level < kLevelCount; ++level) {
        for (size_t bin = 0; bin < kBinCount; ++bin) {
            attenuation[level][bin] =
                static_cast<float>(attenuateBin(bin, levelDiameter(level), isGaussian));
        }
    }
}

float blurredEnergy(const BinEnergies &energies, const std::array<float, kBinCount> &attenuation) {
    float sum = 0;
    for (size_t bin = 0; bin < kBinCount; ++bin) {
        sum += energies[bin] * attenuation[bin];
    }
    return sum;
}

/// Weighted average over all zones, or over the middle ones only.
double average(const ZoneRow &row, bool isCentre) {
    double sum = 0;
    int weights = 0;
    const size_t from = isCentre ? kCentreFrom : 0;
    const size_t to = isCentre ? kCentreTo : kZoneRows - 1;
    for (size_t y = from; y <= to; ++y) {
        for (size_t x = from; x <= to; ++x) {
            sum += kWeights[y][x] * static_cast<double>(row[y * kZoneColumns + x]);
            weights += kWeights[y][x];
        }
    }
    return sum / weights;
}

/// Counts per level of contrast for this view: the engine's shifts and the exposure follow it.
double chooseScale(const KeyTable &table) {
    const ZoneRow &focused = table.counts[0][kH1];
    const double contrast = std::sqrt(average(focused, true) * average(focused, false));
    if (contrast <= 0) {
        return 0;
    }
    const double wanted =
        kOptics.focusedCounts * std::pow(contrast / kOptics.usualContrast, kOptics.contrastShare);
    const double scale = std::clamp(wanted, kOptics.leastCounts, kOptics.mostCounts) / contrast;
    return std::min(scale, kOptics.mostCountsPerLevel);
}

std::unique_ptr<KeyTable> buildTable(size_t key) {
    const double share = static_cast<double>(key) / (kKeyCount - 1);
    const ViewSpectra view =
        analyseView(std::pow(kOptics.teleFocalMm / kOptics.wideFocalMm, share));
    auto table = std::make_unique<KeyTable>();
    for (size_t level = 0; level < kLevelCount; ++level) {
        const std::array<float, kBinCount> &attenuation = engine().attenuation[level];
        for (size_t band = 0; band < kBandCount; ++band) {
            for (size_t zone = 0; zone < kZoneCount; ++zone) {
                table->counts[level][band][zone] =
                    std::sqrt(blurredEnergy(view.energies[band][zone], attenuation));
            }
        }
    }
    const auto scale = static_cast<float>(chooseScale(*table));
    for (auto &level : table->counts) {
        for (ZoneRow &row : level) {
            for (float &value : row) {
                value *= scale;
            }
        }
    }
    table->luminance = view.luminance;
    return table;
}

const KeyTable &tableOf(size_t key) {
    std::unique_ptr<KeyTable> &table = engine().tables[key];
    if (table == nullptr) {
        table = buildTable(key);
    }
    return *table;
}

void blendRow(ZoneRow &sum, const ZoneRow &row, float weight) {
    for (size_t zone = 0; zone < kZoneCount; ++zone) {
        sum[zone] += weight * row[zone];
    }
}

/// What one key's table gives between two of its blur levels.
void blendKey(const KeyTable &table, double level, float weight, ZoneValues &values) {
    const size_t lower = std::min(static_cast<size_t>(level), kLevelCount - 2);
    const auto share = static_cast<float>(level - static_cast<double>(lower));
    for (size_t band = 0; band < kBandCount; ++band) {
        blendRow(values.band[band], table.counts[lower][band], weight * (1 - share));
        blendRow(values.band[band], table.counts[lower + 1][band], weight * share);
    }
    blendRow(values.luminance, table.luminance, weight * kCountsPerLevel);
}

/// Noise of the frame, and the light: at night less contrast, a higher floor, more noise.
void exposeZones(uint64_t frame, ZoneValues &values) {
    const float contrast = isNight() ? static_cast<float>(kOptics.nightContrast) : 1.0F;
    const float grain = std::sqrt(static_cast<float>(exposureGain()));
    const float floor = static_cast<float>(kOptics.floorCounts) * grain;
    const float deviation = static_cast<float>(kOptics.noiseShare) * engine().noise * grain;
    SeededRandom random(engine().seed + frame, kNoisePurpose);
    for (ZoneRow &row : values.band) {
        for (float &value : row) {
            const float signal = value * contrast;
            const float clean = std::sqrt(signal * signal + floor * floor);
            const float noisy = clean * (1 + deviation * random.drawNormal());
            value = std::min(noisy, kFullCounts);
        }
    }
}

/// A lamp blooms: the rim of its disc grows with the blur, so its zone rises out of focus.
void lightLamps(uint64_t lampZones, double diameter, ZoneValues &values) {
    const double counts = std::min(kOptics.lampCounts * (1 + diameter / kOptics.lampRimPixels),
                                   kOptics.lampMostCounts);
    for (size_t zone = 0; zone < kZoneCount; ++zone) {
        if ((lampZones >> zone & 1) == 0) {
            continue;
        }
        for (ZoneRow &row : values.band) {
            row[zone] = static_cast<float>(counts);
        }
        values.luminance[zone] = static_cast<float>(kOptics.lampLuminance);
    }
}

} // namespace

void measureZones(int zoom, int focus, uint64_t frame, uint64_t lampZones, ZoneValues &values) {
    const double diameter =
        std::fabs(focusErrorHalfDepthsAt(zoom, focus)) * kOptics.circleUm / kOptics.pixelUm;
    const double level = findLevel(diameter);
    const double place = zoomShareAt(zoom) * (kKeyCount - 1);
    const size_t key = std::min(static_cast<size_t>(place), kKeyCount - 2);
    const auto share = static_cast<float>(place - static_cast<double>(key));
    values = ZoneValues{};
    blendKey(tableOf(key), level, 1 - share, values);
    if (share > 0) {
        blendKey(tableOf(key + 1), level, share, values);
    }
    if (isNight()) {
        for (float &value : values.luminance) {
            value *= static_cast<float>(kOptics.nightLuminance);
        }
    }
    exposeZones(frame, values);
    lightLamps(lampZones, diameter, values);
}

double averageCentre(const ZoneValues &values) {
    return average(values.band[kH1], true);
}

double averageWhole(const ZoneValues &values) {
    return average(values.band[kH1], false);
}

void powerOnZoneValues(const CameraOptions &options) {
    engine() = Engine{};
    engine().seed = options.seed;
    engine().noise = static_cast<float>(options.noise);
    tabulateAttenuation(options.gaussianBlur, engine().attenuation);
}

} // namespace vcam
