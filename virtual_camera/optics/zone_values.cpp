// Per zoom key, a table of every zone's value over the diameter of the blur disc: the square root
// of the zone's energy with each frequency attenuated as the disc does. A frame blends four rows
// of two tables and adds noise, which takes microseconds; a row is worked out when first needed.
#include "optics/zone_values.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "clock/seeded_random.h"
#include "clock/trace.h"
#include "flaws/flaws.h"
#include "optics/key_spectra.h"
#include "optics/lens_curves.h"
#include "optics/optical_model.h"
#include "optics/scene.h"

namespace vcam {

static constexpr double kPi = 3.14159265358979323846;
static constexpr uint64_t kNoisePurpose = 3;
static constexpr float kFullCounts = 65535;
static constexpr float kCountsPerLevel = 257;

/// Blur levels: quarter pixels of disc diameter first, then a constant ratio.
static constexpr size_t kFineLevels = 64;
static constexpr double kFineStep = 0.25;
static constexpr double kFineEnd = kFineLevels * kFineStep;
static constexpr size_t kCoarseLevels = 128;
static constexpr double kLargestDisc = 2000;
static constexpr size_t kLevelCount = kFineLevels + kCoarseLevels + 1;

static constexpr int kWeights[kZoneRows][kZoneColumns] = {
    {1, 1, 1, 1, 1, 1, 1, 1}, {1, 2, 2, 2, 2, 2, 2, 1}, {1, 2, 2, 2, 2, 2, 2, 1},
    {1, 2, 2, 3, 3, 2, 2, 1}, {1, 2, 2, 3, 3, 2, 2, 1}, {1, 2, 2, 2, 2, 2, 2, 1},
    {1, 2, 2, 2, 2, 2, 2, 1}, {1, 1, 1, 1, 1, 1, 1, 1},
};
static constexpr size_t kCentreFrom = 2;
static constexpr size_t kCentreTo = 5;

/// Every band's value of every zone, at one blur level.
using BandRows = std::array<ZoneRow, kBandCount>;

/// What a blur level leaves of the energy in each frequency bin.
using Attenuation = std::array<float, kBinCount>;

namespace {
/// A table that is filled row by row. Its rows are not cleared first: most are never touched.
template <typename Row> struct LazyTable {
    std::array<bool, kLevelCount> isFilled;
    std::array<Row, kLevelCount> rows;

    LazyTable() { isFilled.fill(false); }
};

struct KeyTable {
    LazyTable<BandRows> counts;
    float countsPerLevel;
};

struct Engine {
    uint64_t seed = 1;
    float noise = 1;
    bool isGaussian = false;
    LazyTable<Attenuation> attenuation;
    std::array<std::unique_ptr<KeyTable>, kKeyCount> tables;
};
} // namespace

static Engine &engine() {
    static Engine state;
    return state;
}

static double levelDiameter(size_t level) {
    if (level <= kFineLevels)
        return static_cast<double>(level) * kFineStep;
    const double share = static_cast<double>(level - kFineLevels) / kCoarseLevels;
    return kFineEnd * std::pow(kLargestDisc / kFineEnd, share);
}

static double findLevel(double diameter) {
    if (diameter <= kFineEnd)
        return diameter / kFineStep;
    const double share = std::log(diameter / kFineEnd) / std::log(kLargestDisc / kFineEnd);
    return kFineLevels + std::min(share, 1.0) * kCoarseLevels;
}

/// Transfer function of a uniform disc. Its side lobes let a fine pattern rise again out of focus.
static double transferDisc(double diameter, double frequency) {
    const double x = kPi * diameter * frequency;
    return x < 1e-6 ? 1.0 : 2 * j1(x) / x;
}

/// A Gaussian as wide as the disc, root mean square.
static double transferGaussian(double diameter, double frequency) {
    const double x = kPi * diameter / 4 * frequency;
    return std::exp(-2 * x * x);
}

/// Mean over the bin, so that a side lobe narrower than a bin does not depend on where it falls.
static double attenuateBin(size_t bin, double diameter, bool isGaussian) {
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

static const Attenuation &attenuationAt(size_t level) {
    LazyTable<Attenuation> &table = engine().attenuation;
    if (!table.isFilled[level]) {
        for (size_t bin = 0; bin < kBinCount; ++bin) {
            table.rows[level][bin] =
                static_cast<float>(attenuateBin(bin, levelDiameter(level), engine().isGaussian));
        }
        table.isFilled[level] = true;
    }
    return table.rows[level];
}

/// Energies first, then their roots: loops over the zones, which the compiler turns into vectors.
static void blurView(const ViewSpectra &view, size_t level, float countsPerLevel,
                     BandRows &counts) {
    const Attenuation &attenuation = attenuationAt(level);
    for (size_t band = 0; band < kBandCount; ++band) {
        ZoneRow energy{};
        for (size_t bin = 0; bin < kBinCount; ++bin) {
            for (size_t zone = 0; zone < kZoneCount; ++zone)
                energy[zone] += view.energies[band][bin][zone] * attenuation[bin];
        }
        for (size_t zone = 0; zone < kZoneCount; ++zone)
            counts[band][zone] = std::sqrt(energy[zone]) * countsPerLevel;
    }
}

/// Weighted average over all zones, or over the middle ones only.
static double average(const ZoneRow &row, bool isCentre) {
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
static double chooseScale(const ViewSpectra &view) {
    BandRows levels;
    blurView(view, 0, 1, levels);
    const double contrast = std::sqrt(average(levels[kH1], true) * average(levels[kH1], false));
    if (contrast <= 0)
        return 0;
    const double wanted =
        kOptics.focusedCounts * std::pow(contrast / kOptics.usualContrast, kOptics.contrastShare);
    const double scale = std::clamp(wanted, kOptics.leastCounts, kOptics.mostCounts) / contrast;
    return std::min(scale, kOptics.mostCountsPerLevel);
}

static KeyTable &tableOf(size_t key) {
    std::unique_ptr<KeyTable> &table = engine().tables[key];
    if (table == nullptr) {
        table.reset(new KeyTable);
        table->countsPerLevel = static_cast<float>(chooseScale(spectraOfKey(key)));
    }
    return *table;
}

static const BandRows &countsOf(size_t key, size_t level) {
    KeyTable &table = tableOf(key);
    if (!table.counts.isFilled[level]) {
        blurView(spectraOfKey(key), level, table.countsPerLevel, table.counts.rows[level]);
        table.counts.isFilled[level] = true;
    }
    return table.counts.rows[level];
}

static void blendRow(ZoneRow &sum, const ZoneRow &row, float weight) {
    for (size_t zone = 0; zone < kZoneCount; ++zone)
        sum[zone] += weight * row[zone];
}

/// What one key's table gives between two of its blur levels.
static void blendKey(size_t key, double level, float weight, ZoneValues &values) {
    const size_t lower = std::min(static_cast<size_t>(level), kLevelCount - 2);
    const auto share = static_cast<float>(level - static_cast<double>(lower));
    const BandRows &below = countsOf(key, lower);
    const BandRows &above = countsOf(key, lower + 1);
    for (size_t band = 0; band < kBandCount; ++band) {
        blendRow(values.band[band], below[band], weight * (1 - share));
        blendRow(values.band[band], above[band], weight * share);
    }
    blendRow(values.luminance, spectraOfKey(key).luminance, weight * kCountsPerLevel);
}

namespace {
/// What the light makes of a zone's value.
struct Sensor {
    float contrast;
    float floor;
    float deviation; // of the noise, as a share of the value
};
} // namespace

/// Draws first: what is left is a loop over the zones, which the compiler turns into vectors.
static void exposeRow(const Sensor &sensor, SeededRandom &random, ZoneRow &row) {
    ZoneRow normal;
    for (float &draw : normal)
        draw = random.drawNormal();
    for (size_t zone = 0; zone < kZoneCount; ++zone) {
        const float signal = row[zone] * sensor.contrast;
        const float clean = std::sqrt(signal * signal + sensor.floor * sensor.floor);
        const float noisy = clean * (1 + sensor.deviation * normal[zone]);
        row[zone] = std::min(noisy, kFullCounts);
    }
}

/// Noise of the frame, and the light: at night less contrast, a higher floor, more noise.
static void exposeZones(const Exposure &exposure, ZoneValues &values) {
    const double light = lightAt(exposure.places[exposure.count - 1].timeUs) * flaws().contrast;
    const double night = isNight() ? kOptics.nightContrast : 1;
    const float grain = std::sqrt(static_cast<float>(exposureGain()));
    const Sensor sensor = {static_cast<float>(night * light),
                           static_cast<float>(kOptics.floorCounts) * grain,
                           static_cast<float>(kOptics.noiseShare) * engine().noise * grain};
    SeededRandom random(engine().seed + exposure.frame, kNoisePurpose);
    for (ZoneRow &row : values.band)
        exposeRow(sensor, random, row);
}

/// A lamp blooms: the rim of its disc grows with the blur, so its zone rises out of focus.
static void lightLamps(uint64_t lampZones, double diameter, ZoneValues &values) {
    const double counts = std::min(kOptics.lampCounts * (1 + diameter / kOptics.lampRimPixels),
                                   kOptics.lampMostCounts);
    for (size_t zone = 0; zone < kZoneCount; ++zone) {
        if ((lampZones >> zone & 1) == 0)
            continue;
        for (ZoneRow &row : values.band)
            row[zone] = static_cast<float>(counts);
        values.luminance[zone] = static_cast<float>(kOptics.lampLuminance);
    }
}

static double diameterAt(const LensPlace &place, double dioptres) {
    const double halfDepths = focusErrorHalfDepthsAt(place.zoom, place.focus, dioptres);
    return std::fabs(halfDepths) * kOptics.circleUm / kOptics.pixelUm;
}

/// Without noise, everything at one distance.
static void seeScene(const LensPlace &place, double dioptres, float weight, ZoneValues &values) {
    const double level = findLevel(diameterAt(place, dioptres));
    const double at = zoomShareAt(place.zoom) * (kKeyCount - 1);
    const size_t key = std::min(static_cast<size_t>(at), kKeyCount - 2);
    const auto share = static_cast<float>(at - static_cast<double>(key));
    blendKey(key, level, weight * (1 - share), values);
    if (share > 0)
        blendKey(key + 1, level, weight * share, values);
}

static void copyZones(uint64_t zones, const ZoneValues &from, ZoneValues &to) {
    for (size_t zone = 0; zone < kZoneCount; ++zone)
        if ((zones >> zone & 1) != 0)
            for (size_t band = 0; band < kBandCount; ++band)
                to.band[band][zone] = from.band[band][zone];
}

static void seeThrough(const Exposure &exposure, ZoneValues &values) {
    const float weight = 1.0F / static_cast<float>(exposure.count);
    ZoneValues second{};
    for (size_t i = 0; i < exposure.count; ++i) {
        const LensPlace &place = exposure.places[i];
        seeScene(place, objectDioptresAt(place.timeUs), weight, values);
        if (flaws().secondDistanceM > 0)
            seeScene(place, 1 / flaws().secondDistanceM, weight, second);
    }
    if (flaws().secondDistanceM > 0)
        copyZones(flaws().secondZones, second, values);
}

/// In flat light a zone's mean does not depend on what is sharp in it.
static void dimZones(double light, ZoneValues &values) {
    for (float &value : values.luminance)
        value = std::min(value * static_cast<float>(light), kFullCounts);
}

void measureZones(const Exposure &exposure, ZoneValues &values) {
    const LensPlace &last = exposure.places[exposure.count - 1];
    values = ZoneValues{};
    seeThrough(exposure, values);
    dimZones((isNight() ? kOptics.nightLuminance : 1) * lightAt(last.timeUs), values);
    exposeZones(exposure, values);
    lightLamps(exposure.lampZones, diameterAt(last, objectDioptresAt(last.timeUs)), values);
}

void setNoise(double factor) {
    engine().noise = static_cast<float>(factor);
    trace("scene", "noise", "factor=%g", factor);
}

double noiseFactor() {
    return engine().noise;
}

double averageCentre(const ZoneValues &values) {
    return average(values.band[kH1], true);
}

double averageWhole(const ZoneValues &values) {
    return average(values.band[kH1], false);
}

void powerOnZoneValues(const CameraOptions &options) {
    engine().seed = options.seed;
    engine().noise = static_cast<float>(options.noise);
    engine().isGaussian = options.gaussianBlur;
    powerOnKeySpectra(options);
}

} // namespace vcam
