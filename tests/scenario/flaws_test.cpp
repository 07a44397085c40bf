// The flaws of real lenses, sensors and scenes: what each does to what the library sees. That a
// camera without them is the camera of before, the kept traces hold.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "flaws/flaws.h"
#include "isp/isp.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "option_table.h"

#include <algorithm>
#include <cmath>

using namespace scenario;
using vcam::Axis;

static int slack(Axis axis) {
    return vcam::groupPosition(axis) - vcam::truePosition(axis);
}

/// Of the option table, as people would.
static void change(const char *name, const char *text) {
    static vcam::CameraOptions present;
    EXPECT_EQ(vcam::changeOption(*vcam::findOption(name), text, present), "") << name;
}

/// Of the next 50 frames.
static std::pair<double, double> focusValues() {
    std::vector<double> values;
    for (int i = 0; i < 50; ++i) {
        passMs(40);
        values.push_back(vcam::focusValue());
    }
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return {*least, *most};
}

TEST(Flaws, backlash_leaves_the_lens_behind_until_the_slack_is_taken_up) {
    for (const int lens : {LENS_A, LENS_B})
        run(startAt(-1, -1, lens), [=] {
            g_LensType = lens;
            change("backlash-focus", "8");
            change("backlash-zoom", "6");
            startParked();
            placeLens(15000, 11500);
            lensMotorFocusRunSteps(MS_F_FAR, 20);
            const int afterFar = slack(Axis::Focus);
            lensMotorFocusRunSteps(MS_F_NEAR, 5);
            EXPECT_EQ(slack(Axis::Focus), afterFar + 5) << "the lens has not moved yet";
            lensMotorFocusRunSteps(MS_F_NEAR, 20);
            EXPECT_EQ(slack(Axis::Focus), afterFar + 8);
            // A home search makes the counters true of the motor, whatever the slack was before.
            EXPECT_EQ(Lens_Check_PIPosition(), 0);
            EXPECT_TRUE(vcam::areCountersTrue());
            EXPECT_EQ(slack(Axis::Focus), 0);
            EXPECT_EQ(slack(Axis::Zoom), 0);
            expectSound();
        });
}

TEST(Flaws, late_statistics_show_where_the_lens_was) {
    runEach(std::vector<int>{0, 1, 4}, [](int delay) {
        change("delay", std::to_string(delay).c_str());
        change("noise", "0");
        startParked();
        placeLens(18664, 10900);
        passMs(400);
        const double before = vcam::focusValue();
        lensMotorFocusRunSteps(MS_F_NEAR, 12);
        passMs(40 - vcam::nowUs() / 1000 % 40 + 1);
        int late = 0;
        for (; vcam::focusValue() == before && late < 10; ++late)
            passMs(40);
        EXPECT_EQ(late, delay);
    });
}

TEST(Flaws, light_and_scene_change_what_is_seen_and_change_back) {
    run([] {
        change("noise", "0");
        startParked();
        placeLens(18664, 10886);
        const auto [least, most] = focusValues();
        EXPECT_EQ(least, most) << "nothing changes by itself";
        change("flicker", "0.05");
        const auto [dark, bright] = focusValues();
        EXPECT_LT(dark, 0.96 * least);
        EXPECT_GT(bright, 1.04 * least);
        change("flicker", "0");
        change("brightness", "0.5");
        EXPECT_NEAR(focusValues().first, least / 2, 0.02 * least);
        change("brightness", "1");
        change("contrast", "0");
        EXPECT_LT(focusValues().second, 200) << "nothing but noise is left";
        change("contrast", "1");
        change("noise", "4");
        const auto [low, high] = focusValues();
        EXPECT_GT(high - low, 0.01 * least);
        change("noise", "0");
        EXPECT_EQ(focusValues().first, least);
        // Half of the picture blurs.
        change("second-distance", "3");
        const double half = focusValues().first;
        EXPECT_LT(half, 0.8 * least);
        EXPECT_GT(half, 0.3 * least);
        change("second-distance", "none");
        // A curve that drifts, and an object that comes nearer, move the best focus.
        const double best = vcam::inFocusPosition();
        change("drift", "12");
        EXPECT_DOUBLE_EQ(vcam::inFocusPosition(), best + 12);
        change("drift", "0");
        change("approach", "0.1");
        vcam::setObjectDistanceM(10);
        passMs(2000);
        EXPECT_NEAR(1 / vcam::objectDistanceM(), 0.3, 1e-6);
        passMs(20000);
        EXPECT_NEAR(vcam::objectDistanceM(), 1.5, 1e-6) << "and no nearer";
    });
}

TEST(Flaws, exposure_smears_what_moves_and_slip_loses_steps) {
    run([] {
        change("noise", "0");
        startParked();
        placeLens(18664, 10886);
        const double still = focusValues().first;
        change("exposure", "1");
        EXPECT_NEAR(focusValues().first, still, 1) << "what stands is no less sharp";
        lensMotorFocusRunSteps(MS_F_NEAR, 30);
        passMs(40 - vcam::nowUs() / 1000 % 40);
        const double smeared = vcam::focusValue(); // of a frame that began before it had arrived
        passMs(200);
        EXPECT_GT(smeared, 1.02 * vcam::focusValue());
        change("slip", "0.5");
        lensMotorFocusRunSteps(MS_F_FAR, 400);
        EXPECT_FALSE(vcam::areCountersTrue());
    });
}

TEST(Flaws, options_say_what_they_cannot_be_and_stay_as_they_were) {
    vcam::CameraOptions options;
    const std::pair<const char *, const char *> rows[] = {
        {"backlash-focus", "65"}, {"backlash-focus", "1.5"}, {"delay", "-1"}, {"flicker", "nan"},
        {"second-zones", "xyz"},  {"contrast", "2"},         {"slip", ""}};
    for (const auto &[name, text] : rows)
        EXPECT_NE(vcam::takeOption(*vcam::findOption(name), text, options), "") << name << text;
    EXPECT_EQ(options.flaws.backlashFocus, 0);
    EXPECT_EQ(options.flaws.contrast, 1);
    EXPECT_EQ(vcam::changeOption(*vcam::findOption("seed"), "7", options),
              "seed is chosen before the camera starts");
    EXPECT_EQ(vcam::findOption("sede"), nullptr);
}
