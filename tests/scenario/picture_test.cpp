// Pictures in the place of the generated scene: which are taken, and where in the view they lie.
#include "scenario.h"

#include "optics/scene_view.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

using namespace scenario;

/// The middle in four quarters, red, green, blue and white; as wide a border in black around it.
static std::string quarters(const std::string &suffix) {
    return std::filesystem::path(__FILE__).parent_path() / "pictures" / ("quarters" + suffix);
}

TEST(Picture, png_and_jpeg_fill_the_widest_view) {
    for (const char *suffix : {".png", ".jpg"}) {
        ASSERT_TRUE(vcam::chooseScene(quarters(suffix))) << suffix;
        const struct {
            float x, y, r, g, b;
        } rows[] = {{-0.12F, -0.07F, 1, 0, 0}, {0.12F, -0.07F, 0, 1, 0}, {-0.12F, 0.07F, 0, 0, 1},
                    {0.12F, 0.07F, 1, 1, 1},   {-0.32F, 0, 0, 0, 0},     {0, 0.22F, 0, 0, 0}};
        for (const auto &row : rows) {
            const vcam::Rgb colour = vcam::sampleScene({row.x, row.y, 0.05F, std::log2(20.0F)});
            const float error = std::max({std::fabs(colour.r - row.r), std::fabs(colour.g - row.g),
                                          std::fabs(colour.b - row.b)});
            EXPECT_LT(error, 0.02F) << suffix << " at " << row.x << ", " << row.y;
        }
    }
}

TEST(Picture, what_is_no_picture_is_refused) {
    vcam::CameraOptions options;
    options.picture = "/proc/version";
    const Ending ending = runToEnd(options, [] { _exit(EXIT_SUCCESS); });
    EXPECT_EQ(ending.status, EXIT_FAILURE);
    EXPECT_EQ(ending.said, "/proc/version: no PNG or JPEG picture that can be read whole\n");
}
