// Painted once in focus with a margin, then every pixel gathers its disc: a disc is a stack of
// row spans, and running sums along the rows give each span at the price of two look-ups.
#include "optics/render.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <png.h>
#include <vector>

#include "clock/unobserved.h"
#include "devices/lens.h"
#include "optics/lens_curves.h"
#include "optics/optical_model.h"
#include "optics/scene.h"
#include "optics/scene_sample.h"
#include "optics/scene_view.h"

namespace vcam {

static constexpr int kReduction = 2; // sensor pixels to one of the picture
static constexpr int kWidth = kViewWidth / kReduction;
static constexpr int kHeight = kViewHeight / kReduction;
static constexpr int kLargestRadius = 60;
static constexpr int kChannels = 3;
static constexpr float kFullScale = 255;
static constexpr double kFrameWidth = 3; // pixels
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

static Canvas paintCanvas(int margin, const ViewScale &scale) {
    Canvas canvas{margin, kWidth + 2 * margin, {}};
    const int height = kHeight + 2 * margin;
    canvas.sums.reserve(static_cast<size_t>(height) * static_cast<size_t>(canvas.width + 1) *
                        kChannels);
    for (int row = 0; row < height; ++row) {
        Rgb sum{};
        for (int column = 0; column <= canvas.width; ++column) {
            canvas.sums.insert(canvas.sums.end(), {sum.r, sum.g, sum.b});
            const Rgb colour = paintPixel(column - margin, row - margin, scale);
            sum = {sum.r + colour.r, sum.g + colour.g, sum.b + colour.b};
        }
    }
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
    return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0F, 1.0F) * kFullScale));
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

bool writeScenePng(const char *path) {
    const Unobserved unobserved;
    const ViewScale scale = scaleView(zoomFactorAt(truePosition(Axis::Zoom)));
    const double diameter =
        std::fabs(focusErrorHalfDepths()) * kOptics.circleUm / kOptics.pixelUm / kReduction;
    const float radius = std::min(static_cast<float>(diameter / 2), float{kLargestRadius});
    const int margin = static_cast<int>(std::ceil(radius));
    const Canvas canvas = paintCanvas(margin, scale);
    const std::vector<int> spans = discSpans(radius);
    const float light = isNight() ? static_cast<float>(kOptics.nightLuminance) : 1.0F;
    std::vector<uint8_t> rgb;
    rgb.reserve(static_cast<size_t>(kWidth) * kHeight * kChannels);
    for (int row = 0; row < kHeight; ++row) {
        for (int column = 0; column < kWidth; ++column) {
            const Rgb colour =
                scaleColour(gatherDisc(canvas, spans, column + margin, row + margin), light);
            addPixel(rgb, colour);
        }
    }
    return writePng(path, rgb);
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
