// From power-on to the first sharp picture.
#include "scenario.h"

#include "devices/lens.h"
#include "optics/lens_curves.h"

#include <cmath>

using namespace scenario;

TEST(Boot, driver_is_set_up_before_anything_moves) {
    run([] {
        startLibrary();
        passMs(600);
        const std::string expected = "wait 520000\n" // pad 500 ms, reset 20 ms
                                     "20=0f02 23=6c6c 28=6c6c 22=0002 24=0600 25=1ab5 27=0002 "
                                     "29=0600 2a=1ab5 VD 25000\n"
                                     "29=0e00 VD 25000\n";
        EXPECT_EQ(motorText().substr(0, expected.size()), expected);
    });
}

TEST(Boot, any_start_position_homes_parks_at_wide_and_infinity_and_is_focused) {
    const struct {
        int lens, zoom, focus;
    } rows[] = {{LENS_B, 21040, 14880},
                {LENS_B, 16745, 11359},
                {LENS_B, 10000, 10000},
                {LENS_A, 10000, 14384},
                {LENS_A, 20272, 10000}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "from " << row.zoom << ", " << row.focus);
        run(startAt(row.zoom, row.focus, row.lens), [&] {
            g_LensType = row.lens;
            startAndSettle();
            const unsigned wide = row.lens == LENS_A ? 10000 : 10216;
            EXPECT_EQ(host().savedPositions.front(), std::make_pair(wide, 12234u));
            EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1);
            expectSound();
        });
    }
}
