// The picture is kept in halving sizes, so that a wide view does not alias; below its own pixels
// it goes on as surface texture that follows the local brightness.
#include "optics/picture.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>
#include <png.h>

#include "optics/surface_texture.h"

namespace vcam {

static constexpr int kChannels = 3;
static constexpr float kViewAspect = 9.0F / 16;
static constexpr float kFullScale = 255;
static constexpr float kSurfaceContrast = 0.06F;

static bool readPng(const std::string &path, PixelGrid &grid) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
        return false;
    image.format = PNG_FORMAT_RGB;
    grid.width = static_cast<int>(image.width);
    grid.height = static_cast<int>(image.height);
    grid.rgb.resize(PNG_IMAGE_SIZE(image));
    return png_image_finish_read(&image, nullptr, grid.rgb.data(), 0, nullptr) != 0;
}

namespace {
struct JpegErrors {
    jpeg_error_mgr manager;
    jmp_buf leave;
};
} // namespace

static void leaveJpeg(j_common_ptr state) {
    std::longjmp(reinterpret_cast<JpegErrors *>(state->err)->leave, 1);
}

/// Nothing here has a destructor: an error jumps out of the middle.
static bool decodeJpeg(FILE *file, PixelGrid &grid) {
    jpeg_decompress_struct state;
    JpegErrors errors;
    state.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = leaveJpeg;
    if (setjmp(errors.leave) != 0) {
        jpeg_destroy_decompress(&state);
        return false;
    }
    jpeg_create_decompress(&state);
    jpeg_stdio_src(&state, file);
    jpeg_read_header(&state, TRUE);
    state.out_color_space = JCS_RGB;
    jpeg_start_decompress(&state);
    grid.width = static_cast<int>(state.output_width);
    grid.height = static_cast<int>(state.output_height);
    const size_t rowBytes = static_cast<size_t>(grid.width) * kChannels;
    grid.rgb.resize(rowBytes * static_cast<size_t>(grid.height));
    while (state.output_scanline < state.output_height) {
        JSAMPROW row = &grid.rgb[rowBytes * state.output_scanline];
        jpeg_read_scanlines(&state, &row, 1);
    }
    jpeg_finish_decompress(&state);
    const bool isWhole = state.err->num_warnings == 0; // what is missing would be filled with grey
    jpeg_destroy_decompress(&state);
    return isWhole;
}

static bool readJpeg(const std::string &path, PixelGrid &grid) {
    FILE *file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return false;
    const bool isRead = decodeJpeg(file, grid);
    std::fclose(file);
    return isRead;
}

static const uint8_t *pixelAt(const PixelGrid &grid, int x, int y) {
    const int column = std::clamp(x, 0, grid.width - 1);
    const int row = std::clamp(y, 0, grid.height - 1);
    return &grid.rgb[(static_cast<size_t>(row) * static_cast<size_t>(grid.width) +
                      static_cast<size_t>(column)) *
                     kChannels];
}

static PixelGrid halve(const PixelGrid &grid) {
    PixelGrid half;
    half.width = std::max(1, grid.width / 2);
    half.height = std::max(1, grid.height / 2);
    half.rgb.reserve(static_cast<size_t>(half.width) * static_cast<size_t>(half.height) *
                     kChannels);
    for (int y = 0; y < half.height; ++y) {
        for (int x = 0; x < half.width; ++x) {
            const uint8_t *upper[] = {pixelAt(grid, 2 * x, 2 * y), pixelAt(grid, 2 * x + 1, 2 * y)};
            const uint8_t *lower[] = {pixelAt(grid, 2 * x, 2 * y + 1),
                                      pixelAt(grid, 2 * x + 1, 2 * y + 1)};
            for (int channel = 0; channel < kChannels; ++channel) {
                const int sum =
                    upper[0][channel] + upper[1][channel] + lower[0][channel] + lower[1][channel];
                half.rgb.push_back(static_cast<uint8_t>((sum + 2) / 4));
            }
        }
    }
    return half;
}

static Rgb toColour(const uint8_t *pixel) {
    return {static_cast<float>(pixel[0]) / kFullScale, static_cast<float>(pixel[1]) / kFullScale,
            static_cast<float>(pixel[2]) / kFullScale};
}

static Rgb interpolate(const PixelGrid &grid, float x, float y) {
    const int column = floorToInt(x);
    const int row = floorToInt(y);
    const float shareX = x - static_cast<float>(column);
    const Rgb upper = mixColours(toColour(pixelAt(grid, column, row)),
                                 toColour(pixelAt(grid, column + 1, row)), shareX);
    const Rgb lower = mixColours(toColour(pixelAt(grid, column, row + 1)),
                                 toColour(pixelAt(grid, column + 1, row + 1)), shareX);
    return mixColours(upper, lower, y - static_cast<float>(row));
}

bool Picture::load(const std::string &path, bool isPlain) {
    hasTexture = !isPlain;
    levels.clear();
    PixelGrid grid;
    if (!readPng(path, grid) && !readJpeg(path, grid))
        return false;
    const auto width = static_cast<float>(grid.width);
    const auto height = static_cast<float>(grid.height);
    pixelsPerUnit = std::min(width, height / kViewAspect);
    pixelOctave = std::log2(pixelsPerUnit);
    levels.push_back(std::move(grid));
    while (levels.back().width > 1 && levels.back().height > 1)
        levels.push_back(halve(levels.back()));
    return true;
}

Rgb Picture::sample(const SceneSample &at) const {
    const float pixels = at.size * pixelsPerUnit;
    const int wanted = static_cast<int>(std::lround(std::max(0.0F, pixelOctave - at.finestOctave)));
    const int level = std::min(wanted, static_cast<int>(levels.size()) - 1);
    const PixelGrid &grid = levels[static_cast<size_t>(level)];
    const float scale = std::ldexp(pixelsPerUnit, -level);
    const float x = at.x * scale + static_cast<float>(grid.width) / 2 - 0.5F;
    const float y = at.y * scale + static_cast<float>(grid.height) / 2 - 0.5F;
    const Rgb colour = interpolate(grid, x, y);
    if (pixels >= 1 || !hasTexture)
        return colour;
    const float texture =
        kSurfaceContrast * sampleSurface(at, static_cast<int>(std::ceil(pixelOctave)));
    return scaleColour(colour, std::max(0.0F, 1 + texture));
}

} // namespace vcam
