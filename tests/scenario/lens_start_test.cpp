// What start-up makes of what the host has kept: the position, the infinity curve, or nothing.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

#include <algorithm>

using namespace scenario;

TEST(LensStart, stored_position_is_remembered_or_refused_as_a_whole_and_never_driven_to) {
    const struct {
        int lens, sensor, zoomStart, focusStart;
        unsigned stored; // zoom position with the focus at 11000; 0: none
        unsigned lockStart;
        Place parked, remembered;
    } rows[] = {
        {LENS_B, 2, 21040, 14880, 0, 12533, {10216, 12234}, {20488, 12234}},
        {LENS_B, 1, 16745, 11359, 0, 13120, {10216, 12320}, {20488, 12320}},
        {LENS_A, 2, 10000, 14384, 0, 12922, {10000, 12234}, {20080, 12234}},
        {LENS_A, 1, 20272, 10000, 0, 13288, {10000, 12320}, {20080, 12320}},
        {LENS_B, 2, 10000, 10000, 15000, 12533, {10216, 12234}, {15000, 11000}},
        {LENS_B, 2, 16744, 11360, 10215, 12533, {10216, 12234}, {20488, 12234}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "lens " << row.lens << ", sensor " << row.sensor);
        run(startAt(row.zoomStart, row.focusStart, row.lens), [&] {
            g_LensType = row.lens;
            g_SensType = row.sensor;
            host().hasPosition = row.stored != 0;
            host().zoom = row.stored;
            host().focus = 11000;
            startParked();
            EXPECT_EQ(host().savedPositions.back(), row.parked);
            EXPECT_EQ(Place(ZM_Step_Powoff, FM_Step_Powoff), row.remembered);
            EXPECT_EQ(FM_Lock_Start, row.lockStart);
            expectSound();
        });
    }
}

TEST(LensStart, curve_that_the_host_left_zero_or_garbage_drives_no_axis_out_of_its_travel) {
    for (unsigned entry : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(entry);
        run([&] {
            host().hasFocusLine = true;
            for (auto &tagPoint : host().focusLine.focus)
                std::fill_n(tagPoint, 4, entry);
            startParked();
            EXPECT_EQ(host().savedPositions.back(), Place(10216, entry == 0 ? 10000 : 14868));
            const int64_t pollUs = nextPollUs();
            command(CMD_TELE);
            vcam::sleepUntilUs(pollUs + 100000);
            command(CMD_ZSTOP); // and its autofocus run
            waitIdle();
            EXPECT_EQ(truePlace().first, 10600u);
            command(CMD_DZF, gPositionMap[15][0]); // tele, where it counts as having been before
            waitUntil([] { return Lens_Get_Command() != CMD_DZF; }, 60, "it is restored");
            EXPECT_EQ(truePlace(), Place(20488, entry == 0 ? 10000 : 14868));
            expectSound();
        });
    }
}
