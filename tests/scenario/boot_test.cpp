// From power-on to the first sharp picture.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "optics/lens_curves.h"

#include <cmath>

using namespace scenario;

TEST(Boot, driver_is_set_up_before_anything_moves) {
    run([] {
        startLibrary();
        passMs(600);
        const std::vector<std::string> expected = {"20=0f02", "23=6c6c",  "28=6c6c", "22=0002",
                                                   "24=0600", "25=1ab5",  "27=0002", "29=0600",
                                                   "2a=1ab5", "VD 25000", "29=0e00", "VD 25000"};
        std::vector<std::string> log = motorLog();
        log.resize(expected.size());
        EXPECT_EQ(log, expected);
        EXPECT_EQ(events("gpio", "vd").front().timeUs, 520000); // pad 500 ms, reset 20 ms
    });
}

TEST(Boot, any_start_position_homes_and_parks_at_wide_and_infinity) {
    struct Start {
        int lens, zoom, focus, parkedZoom;
    };
    const Start starts[] = {
        {1, 10000, 10000, 10216}, {1, 21040, 14880, 10216}, {1, 16744, 11360, 10216},
        {1, 16745, 11359, 10216}, {0, 10000, 14384, 10000}, {0, 20272, 10000, 10000},
    };
    for (const Start &start : starts) {
        SCOPED_TRACE(testing::Message()
                     << "lens " << start.lens << " from " << start.zoom << ", " << start.focus);
        vcam::CameraOptions options;
        options.lensType = start.lens;
        options.zoomStart = start.zoom;
        options.focusStart = start.focus;
        run(options, [&] {
            g_LensType = start.lens;
            startAndSettle();
            EXPECT_EQ(host().savedPositions.front().first, unsigned(start.parkedZoom));
            EXPECT_EQ(host().savedPositions.front().second, 12234u);
            EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1);
            expectSound();
        });
    }
}
