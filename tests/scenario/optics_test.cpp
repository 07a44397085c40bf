// What the sensor sees: where a unit is in focus, how the focus value falls off, noise and
// frames. Numbers of the lens are worked out here from its data, not taken from the camera.
#include "scenario.h"

#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/isp.h"
#include "devices/lens.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "optics/zone_values.h"
#include "platform/isp_interface.h"

#include <algorithm>
#include <cmath>
#include <set>

using namespace scenario;

namespace {

constexpr double kTwoMetres = 0.5; // dioptres

/// The zoom positions of the lens's two ends and of the middle of its focal range.
constexpr int kWide = 10216;
constexpr int kMiddle = 15352;
constexpr int kTele = 20488;

vcam::CameraOptions withoutNoise() {
    vcam::CameraOptions options;
    options.noise = 0;
    return options;
}

double measureFocusValue(int zoom, int focus) {
    vcam::ZoneValues values;
    vcam::measureZones(zoom, focus, 0, 0, values);
    return vcam::averageCentre(values);
}

std::vector<float> measureFirstBand(uint64_t frame) {
    vcam::ZoneValues values;
    vcam::measureZones(kWide, 12234, frame, 0, values);
    return {values.band[vcam::kH1].begin(), values.band[vcam::kH1].end()};
}

} // namespace

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
        EXPECT_EQ(zoom, kTele);
        EXPECT_EQ(vcam::inFocusPositionAt(kWide, kTwoMetres), 12212);
        EXPECT_EQ(vcam::inFocusPositionAt(kTele, kTwoMetres), 12122);
    });
}

TEST(Optics, focus_is_linear_in_vergence_and_each_unit_a_few_steps_off) {
    run([] {
        std::set<double> offsets;
        for (uint64_t seed = 1; seed <= 20; seed++) {
            vcam::CameraOptions options;
            options.seed = seed;
            vcam::powerOnLensCurves(options);
            offsets.insert(vcam::inFocusPositionAt(kWide, 0) - 12234);
            EXPECT_NEAR(vcam::inFocusPositionAt(kWide, kTwoMetres) - 12212, *offsets.rbegin(), 99);
            for (const int zoom : {kWide, kMiddle, kTele}) {
                const double infinity = vcam::inFocusPositionAt(zoom, 0);
                const double perDioptre = infinity - vcam::inFocusPositionAt(zoom, 1);
                for (const double dioptres : {0.1, 0.25, 0.5, 2.0})
                    EXPECT_NEAR(vcam::inFocusPositionAt(zoom, dioptres),
                                infinity - perDioptre * dioptres, 1e-9);
            }
        }
        EXPECT_GT(offsets.size(), 10U);
        EXPECT_GE(*offsets.begin(), -34);
        EXPECT_LE(*offsets.rbegin(), 34);
        vcam::placeAt(vcam::Axis::Zoom, kTele);
        vcam::setObjectDistanceM(4);
        EXPECT_EQ(vcam::inFocusPosition(), vcam::inFocusPositionAt(kTele, 0.25));
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
            for (const int steps : {-50, -3, 0, 1, 120}) {
                const double discPixels = steps * umPerStep / row.fNumber / 2.9;
                EXPECT_NEAR(vcam::focusErrorHalfDepthsAt(row.zoom, sharp + steps), discPixels,
                            1e-9);
            }
        }
    });
}

TEST(Optics, focus_value_is_highest_at_best_focus_and_falls_on_both_sides) {
    run(withoutNoise(), [] {
        for (const double distanceM : {HUGE_VAL, 2.0}) {
            vcam::setObjectDistanceM(distanceM);
            for (const int zoom : {kWide, kMiddle, kTele}) {
                SCOPED_TRACE(testing::Message() << "zoom " << zoom << ", object " << distanceM);
                const double sharp = vcam::inFocusPositionAt(zoom, 1 / distanceM);
                const double halfDepth = vcam::halfDepthStepsAt(zoom);
                int best = 0;
                double highest = 0;
                for (int focus = int(sharp - 30 * halfDepth); focus < sharp + 30 * halfDepth;
                     focus++) {
                    const double value = measureFocusValue(zoom, focus);
                    if (value > highest)
                        best = focus;
                    highest = std::max(highest, value);
                }
                EXPECT_NEAR(best, sharp, halfDepth / 2);
                for (const int side : {-1, 1}) {
                    double before = highest;
                    for (int halfDepths = 1; halfDepths <= 8; halfDepths++) {
                        const double focus = sharp + side * halfDepths * halfDepth;
                        const double value = measureFocusValue(zoom, int(std::lround(focus)));
                        EXPECT_LT(value, before) << side * halfDepths << " half depths";
                        before = value;
                    }
                    EXPECT_LT(before, highest / 4);
                }
            }
        }
    });
}

TEST(Optics, disc_makes_false_peaks_and_gaussian_none) {
    for (const bool isGaussian : {false, true}) {
        vcam::CameraOptions options = withoutNoise();
        options.gaussianBlur = isGaussian;
        run(options, [&] {
            int rises = 0;
            double before = HUGE_VAL;
            for (int steps = 0; steps < 1000; steps++) {
                const double focus = vcam::inFocusPositionAt(kTele, 0) + steps;
                const double value = measureFocusValue(kTele, int(std::lround(focus)));
                rises += value > before ? 1 : 0;
                before = value;
            }
            EXPECT_EQ(rises > 0, !isGaussian) << rises;
        });
    }
}

TEST(Optics, noise_comes_from_seed_and_frame_and_grows_with_the_gain) {
    run([] {
        const std::vector<float> first = measureFirstBand(5);
        EXPECT_EQ(measureFirstBand(5), first);
        EXPECT_NE(measureFirstBand(6), first);
        vcam::CameraOptions other;
        other.seed = 2;
        vcam::powerOnZoneValues(other);
        EXPECT_NE(measureFirstBand(5), first);
        vcam::powerOnZoneValues({});
        EXPECT_EQ(measureFirstBand(5), first);
        vcam::powerOnZoneValues(withoutNoise());
        EXPECT_EQ(measureFirstBand(5), measureFirstBand(6));
        vcam::powerOnZoneValues({});
        for (const bool isNight : {false, true}) {
            vcam::setNight(isNight);
            double sum = 0;
            double squares = 0;
            constexpr int kFrames = 4000;
            for (uint64_t frame = 0; frame < kFrames; frame++) {
                const double value = measureFirstBand(frame)[27];
                sum += value;
                squares += value * value;
            }
            const double mean = sum / kFrames;
            const double deviation = std::sqrt(squares / kFrames - mean * mean) / mean;
            EXPECT_NEAR(deviation / 0.008, isNight ? 4 : 1, isNight ? 0.16 : 0.04);
        }
    });
}

TEST(Isp, frames_end_on_time_and_are_left_out_in_a_stall) {
    const struct {
        unsigned limitMs;
        int result;
        int64_t endUs;
        unsigned frame; ///< 0: none.
    } rows[] = {{100, 0, 40000, 1},   {100, 0, 80000, 2},   {39, -1, 119000, 0}, {1, 0, 120000, 3},
                {100, -1, 220000, 0}, {400, 0, 520000, 13}, {40, 0, 560000, 14}};
    run([&] {
        for (const auto &row : rows) {
            ISP_VD_INFO_S frame = {};
            EXPECT_EQ(HI_MPI_ISP_GetVDTimeOut(0, &frame, row.limitMs), row.result);
            EXPECT_EQ(vcam::nowUs(), row.endUs);
            EXPECT_EQ(frame.u32FrameCnt, row.frame) << row.endUs;
            if (row.frame == 3)
                vcam::stallFramesUntilUs(500000);
        }
    });
    vcam::CameraOptions options = withoutNoise();
    options.frameRateHz = 30;
    run(options, [] {
        ISP_VD_INFO_S frame = {};
        double blurred = 0;
        for (const int64_t endUs : {33334, 66667, 100000}) {
            blurred = vcam::focusValue();
            HI_MPI_ISP_GetVDTimeOut(0, &frame, 1000);
            EXPECT_EQ(vcam::nowUs(), endUs);
        }
        passMs(1); // from here on it is the next frame that will see a move
        vcam::placeAt(vcam::Axis::Zoom, kWide);
        vcam::placeAt(vcam::Axis::Focus, int(vcam::inFocusPosition()));
        EXPECT_EQ(vcam::focusValue(), blurred);
        HI_MPI_ISP_GetVDTimeOut(0, &frame, 1000);
        EXPECT_GT(vcam::focusValue(), 2 * blurred);
    });
}

TEST(Isp, calls_fail_on_demand_from_a_frame_on) {
    run([] {
        ISP_EXP_INFO_S exposure = {};
        vcam::failIspCall(vcam::IspCall::QueryExposureInfo, -77, 2, 3);
        for (const int result : {0, 0, -77, -77, 0}) {
            passMs(40);
            EXPECT_EQ(HI_MPI_ISP_QueryExposureInfo(0, &exposure), result) << vcam::frameCount();
        }
        EXPECT_EQ(exposure.u32AGain, 1024U);
        vcam::setNight(true);
        HI_MPI_ISP_QueryExposureInfo(0, &exposure);
        EXPECT_EQ(exposure.u32AGain, 16384U);
        ISP_VD_INFO_S frame = {};
        vcam::failIspCall(vcam::IspCall::GetVdTimeOut, -78, vcam::kAlways);
        passMs(1);
        EXPECT_EQ(HI_MPI_ISP_GetVDTimeOut(0, &frame, 1000), -78);
        EXPECT_EQ(vcam::nowUs(), 240000); // at frame rate, or its caller would spin
    });
}
