// Moves of a counted number of steps: the words that reach the driver, period by period.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

using namespace scenario;

/// @p first steps in the first period, 16 more in each next one, in the last one what is left.
static std::vector<int> ramp(int way, int first = 32, int most = 128) {
    std::vector<int> runs;
    int left = std::abs(way);
    for (int step = first; left > 0; step = std::min(step + 16, most)) {
        runs.push_back(std::min(step, left) * (way < 0 ? -1 : 1));
        left -= std::min(step, left);
    }
    return runs;
}

TEST(CountedMove, way_to_any_destination_is_cut_to_the_limits_and_takes_the_fewest_periods) {
    const int ways[] = {-20000, -6529, -689, -81, -80, -79, -1, 0, 32, 33, 433, 687, 3745};
    run([&] {
        startParked();
        for (size_t i = 0; i < std::size(ways); ++i) {
            const unsigned askedZoom = 16744u + unsigned(ways[i]); // the first one wraps to large
            const unsigned askedFocus = 11360u + unsigned(ways[std::size(ways) - 1 - i]);
            SCOPED_TRACE(testing::Message() << "to " << askedZoom << ", " << askedFocus);
            const unsigned zoom = std::clamp(askedZoom, 10216u, 20488u);
            const unsigned focus = std::clamp(askedFocus, 10000u, 14868u);
            const std::vector<int> zoomRuns = ramp(int(zoom) - 16744);
            const std::vector<int> focusRuns = ramp(int(focus) - 11360);
            ASSERT_EQ(Lens_Check_PIPosition(), 0);
            const int64_t startUs = vcam::nowUs();
            Lens_To_Destination(askedZoom, askedFocus);
            EXPECT_EQ(motorRuns("AB", startUs), zoomRuns);
            EXPECT_EQ(motorRuns("CD", startUs), focusRuns);
            const size_t periods = std::max({zoomRuns.size(), focusRuns.size(), size_t(1)});
            EXPECT_EQ(vcam::nowUs() - startUs, int64_t(periods + 1) * 25000); // and the brakes'
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(zoom, focus));
            expectSound();
        }
    });
}

TEST(FocusRun, move_ramps_by_16_ends_with_the_brake_and_heeds_a_command_after_the_period_in_hand) {
    run([] {
        startParked();
        const std::string ramped = "29=0510 2a=02c1 VD 10000\n29=0520 2a=0160 VD 10000\n"
                                   "29=0530 2a=00eb ";
        const int64_t startUs = vcam::nowUs();
        EXPECT_EQ(lensMotorFocusRunSteps(MS_F_FAR, 100), 0);
        EXPECT_EQ(lensMotorFocusRunSteps(MS_F_NEAR, 0), 0); // moves nothing
        EXPECT_EQ(motorText(startUs),
                  ramped + "VD 10000\n29=0504 2a=0b04 VD 10000\n29=0600 VD 10000\n");
        EXPECT_EQ(countSaid("Stop and fSteps:0.", startUs), 1);
        for (const int steps : {1, 16, 17, 47, 48, 95, 200}) {
            const int64_t nextUs = vcam::nowUs();
            EXPECT_EQ(lensMotorFocusRunSteps(MS_F_NEAR, steps), 0);
            EXPECT_EQ(motorRuns("CD", nextUs), ramp(-steps, 16, 48));
        }
        command(CMD_FSTOP); // stands too, and does not interrupt focusing
        std::thread other([] { passMs(15), command(CMD_MFMODE); });
        const int64_t stoppedUs = vcam::nowUs();
        EXPECT_EQ(lensMotorFocusRun(MS_F_FAR, 1000), 1);
        EXPECT_EQ(lensMotorFocusRun(MS_F_FAR, 100), 1); // the command is still there
        other.join();
        EXPECT_EQ(motorText(stoppedUs), ramped + "29=0600 VD 10000\n");
        EXPECT_EQ(countSaid("Stop and fSteps:100.", stoppedUs), 1);
        expectSound();
    });
}
