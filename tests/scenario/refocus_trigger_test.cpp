// When the camera refocuses by itself: after 26 frames in a row that differ by more than a fifth.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

using namespace scenario;

static bool firesInTime() {
    passMs(8000);
    return countSaid("______Start______", vcam::nowUs() - 8000000) > 0;
}

TEST(RefocusTrigger, preset_202_switches_it_and_is_never_cleared) {
    run([] {
        startAndSettle();
        command(CMD_SPST, 202);
        passMs(100);
        command(CMD_CLPST, 202);
        passMs(100);
        EXPECT_NE(loadWord(&g_APGroupInfo.aZPosition[202]), 0u);
        vcam::setObjectDistanceM(1);
        EXPECT_FALSE(firesInTime());
        command(CMD_CAPST, 202);
        EXPECT_TRUE(firesInTime());
        EXPECT_FALSE(firesInTime()); // the run has set a new reference
    });
}

// ---- Frames made up, in no time ----

/// Up to @p count frames; the number of the one that fired, 0 for none.
static int feed(unsigned value, int count) {
    g_AFStatistics.vwV1SumHalf = value;
    for (int frame = 1; frame <= count; ++frame) {
        Lens_Set_Command(CMD_MFMODE);
        lensAutoFocusCheck(10000, 10000); // the published record is what counts
        if (Lens_Get_Command() == CMD_FOCUS)
            return frame;
    }
    return 0;
}

/// A frame while disarmed clears the count.
static void armAfresh(int reference) {
    g_AFVClearMax = reference;
    lensFocusMode(CMD_MFMODE);
    feed(0, 1);
    lensFocusMode(CMD_AFMODE);
}

TEST(RefocusTrigger, frame_counts_when_it_is_more_than_a_fifth_away_in_the_part_that_decides) {
    const struct {
        int reference;
        unsigned value;
        int fires;
    } rows[] = {{10000, 12001, 26}, {10000, 12000, 0}, {10000, 7999, 26}, {10000, 8000, 0},
                {0, 1, 26},         {0, 0, 0},         {5, 7, 26},        {10000, 0xFFFFFFFF, 26}};
    run([&] {
        startParked();
        for (const auto &row : rows) {
            armAfresh(row.reference);
            EXPECT_EQ(feed(row.value, 60), row.fires) << row.reference << " and " << row.value;
        }
        g_AFStatistics.vwV1SumAll = 7999; // the whole picture decides in the last sections
        for (const unsigned zoom : {19943u, 19944u, 20488u}) {
            storeWord(&ZM_Step_Local, zoom);
            armAfresh(10000);
            EXPECT_EQ(feed(10000, 30), zoom == 19943 ? 0 : 26) << zoom;
        }
    });
}

TEST(RefocusTrigger, count_starts_again_is_frozen_or_goes_on) {
    run([] {
        startParked();
        armAfresh(10000);
        EXPECT_EQ(feed(7999, 25), 0);
        armAfresh(10000); // starts again
        EXPECT_EQ(feed(7999, 25), 0);
        EXPECT_EQ(feed(9000, 1), 0); // within tolerance: so does this
        EXPECT_EQ(feed(7999, 20), 0);
        AF_Manager_SetFocusMode_API(0); // frozen
        EXPECT_EQ(feed(7999, 40), 0);
        AF_Manager_SetFocusMode_API(1);
        storeWord(&ZM_Step_Local, 20489u); // outside the grid nothing can be judged
        EXPECT_EQ(feed(7999, 40), 0);
        storeWord(&ZM_Step_Local, 15000u);
        EXPECT_EQ(feed(7999, 40), 6);
        EXPECT_EQ(feed(7999, 40), 0); // quiet until armed again
        for (unsigned code = 0; code <= CMD_NONE; ++code) {
            lensFocusMode(AF_CMD_em(code));
            EXPECT_EQ(feed(7999, 40), code == CMD_MFMODE ? 0 : 26) << code;
        }
    });
}
