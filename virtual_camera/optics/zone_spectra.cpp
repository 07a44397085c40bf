// A zone is sampled along six of its rows and six of its columns at full resolution. Two lines
// are transformed at once, one as the real and one as the imaginary part: only the sum of their
// powers is wanted. Structure that is neither upright nor level counts by its share along each.
#include "optics/zone_spectra.h"

#include <cmath>
#include <complex>

#include "optics/optical_model.h"
#include "optics/scene_sample.h"
#include "optics/scene_view.h"

namespace vcam {

static constexpr double kPi = 3.14159265358979323846;
static constexpr int kLines = 6;
static constexpr size_t kZoneWidth = kViewWidth / kZoneColumns;
static constexpr size_t kZoneHeight = kViewHeight / kZoneRows;
static constexpr float kFullScale = 255;

using Sample = std::complex<float>;

namespace {
/// Power spectra of lines of a fixed length, a power of two.
template <size_t Length> class LineTransform {
public:
    LineTransform() {
        double windowEnergy = 0;
        for (size_t index = 0; index < Length; ++index) {
            const double angle = 2 * kPi * static_cast<double>(index) / Length;
            window[index] = static_cast<float>(0.5 - 0.5 * std::cos(angle));
            windowEnergy += window[index] * window[index];
            turns[index] = {static_cast<float>(std::cos(angle)),
                            -static_cast<float>(std::sin(angle))};
        }
        // Half of it for the two lines that share a transform, twice for the negative frequencies.
        scale = static_cast<float>(1.0 / (Length * windowEnergy));
    }

    /// Adds the power of two lines at each frequency index / Length below one half.
    void addPower(std::array<Sample, Length> &lines, std::array<float, Length / 2> &power) const {
        Sample mean{};
        for (const Sample &sample : lines)
            mean += sample;
        mean /= static_cast<float>(Length);
        for (size_t index = 0; index < Length; ++index)
            lines[index] = (lines[index] - mean) * window[index];
        transform(lines);
        for (size_t index = 1; index < Length / 2; ++index)
            power[index] += scale * (std::norm(lines[index]) + std::norm(lines[Length - index]));
    }

private:
    /// In place, decimation in time.
    void transform(std::array<Sample, Length> &lines) const {
        for (size_t index = 1, mirrored = 0; index < Length; ++index) {
            size_t bit = Length >> 1;
            for (; (mirrored & bit) != 0; bit >>= 1)
                mirrored ^= bit;
            mirrored ^= bit;
            if (index < mirrored)
                std::swap(lines[index], lines[mirrored]);
        }
        for (size_t half = 1; half < Length; half *= 2) {
            for (size_t start = 0; start < Length; start += 2 * half) {
                for (size_t index = 0; index < half; ++index) {
                    combine(lines[start + index], lines[start + index + half],
                            turns[index * (Length / 2 / half)]);
                }
            }
        }
    }

    static void combine(Sample &upper, Sample &lower, const Sample &turn) {
        const Sample turned = {lower.real() * turn.real() - lower.imag() * turn.imag(),
                               lower.real() * turn.imag() + lower.imag() * turn.real()};
        lower = upper - turned;
        upper += turned;
    }

    std::array<float, Length> window{};
    std::array<Sample, Length> turns{};
    float scale = 0;
};
} // namespace

static constexpr size_t kRowLength = 256;    // a zone's 240 pixels and a few of its neighbours'
static constexpr size_t kColumnLength = 128; // most of a zone's 135

/// Energy left of a frequency by the sensor's pixels and a perfectly focused lens.
static double lensEnergy(double frequency) {
    const double phase = kPi * frequency;
    const double pixel = std::sin(phase) / phase;
    const double lens = std::exp(-std::pow(frequency / kOptics.lensCutoff, 2));
    return pixel * pixel * lens * lens;
}

/// Energy that a band's filter lets through.
static double bandEnergy(size_t band, double frequency) {
    const double centre = kOptics.centre[band];
    const double detuning = kOptics.quality[band] * (frequency / centre - centre / frequency);
    const double gain = 1 / (1 + detuning * detuning);
    return gain * gain;
}

namespace {
/// For each frequency of a line: its bin and what each band's filter leaves of it.
template <size_t Length> struct Filters {
    std::array<size_t, Length / 2> bin{}; // kBinCount where it is too low for any
    std::array<std::array<float, Length / 2>, kBandCount> energy{};

    Filters() {
        const double ratio = std::log(binEdge(1) / binEdge(0));
        for (size_t index = 1; index < Length / 2; ++index) {
            const double frequency = static_cast<double>(index) / Length;
            const double place = std::log(frequency / kLowestFrequency) / ratio;
            bin[index] = place < 0 ? size_t{kBinCount} : static_cast<size_t>(place + 1e-9);
            for (size_t band = 0; band < kBandCount; ++band) {
                energy[band][index] =
                    static_cast<float>(lensEnergy(frequency) * bandEnergy(band, frequency));
            }
        }
    }
};
} // namespace

template <size_t Length>
static void binPower(const std::array<float, Length / 2> &power, const Filters<Length> &filters,
                     size_t band, size_t zone, ViewSpectra &view) {
    for (size_t index = 1; index < Length / 2; ++index) {
        if (filters.bin[index] < kBinCount) {
            view.energies[band][filters.bin[index]][zone] +=
                power[index] * filters.energy[band][index] / static_cast<float>(kLines);
        }
    }
}

static float sampleLuminance(float column, float row, const ViewScale &scale) {
    return kFullScale * luminanceOf(sampleScene(placePixel(column, row, scale)));
}

/// Mean luminance along the rows, as a by-product.
static float analyseRows(size_t left, size_t top, const ViewScale &scale, ViewSpectra &view,
                         size_t zone) {
    static const LineTransform<kRowLength> transform;
    static const Filters<kRowLength> filters;
    std::array<float, kRowLength / 2> power{};
    float sum = 0;
    const float start = static_cast<float>(left) - (kRowLength - kZoneWidth) / 2.0F;
    constexpr float kSpacing = static_cast<float>(kZoneHeight) / kLines;
    for (int pair = 0; pair < kLines; pair += 2) {
        std::array<Sample, kRowLength> lines;
        const float row = static_cast<float>(top) + kSpacing * (static_cast<float>(pair) + 0.5F);
        for (size_t index = 0; index < kRowLength; ++index) {
            const float column = start + static_cast<float>(index);
            lines[index] = {sampleLuminance(column, row, scale),
                            sampleLuminance(column, row + kSpacing, scale)};
            sum += lines[index].real() + lines[index].imag();
        }
        transform.addPower(lines, power);
    }
    binPower(power, filters, kH1, zone, view);
    binPower(power, filters, kH2, zone, view);
    return sum / (kLines * kRowLength);
}

static void analyseColumns(size_t left, size_t top, const ViewScale &scale, ViewSpectra &view,
                           size_t zone) {
    static const LineTransform<kColumnLength> transform;
    static const Filters<kColumnLength> filters;
    std::array<float, kColumnLength / 2> power{};
    const float start = static_cast<float>(top) + (kZoneHeight - kColumnLength) / 2.0F;
    constexpr float kSpacing = static_cast<float>(kZoneWidth) / kLines;
    for (int pair = 0; pair < kLines; pair += 2) {
        std::array<Sample, kColumnLength> lines;
        const float column =
            static_cast<float>(left) + kSpacing * (static_cast<float>(pair) + 0.5F);
        for (size_t index = 0; index < kColumnLength; ++index) {
            const float row = start + static_cast<float>(index);
            lines[index] = {sampleLuminance(column, row, scale),
                            sampleLuminance(column + kSpacing, row, scale)};
        }
        transform.addPower(lines, power);
    }
    binPower(power, filters, kV1, zone, view);
    binPower(power, filters, kV2, zone, view);
}

double binEdge(size_t bin) {
    return kLowestFrequency *
           std::pow(0.5 / kLowestFrequency, static_cast<double>(bin) / kBinCount);
}

ViewSpectra analyseView(size_t key) {
    ViewSpectra view;
    const double share = static_cast<double>(key) / (kKeyCount - 1);
    const ViewScale scale = scaleView(std::pow(kOptics.teleFocalMm / kOptics.wideFocalMm, share));
    for (size_t zone = 0; zone < kZoneCount; ++zone) {
        const size_t left = zone % kZoneColumns * kZoneWidth;
        const size_t top = zone / kZoneColumns * kZoneHeight;
        view.luminance[zone] = analyseRows(left, top, scale, view, zone);
        analyseColumns(left, top, scale, view, zone);
    }
    return view;
}

} // namespace vcam
