// Zoom ratios and 16-bit positions: the maps for every ratio count, and what is published.
#include "fixtures.h"

namespace {

class ZoomRatio : public LensCase {
protected:
    static void expectShown(int ratio) {
        char shown[AF_OSD_TEXT_SIZE] = "?", expected[AF_OSD_TEXT_SIZE];
        AF_Manager_Get_OSDData_API(shown);
        snprintf(expected, sizeof expected, "X%02d", ratio);
        EXPECT_STREQ(shown, expected);
    }

    int setCount(int count) {
        return resultOf([&] { return AF_Manager_Set_Multiple_API(count); });
    }
};

} // namespace

TEST_F(ZoomRatio, ratios_spread_over_the_60_quarters_and_points_between_are_interpolated_and_cut) {
    const std::vector<int> positions = {
        0,     6225,  8894,  10486, 11589, 12422, 13088, 13641, 14110, 14515, 14866, 15170,
        15431, 15653, 15839, 15995, 16123, 16228, 16314, 16384, 16512, 16624, 16768, 20480,
        24576, 27264, 28672, 29440, 30016, 30400, 30720, 30912, 31104, 31232, 31424, 32768};
    EXPECT_EQ(std::vector<int>(gZRPosition, gZRPosition + 36), positions);
    for (int count = 36; count >= 18; --count) {
        SCOPED_TRACE(testing::Message() << count << " ratios");
        EXPECT_EQ(setCount(count), 0);
        const int average = 60 / (count - 1), remainder = 60 % (count - 1);
        EXPECT_EQ(text, "_Fun:Lens_Init_OSDMULMAP Line:# average: " + std::to_string(average) +
                            " remainder: " + std::to_string(remainder) + "\n");
        int ratio = 0, past = 0; // quarters past the ratio's
        for (int point = 0; point <= 60; ++point) {
            const int gap = ratio < remainder ? average + 1 : average; // the long gaps come first
            const int rise = ratio < count - 1 ? gZRPosition[ratio + 1] - gZRPosition[ratio] : 0;
            const int position = gZRPosition[ratio] + rise * past / gap;
            EXPECT_EQ(gPositionMap[point / 4][point % 4], position) << "point " << point;
            EXPECT_EQ(Lens_Map_ZPosition(zoomOfPoint(point)), position);
            EXPECT_EQ(record.shRZPosition, position);
            expectShown(ratio + 1);
            EXPECT_EQ(firstPointAtOrAbove(record.shRZPosition), point);
            ++record.shRZPosition;
            EXPECT_EQ(firstPointAtOrAbove(record.shRZPosition), std::min(point + 1, 60));
            if (past == 0) {
                EXPECT_EQ(gOSDMultipleMap[ratio].ratio, ratio + 1);
                EXPECT_EQ(gOSDMultipleMap[ratio].index1 * 4 + gOSDMultipleMap[ratio].index2, point);
            }
            if (++past == gap) {
                past = 0;
                ++ratio;
            }
        }
    }
}

TEST_F(ZoomRatio, new_count_is_published_at_once_and_one_outside_18_to_36_or_in_force_ignored) {
    setPosition(20488, 12234);
    setCount(36);
    gOSDMultipleMap[0].ratio = 77; // would not outlive a rebuild
    for (const int count : {-1, 0, 17, 37, 36}) {
        EXPECT_EQ(setCount(count), count == 36 ? 0 : -1);
        EXPECT_EQ(text, count == 36 ? ""
                                    : "_Fun:Lens_Reset_OSDMULMAP Line:# Invaled osd multiple " +
                                          std::to_string(count) + ".\n");
    }
    EXPECT_EQ(gOSDMultipleMap[0].ratio, 77);
    for (const unsigned outside : {10215u, 20489u})
        EXPECT_EQ(resultOf([&] { return Lens_Map_ZPosition(outside); }), 65535);
    EXPECT_EQ(record.shRZPosition, 32768);
    gPositionMap[15][0] = 32000; // what is in the maps counts, whoever has written it there
    gOSDMultipleMap[34].ratio = 9;
    EXPECT_EQ(Lens_Map_ZPosition(20488), 32000);
    expectShown(9);
    g_ShaPosInfo = nullptr; // nowhere to publish to
    EXPECT_EQ(Lens_Map_ZPosition(10216), 0);
    expectShown(9);
    EXPECT_EQ(lensDirectZPosition(CMD_DZF, 0x4000), -1);
}

TEST_F(ZoomRatio, focus_position_falls_toward_far_and_stays_at_0_outside_the_scale) {
    const std::pair<unsigned, int> rows[] = {{10000, 49152}, {10001, 49142}, {12234, 28525},
                                             {14868, 4206},  {15323, 5},     {15324, 0},
                                             {9999, 0}};
    for (const auto &[focus, position16] : rows) {
        EXPECT_EQ(Lens_Map_FPosition(focus), position16) << focus;
        EXPECT_EQ(record.shRFPosition, position16) << focus;
    }
}
