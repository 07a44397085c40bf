// Pictures in the place of the generated scene: which are taken, and where in the view they lie.
#include "scenario.h"

#include "boundary/redirect.h"
#include "optics/picture.h"
#include "optics/scene_view.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <jpeglib.h>
#include <png.h>
#include <unistd.h>

using namespace scenario;

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 36;

/// The middle in four quarters, red, green, blue and white; black around it.
std::vector<uint8_t> paintQuarters() {
    constexpr uint32_t kColours[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF};
    std::vector<uint8_t> rgb;
    for (int y = 0; y < kHeight; y++) {
        for (int x = 0; x < kWidth; x++) {
            const bool isMiddle = x >= 16 && x < 48 && y >= 8 && y < 28;
            const int quarter = (x < kWidth / 2 ? 0 : 1) + (y < kHeight / 2 ? 0 : 2);
            for (const int shift : {16, 8, 0})
                rgb.push_back(isMiddle ? uint8_t(kColours[quarter] >> shift) : 0);
        }
    }
    return rgb;
}

void writePng(const std::string &path) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = kWidth;
    image.height = kHeight;
    image.format = PNG_FORMAT_RGB;
    png_image_write_to_file(&image, path.c_str(), 0, paintQuarters().data(), 0, nullptr);
}

void writeJpeg(const std::string &path) {
    std::vector<uint8_t> rgb = paintQuarters();
    FILE *file = fopen(path.c_str(), "wb");
    jpeg_error_mgr errors;
    jpeg_compress_struct state;
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    jpeg_stdio_dest(&state, file);
    state.image_width = kWidth;
    state.image_height = kHeight;
    state.input_components = 3;
    state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, 100, TRUE);
    jpeg_start_compress(&state, TRUE);
    for (size_t row = 0; row < kHeight; row++) {
        JSAMPROW line = &rgb[row * kWidth * 3];
        jpeg_write_scanlines(&state, &line, 1);
    }
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    fclose(file);
}

void copyPart(const std::string &from, const std::string &to, std::streamsize size) {
    std::vector<char> bytes(static_cast<size_t>(size));
    std::ifstream(from, std::ios::binary).read(bytes.data(), size);
    std::ofstream(to, std::ios::binary).write(bytes.data(), size);
}

} // namespace

TEST(Picture, png_and_jpeg_fill_the_widest_view) {
    run([] {
        for (const char *name : {"/picture.png", "/picture.jpg"}) {
            const std::string path = vcam::scratchFolder() + name;
            name[9] == 'p' ? writePng(path) : writeJpeg(path);
            ASSERT_TRUE(vcam::chooseScene(path)) << name;
            const struct {
                float x, y, r, g, b;
            } rows[] = {{-0.12F, -0.07F, 1, 0, 0}, {0.12F, -0.07F, 0, 1, 0},
                        {-0.12F, 0.07F, 0, 0, 1},  {0.12F, 0.07F, 1, 1, 1},
                        {-0.45F, -0.2F, 0, 0, 0},  {0.45F, 0.2F, 0, 0, 0}};
            for (const auto &row : rows) {
                const vcam::Rgb colour = vcam::sampleScene({row.x, row.y, 0.05F, std::log2(20.0F)});
                EXPECT_NEAR(colour.r, row.r, 0.02) << name;
                EXPECT_NEAR(colour.g, row.g, 0.02) << name;
                EXPECT_NEAR(colour.b, row.b, 0.02) << name;
            }
        }
    });
}

TEST(Picture, what_is_no_picture_is_refused) {
    run([] {
        const std::string folder = vcam::scratchFolder() + "/";
        writePng(folder + "good.png");
        writeJpeg(folder + "good.jpg");
        copyPart(folder + "good.png", folder + "cut.png", 60);
        copyPart(folder + "good.jpg", folder + "cut.jpg", 100);
        copyPart("/dev/zero", folder + "zeros", 1000);
        copyPart("/dev/zero", folder + "empty", 0);
        vcam::Picture picture;
        for (const char *name : {"cut.png", "cut.jpg", "zeros", "empty", "missing"}) {
            EXPECT_TRUE(picture.load(folder + "good.png"));
            EXPECT_FALSE(picture.load(folder + name)) << name;
            EXPECT_FALSE(picture.isLoaded()) << name;
        }
    });
    vcam::CameraOptions options;
    options.picture = "/proc/version";
    const Ending ending = runToEnd(options, [] { _exit(EXIT_SUCCESS); });
    EXPECT_EQ(ending.status, EXIT_FAILURE);
    EXPECT_EQ(ending.said, "/proc/version: not a PNG or JPEG picture\n");
}
