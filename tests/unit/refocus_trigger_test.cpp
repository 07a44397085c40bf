// When a changed picture asks for an autofocus run by itself.
#include "fixtures.h"

namespace {

class RefocusTrigger : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        g_AutoCheckEnable = 1;
        g_AFVClearMax = 10000;
        armAfresh();
    }

    void TearDown() override {
        g_AutoCheckEnable = 1;
        g_AutoCheckFlag = 0;
        g_AFVClearMax = 0;
        g_AFStatistics = {};
        LensCase::TearDown();
    }

    /// A frame while disarmed clears the count.
    static void armAfresh() {
        g_AutoCheckFlag = 0;
        lensAutoFocusCheck(0, 0);
        g_AutoCheckFlag = 1;
    }

    /// Up to @p count frames; the number of the one that fired, 0 for none.
    int feed(unsigned value, int count) {
        g_AFStatistics.vwV1SumHalf = value;
        for (int frame = 1; frame <= count; ++frame) {
            record.shCommand = kUntouched;
            lensAutoFocusCheck(10000, 10000); // the published record is what counts
            if (record.shCommand == CMD_FOCUS)
                return frame;
            EXPECT_EQ(record.shCommand, kUntouched);
        }
        return 0;
    }
};

} // namespace

TEST_F(RefocusTrigger, fires_at_the_26th_frame_more_than_a_fifth_away) {
    const struct {
        int reference;
        unsigned value;
        int fires;
    } rows[] = {
        {10000, 12001, 26}, {10000, 12000, 0}, {10000, 7999, 26}, {10000, 8000, 0},
        {10000, 10000, 0},  {10000, 0, 26},    {0, 1, 26},        {0, 0, 0},
        {5, 7, 26},         {5, 6, 0},         {5, 4, 0},         {10000, 0xFFFFFFFF, 26},
    };
    for (const auto &row : rows) {
        g_AFVClearMax = row.reference;
        armAfresh();
        EXPECT_EQ(feed(row.value, 60), row.fires) << row.reference << " and " << row.value;
        EXPECT_EQ(g_AutoCheckFlag, row.fires == 0 ? 1 : 0);
    }
}

TEST_F(RefocusTrigger, frame_within_tolerance_starts_the_count_again) {
    EXPECT_EQ(feed(7999, 25), 0);
    EXPECT_EQ(feed(9000, 1), 0);
    EXPECT_EQ(feed(7999, 40), 26);
}

TEST_F(RefocusTrigger, fired_trigger_stays_quiet_until_armed_again_and_counts_anew) {
    EXPECT_EQ(feed(7999, 26), 26);
    EXPECT_EQ(feed(7999, 40), 0);
    lensFocusMode(CMD_AFMODE);
    EXPECT_EQ(feed(7999, 40), 26);
    g_AutoCheckFlag = 1; // without a frame in between
    EXPECT_EQ(feed(7999, 40), 26);
}

TEST_F(RefocusTrigger, switched_off_keeps_its_count_and_disarmed_loses_it) {
    EXPECT_EQ(feed(7999, 20), 0);
    AF_Manager_SetFocusMode_API(0);
    EXPECT_EQ(feed(7999, 40), 0);
    AF_Manager_SetFocusMode_API(1);
    EXPECT_EQ(feed(7999, 40), 6);
    lensFocusMode(CMD_AFMODE);
    EXPECT_EQ(feed(7999, 20), 0);
    lensFocusMode(CMD_MFMODE);
    EXPECT_EQ(feed(7999, 40), 0);
    lensFocusMode(CMD_NONE);
    EXPECT_EQ(feed(7999, 40), 26);
}

TEST_F(RefocusTrigger, whole_picture_decides_in_the_last_sections) {
    const struct {
        unsigned zoom;
        int fires;
    } rows[] = {{19943, 0}, {19944, 26}, {20488, 26}};
    g_AFStatistics.vwV1SumAll = 7999;
    for (const auto &row : rows) {
        setPosition(row.zoom, 12000);
        armAfresh();
        EXPECT_EQ(feed(10000, 30), row.fires) << row.zoom;
    }
    g_AFStatistics.vwV1SumAll = 10000; // and the centre no more
    g_AutoCheckFlag = 1;
    EXPECT_EQ(feed(7999, 30), 0);
}

TEST_F(RefocusTrigger, frame_at_a_zoom_outside_the_grid_is_skipped) {
    EXPECT_EQ(feed(7999, 25), 0);
    setPosition(20489, 12000);
    int fires = -1;
    printedBy([&] { fires = feed(7999, 40); });
    EXPECT_EQ(fires, 0);
    setPosition(15000, 12000);
    EXPECT_EQ(feed(7999, 1), 1);
}

TEST_F(RefocusTrigger, no_code_but_manual_mode_disarms) {
    for (unsigned code = 0; code <= CMD_NONE; ++code) {
        g_AutoCheckFlag = 7;
        lensFocusMode(static_cast<AF_CMD_em>(code));
        EXPECT_EQ(g_AutoCheckFlag, code == CMD_MFMODE ? 0 : 1) << code;
    }
}
