// Painted once in focus with a margin, then every pixel gathers its disc: a disc is a stack of
// row spans, and running sums along the rows give each span at the price of two look-ups.
#include "optics/render.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <png.h>
#include <utility>
#include <vector>

#include "clock/seeded_random.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "flaws/flaws.h"
#include "optics/lens_curves.h"
#include "optics/optical_model.h"
#include "optics/scene.h"
#include "optics/scene_sample.h"
#include "optics/scene_view.h"
#include "optics/zone_values.h"

namespace vcam {

static constexpr int kReduction = 2; // sensor pixels to one of the picture
static constexpr int kWidth = kViewWidth / kReduction;
static constexpr int kHeight = kViewHeight / kReduction;
static constexpr int kLargestRadius = 60;
static constexpr int kChannels = 3;
static constexpr float kFullScale = 255;
static constexpr float kHalfLevel = 0.5F;
static constexpr double kFrameWidth = 3; // pixels
static constexpr double kGrainAtGainOne = 1.2;
static constexpr Rgb kFrameColour = {0.94F, 0.77F, 0.1F};

namespace {
/// The focused view and a margin on all sides, as running sums along each row.
struct Canvas {
    int margin;
    int width;
    std::vector<float> sums; // [row][column][channel], one column more than painted

    const float *sumAt(int row, int column) const {
        return &sums[(static_cast<size_t>(row) * static_cast<size_t>(width + 1) +
                      static_cast<size_t>(column)) *
                     kChannels];
    }
};
} // namespace

/// Four samples a pixel: the picture is half as fine as the sensor.
static Rgb paintPixel(int column, int row, const ViewScale &scale) {
    Rgb sum{};
    for (int part = 0; part < kReduction * kReduction; ++part) {
        const int x = column * kReduction + part % kReduction;
        const int y = row * kReduction + part / kReduction;
        const Rgb colour =
            sampleScene(placePixel(static_cast<float>(x), static_cast<float>(y), scale));
        sum = {sum.r + colour.r, sum.g + colour.g, sum.b + colour.b};
    }
    return scaleColour(sum, 1.0F / (kReduction * kReduction));
}

/// Running sums of what @p paint gives for each place of a view with a margin around it.
template <typename Paint>
static void sumRows(std::vector<float> &sums, int width, int height, int margin, Paint paint) {
    sums.resize(static_cast<size_t>(height + 2 * margin) *
                static_cast<size_t>(width + 2 * margin + 1) * kChannels);
    float *at = sums.data();
    for (int row = -margin; row < height + margin; ++row) {
        Rgb sum{};
        for (int column = -margin; column <= width + margin; ++column) {
            *at++ = sum.r;
            *at++ = sum.g;
            *at++ = sum.b;
            const Rgb colour = paint(column, row);
            sum = {sum.r + colour.r, sum.g + colour.g, sum.b + colour.b};
        }
    }
}

static Canvas paintCanvas(int margin, const ViewScale &scale) {
    Canvas canvas{margin, kWidth + 2 * margin, {}};
    sumRows(canvas.sums, kWidth, kHeight, margin,
            [&scale](int column, int row) { return paintPixel(column, row, scale); });
    return canvas;
}

/// Half width of the disc's span in each row from the top, whole pixels.
static std::vector<int> discSpans(float radius) {
    const int rows = static_cast<int>(radius);
    std::vector<int> spans;
    for (int row = -rows; row <= rows; ++row) {
        const auto offset = static_cast<float>(row);
        spans.push_back(static_cast<int>(std::sqrt(radius * radius - offset * offset)));
    }
    return spans;
}

static Rgb gatherDisc(const Canvas &canvas, const std::vector<int> &spans, int column, int row) {
    float sum[kChannels] = {};
    int pixels = 0;
    row -= static_cast<int>(spans.size()) / 2;
    for (const int half : spans) {
        const float *from = canvas.sumAt(row, column - half);
        const float *to = canvas.sumAt(row, column + half + 1);
        ++row;
        for (int channel = 0; channel < kChannels; ++channel)
            sum[channel] += to[channel] - from[channel];
        pixels += 2 * half + 1;
    }
    return scaleColour({sum[0], sum[1], sum[2]}, 1.0F / static_cast<float>(pixels));
}

static uint8_t toByte(float value) {
    return static_cast<uint8_t>(std::clamp(value, 0.0F, 1.0F) * kFullScale + kHalfLevel);
}

static void addPixel(std::vector<uint8_t> &rgb, Rgb colour) {
    rgb.insert(rgb.end(), {toByte(colour.r), toByte(colour.g), toByte(colour.b)});
}

static bool writePng(const char *path, const std::vector<uint8_t> &rgb) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = kWidth;
    image.height = kHeight;
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path, 0, rgb.data(), 0, nullptr) != 0;
}

SceneLook lookNow() {
    const double diameter =
        std::fabs(focusErrorHalfDepths()) * kOptics.circleUm / kOptics.pixelUm / kReduction;
    return {zoomFactorAt(groupPosition(Axis::Zoom)),
            std::min(static_cast<float>(diameter / 2), float{kLargestRadius}),
            static_cast<float>((isNight() ? kOptics.nightLuminance : 1) * lightAt(nowUs())),
            static_cast<float>(flaws().contrast),
            static_cast<float>(kGrainAtGainOne * noiseFactor() * std::sqrt(exposureGain()))};
}

/// Every pixel of a canvas's view, through a disc of that radius in its own pixels.
static void develop(std::vector<uint8_t> &rgb, const Canvas &canvas, int width, int height,
                    float radius, float light) {
    const std::vector<int> spans = discSpans(radius);
    rgb.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * kChannels);
    uint8_t *at = rgb.data();
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const Rgb colour =
                gatherDisc(canvas, spans, column + canvas.margin, row + canvas.margin);
            *at++ = toByte(colour.r * light);
            *at++ = toByte(colour.g * light);
            *at++ = toByte(colour.b * light);
        }
    }
}

bool writeScenePng(const char *path) {
    const Unobserved unobserved;
    const SceneLook look = lookNow();
    const Canvas canvas =
        paintCanvas(static_cast<int>(std::ceil(look.radius)), scaleView(look.zoomFactor));
    std::vector<uint8_t> rgb;
    develop(rgb, canvas, kWidth, kHeight, look.radius, look.light);
    return writePng(path, rgb);
}

// ---- Pictures for eyes that watch

namespace {
/// How wide a picture is, and up to which radius of blur in a still one's pixels.
struct Fineness {
    int width;
    float mostRadius;
};
} // namespace

static constexpr Fineness kFinenesses[] = {
    {kWidth, 6}, {kWidth * 2 / 3, 6}, {kWidth / 2, 20}, {kWidth / 4, kLargestRadius}};
static constexpr size_t kDraft = 1;

static constexpr uint64_t kGrainPurpose = 71;
static constexpr size_t kGrainTile = size_t{1} << 18;
static constexpr size_t kGrainStride = 49999; // from one picture's grain to the next one's
static constexpr float kGrainScale = 30;
static constexpr float kLeastGrain = 1.5F; // levels: less, nobody sees
static constexpr float kGrey = 0.4F;

static size_t chooseFineness(float radius, bool isDraft) {
    size_t chosen = isDraft ? kDraft : 0;
    while (radius > kFinenesses[chosen].mostRadius)
        ++chosen;
    return chosen;
}

/// One sample as wide as the pixel.
static Rgb paintCoarsely(int column, int row, int width, int height, float size, float octave) {
    return sampleScene(
        {(static_cast<float>(column) + 0.5F - static_cast<float>(width) / 2.0F) * size,
         (static_cast<float>(row) + 0.5F - static_cast<float>(height) / 2.0F) * size, size,
         octave});
}

static std::vector<int8_t> makeGrain() {
    SeededRandom random(1, kGrainPurpose);
    std::vector<int8_t> grain(kGrainTile);
    for (int8_t &level : grain)
        level = static_cast<int8_t>(std::lround(random.drawNormal() * kGrainScale));
    return grain;
}

/// What makes a picture worse after the lens. The grain lies where the last picture's did not.
static void spoil(std::vector<uint8_t> &rgb, const SceneLook &look, size_t picture) {
    static const std::vector<int8_t> grain = makeGrain();
    const float middle = kGrey * look.light * kFullScale;
    const float factor = look.grain / kGrainScale;
    size_t at = picture * kGrainStride;
    for (uint8_t &level : rgb) {
        const float value = middle + (static_cast<float>(level) - middle) * look.contrast +
                            static_cast<float>(grain[at++ % kGrainTile]) * factor;
        level = toByte(value / kFullScale);
    }
}

const std::vector<uint8_t> &ScenePainter::paint(const SceneLook &look, bool isDraft) {
    const size_t index = chooseFineness(look.radius, isDraft);
    const Fineness &fineness = kFinenesses[index];
    pictureWidth = fineness.width;
    pictureHeight = fineness.width * kHeight / kWidth;
    const float share = static_cast<float>(fineness.width) / kWidth;
    const int margin = static_cast<int>(std::ceil(fineness.mostRadius * share));
    Focused &kept = focused[index];
    Canvas canvas{margin, pictureWidth + 2 * margin, std::move(kept.sums)};
    if (kept.zoomFactor != look.zoomFactor) {
        const auto size = static_cast<float>(1 / (pictureWidth * look.zoomFactor));
        const float octave = std::log2(1 / size);
        sumRows(canvas.sums, pictureWidth, pictureHeight, margin, [&](int column, int row) {
            return paintCoarsely(column, row, pictureWidth, pictureHeight, size, octave);
        });
    }
    develop(rgb, canvas, pictureWidth, pictureHeight, look.radius * share, look.light);
    if (look.contrast != 1 || look.grain > kLeastGrain)
        spoil(rgb, look, ++pictures);
    kept = {look.zoomFactor, std::move(canvas.sums)};
    return rgb;
}

// ---- The whole scene

/// Whether a pixel lies on the frame around the middle @p share of the picture.
static bool isOnFrame(int column, int row, double share) {
    const double x = std::fabs(column - kWidth / 2.0) - share * kWidth / 2;
    const double y = std::fabs(row - kHeight / 2.0) - share * kHeight / 2;
    const bool isInside = x <= kFrameWidth && y <= kFrameWidth;
    return isInside && (x > 0 || y > 0);
}

bool writeWholeScenePng(const char *path) {
    const Unobserved unobserved;
    const double share = 1 / zoomFactorAt(truePosition(Axis::Zoom));
    const ViewScale widest = scaleView(1);
    std::vector<uint8_t> rgb;
    rgb.reserve(static_cast<size_t>(kWidth) * kHeight * kChannels);
    for (int row = 0; row < kHeight; ++row)
        for (int column = 0; column < kWidth; ++column)
            addPixel(rgb, isOnFrame(column, row, share) ? kFrameColour
                                                        : paintPixel(column, row, widest));
    return writePng(path, rgb);
}

} // namespace vcam
