// What the sensor sees: where a unit is in focus, and how far a step is from it. Numbers of the
// lens are worked out here from its data, not taken from the camera.
#include "scenario.h"

#include "optics/lens_curves.h"

#include <algorithm>
#include <cmath>

using namespace scenario;

/// The zoom positions of the lens's two ends and of the middle of its focal range.
constexpr int kWide = 10216;
constexpr int kMiddle = 15352;
constexpr int kTele = 20488;

TEST(Optics, built_in_curves_are_the_librarys) {
    vcam::CameraOptions options;
    options.builtInCurves = true;
    run(options, [] {
        Lens_Init_FLineInfo();
        int zoom = kWide;
        for (int tag = 0; tag < 16; tag++) {
            const int lastSections[] = {768, 512, 320, 224, 0};
            const int section = lastSections[std::max(0, tag - 11)];
            for (int quarter = 0; quarter < (tag < 15 ? 4 : 1); quarter++)
                EXPECT_EQ(vcam::inFocusPositionAt(zoom + quarter * section / 4, 0),
                          g_FLineInfo.tagPosition[tag][quarter])
                    << "tag " << tag << ", quarter " << quarter;
            zoom += section;
        }
        EXPECT_EQ(vcam::inFocusPositionAt(kWide, 0.5), 12212); // an object at 2 m
        EXPECT_EQ(vcam::inFocusPositionAt(kTele, 0.5), 12122);
    });
}

TEST(Optics, blur_disc_follows_from_focal_length_and_f_number) {
    const struct {
        int zoom;
        double focalMm, fNumber, stepsPerDioptre;
    } rows[] = {{kWide, 4.7, 1.6, 44},
                {kMiddle, std::sqrt(4.7 * 84.6), 3.0, 119.5},
                {kTele, 84.6, 4.4, 1584}};
    run([&] {
        for (const auto &row : rows) {
            // f^2 is what a dioptre shifts the image: mm^2 / m is a thousandth of a mm.
            const double umPerStep = row.focalMm * row.focalMm / row.stepsPerDioptre;
            EXPECT_NEAR(vcam::halfDepthStepsAt(row.zoom), row.fNumber * 2.9 / umPerStep, 1e-9);
            const double sharp = vcam::inFocusPositionAt(row.zoom, 0);
            EXPECT_NEAR(vcam::focusErrorHalfDepthsAt(row.zoom, sharp - 50),
                        -50 * umPerStep / row.fNumber / 2.9, 1e-9);
        }
    });
}
