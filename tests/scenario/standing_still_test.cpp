// A camera that nobody touches: noise alone must never make it refocus, a real change must once.
#include "scenario.h"

#include "optics/scene.h"

using namespace scenario;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__) || defined(__arm__)
static const int64_t kHours = 1; // each hour is 90,000 frames; the ARM build runs under emulation
#else
static const int64_t kHours = 24;
#endif
static const int64_t kHourMs = 3600000;

static void standStill(bool isNight) {
    vcam::CameraOptions options;
    options.traceFile = "/dev/null";
    run(options, [=] {
        startAndSettle();
        vcam::setNight(isNight);
        AF_Manager_Set_ICUTStatusLast_API(isNight ? 1 : 2);
        command(CMD_TELE);
        passMs(2000);
        command(CMD_ZSTOP);
        waitSettled(60);
        const size_t before = host().savedPositions.size();
        passMs(kHours * kHourMs);
        EXPECT_EQ(host().savedPositions.size(), before);
        vcam::setObjectDistanceM(3);
        waitSettled(60);
        EXPECT_EQ(host().savedPositions.size(), before + 1);
        passMs(kHourMs);
        EXPECT_EQ(host().savedPositions.size(), before + 1);
        expectSound();
    });
}

TEST(StandingStill, by_day_only_a_real_change_refocuses_in_24_hours_and_once) {
    standStill(false);
}

TEST(StandingStill, by_night_only_a_real_change_refocuses_in_24_hours_and_once) {
    standStill(true);
}
