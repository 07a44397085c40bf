// Zoom ratios and 16-bit positions: the maps for every ratio count, and what is published.
#include "fixtures.h"

#include <vector>

namespace {

class ZoomRatio : public LensCase {
protected:
    static std::string shownText() {
        char text[AF_OSD_TEXT_SIZE] = "?";
        AF_Manager_Get_OSDData_API(text);
        return text;
    }

    static int setCount(unsigned count) {
        int result = -7;
        printedBy([&] { result = Lens_Reset_OSDMULMAP(count); });
        return result;
    }
};

} // namespace

TEST_F(ZoomRatio, every_count_spreads_its_ratios_over_the_60_quarters) {
    unsigned sum = 0;
    for (unsigned m = 0; m < 36; ++m)
        sum += (m + 1) * gZRPosition[m];
    EXPECT_EQ(sum, 15752262u);
    for (int count = 36; count >= 18; --count) {
        SCOPED_TRACE(testing::Message() << count << " ratios");
        setCount(static_cast<unsigned>(count));
        EXPECT_EQ(g_Average * (count - 1) + g_Remainder, 60);
        EXPECT_LT(g_Remainder, count - 1);
        int point = 0;
        for (int m = 0; m < count; ++m) {
            const Lens_Index_Map &entry = gOSDMultipleMap[m];
            EXPECT_EQ(entry.ratio, m + 1);
            EXPECT_EQ(entry.index1 * 4 + entry.index2, point) << "ratio " << m + 1;
            EXPECT_EQ(gPositionMap[point / 4][point % 4], gZRPosition[m]) << "ratio " << m + 1;
            point += m < g_Remainder ? g_Average + 1 : g_Average; // the long gaps come first
        }
        EXPECT_EQ(gOSDMultipleMap[count - 1].index1, 15);
        for (int m = count; m < 36; ++m)
            EXPECT_EQ(gOSDMultipleMap[m].ratio + gOSDMultipleMap[m].index1, 0) << m;
    }
}

TEST_F(ZoomRatio, points_between_two_ratios_are_interpolated_and_cut) {
    const struct {
        unsigned count;
        int firstPoint;
        std::vector<int> positions;
    } rows[] = {
        {18, 0, {0, 1556, 3112, 4668, 6225, 6892, 7559, 8226, 8894}},
        {18, 57, {16123, 16158, 16193, 16228}},
        {19, 0, {0, 1556, 3112, 4668, 6225, 6892}},
        {19, 23, {12921, 13088, 13272, 13456, 13641}}, // the first short gap
        {25, 54, {16624, 16696, 16768, 18624, 20480, 22528, 24576}},
        {36, 0, {0, 3112, 6225, 7559, 8894}},
        {36, 47, {22528, 24576, 25920, 27264, 28672, 29440}},
        {36, 58, {31232, 31424, 32768}},
    };
    for (const auto &row : rows) {
        setCount(row.count);
        int point = row.firstPoint;
        for (const int expected : row.positions) {
            EXPECT_EQ(gPositionMap[point / 4][point % 4], expected)
                << row.count << " ratios, point " << point;
            ++point;
        }
    }
}

TEST_F(ZoomRatio, count_outside_18_to_36_is_refused_and_changes_nothing) {
    setCount(20);
    gOSDMultipleMap[0].ratio = 77; // would not outlive a rebuild
    for (const unsigned count : {0u, 17u, 37u, 0xFFFFFFFFu}) {
        int results[2] = {0, 0};
        const std::string text = printedBy([&] {
            results[0] = Lens_Reset_OSDMULMAP(count);
            results[1] = Lens_Init_OSDMultiple(count);
        });
        const std::string tail =
            " Line:# Invaled osd multiple " + std::to_string(static_cast<int>(count)) + ".\n";
        EXPECT_EQ(text, "_Fun:Lens_Reset_OSDMULMAP" + tail + "_Fun:Lens_Init_OSDMultiple" + tail);
        EXPECT_EQ(results[0], -1);
        EXPECT_EQ(results[1], -1);
        EXPECT_EQ(gOSDMultipleMax, 20u);
        EXPECT_EQ(gOSDMultipleMap[0].ratio, 77);
    }
}

TEST_F(ZoomRatio, count_in_force_is_not_built_again_and_a_new_one_is_published_at_once) {
    setPosition(20488, 12234);
    Lens_Map_ZPosition(20488);
    gOSDMultipleMap[0].ratio = 77;
    EXPECT_EQ(printedBy([] { Lens_Reset_OSDMULMAP(18); }), "");
    EXPECT_EQ(gOSDMultipleMap[0].ratio, 77);
    EXPECT_EQ(record.shRZPosition, 16228);
    EXPECT_EQ(printedBy([] { Lens_Reset_OSDMULMAP(35); }),
              "_Fun:Lens_Init_OSDMULMAP Line:# average: 1 remainder: 26\n");
    EXPECT_EQ(record.shRZPosition, 31424);
    EXPECT_EQ(shownText(), "X35");
}

TEST_F(ZoomRatio, zoom_position_is_published_as_that_of_the_quarter_below_with_its_ratio) {
    const struct {
        unsigned count, zoom;
        int position16;
        const char *text;
    } rows[] = {
        {18, 10216, 0, "X01"},     {18, 10407, 0, "X01"},     {18, 10408, 1556, "X01"},
        {18, 10983, 4668, "X01"},  {18, 10984, 6225, "X02"},  {18, 11176, 6892, "X02"},
        {18, 20487, 16193, "X17"}, {18, 20488, 16228, "X18"}, {19, 14824, 13088, "X07"},
        {19, 15016, 13272, "X07"}, {19, 20488, 16314, "X19"}, {25, 20488, 24576, "X25"},
        {36, 10408, 3112, "X01"},  {36, 20431, 31232, "X34"}, {36, 20432, 31424, "X35"},
        {36, 20487, 31424, "X35"}, {36, 20488, 32768, "X36"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.count << " ratios, zoom " << row.zoom);
        setCount(row.count);
        EXPECT_EQ(Lens_Map_ZPosition(row.zoom), row.position16);
        EXPECT_EQ(record.shRZPosition, row.position16);
        EXPECT_EQ(shownText(), row.text);
    }
    for (const unsigned outside : {10215u, 20489u}) {
        unsigned short position16 = 0;
        printedBy([&] { position16 = Lens_Map_ZPosition(outside); });
        EXPECT_EQ(position16, 65535);
        EXPECT_EQ(record.shRZPosition, 32768);
        EXPECT_EQ(shownText(), "X36");
    }
}

TEST_F(ZoomRatio, record_takes_what_is_published_and_without_one_nothing_is_shown) {
    record.shValue = 0xFFFFFFFF;
    EXPECT_EQ(lensDirectZPosition(CMD_DZF, 0x8001), 0);
    EXPECT_EQ(record.shValue, 0x8001u); // no leftover focus half
    Lens_Map_ZPosition(10216);
    g_ShaPosInfo = nullptr;
    unsigned short position16 = 0;
    EXPECT_EQ(Lens_Map_ZPosition(20488), 16228);
    EXPECT_EQ(Lens_Map_FPosition(10000), 49152);
    EXPECT_EQ(shownText(), "X01");
    EXPECT_EQ(lensGetZMapPosition(&position16), -1);
    EXPECT_EQ(lensGetFMapPosition(&position16), -1);
    EXPECT_EQ(lensDirectZPosition(CMD_DZF, 0x4000), -1);
}

TEST_F(ZoomRatio, focus_position_falls_toward_far_and_stays_at_0_outside_the_scale) {
    const struct {
        unsigned focus;
        int position16;
    } rows[] = {{10000, 49152}, {10001, 49142}, {12234, 28525}, {14868, 4206},
                {14880, 4096},  {15323, 5},     {15324, 0},     {9999, 0}};
    for (const auto &row : rows) {
        EXPECT_EQ(Lens_Map_FPosition(row.focus), row.position16) << row.focus;
        EXPECT_EQ(record.shRFPosition, row.position16) << row.focus;
    }
    PI_Near_Range = PI_Far_Range = 0; // before start-up
    EXPECT_EQ(Lens_Map_FPosition(10000), 0);
}

TEST_F(ZoomRatio, requested_position_is_rounded_up_to_the_next_quarter) {
    const struct {
        int position16, point;
    } rows[] = {{0, 0},      {1, 1},      {1556, 1},   {1557, 2},  {6225, 4},
                {16193, 59}, {16194, 60}, {16228, 60}, {65535, 60}};
    for (const auto &row : rows)
        EXPECT_EQ(firstPointAtOrAbove(static_cast<unsigned short>(row.position16)), row.point)
            << row.position16;
}
