// The zoom grid, the focus lines over it, and the choice of the line that tracking follows.
#include "fixtures.h"

#include <algorithm>
#include <array>

namespace {

/// Changes with every entry and with its place.
unsigned long sumWithPlaces(const FLine_Tagposition_ST &line) {
    unsigned long sum = 0;
    for (unsigned i = 0; i < 64; ++i)
        sum += (i + 1) * line.tagPosition[i / 4][i % 4];
    return sum;
}

using Row = std::array<unsigned, 4>;

Row rowOf(const unsigned (&table)[16][4], int i) {
    return {table[i][0], table[i][1], table[i][2], table[i][3]};
}

class FocusLines : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        std::copy_n(&tagGroup[0][0], 200, &kept[0][0][0]);
        std::copy_n(&tagGroup290[0][0], 200, &kept[1][0][0]);
    }

    void TearDown() override {
        std::copy_n(&kept[0][0][0], 200, &tagGroup[0][0]);
        std::copy_n(&kept[1][0][0], 200, &tagGroup290[0][0]);
        LensCase::TearDown();
    }

private:
    unsigned kept[2][5][40];
};

using ZoomGrid = LensCase;

} // namespace

TEST_F(FocusLines, start_up_builds_the_lines_of_either_sensor) {
    const struct {
        int sensor;
        unsigned long infinitySum, near2MSum;
        Row infinity1, near2M0, steps14;
        unsigned teleDistance;
    } rows[] = {
        {1,
         22065330,
         21445042,
         {12192, 12159, 12126, 12092},
         {12300, 12269, 12238, 12206},
         {122, 118, 156, 146},
         908},
        {2,
         21808668,
         21244234,
         {12106, 12072, 12038, 12004},
         {12212, 12180, 12148, 12115},
         {118, 120, 138, 134},
         792},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "sensor " << row.sensor);
        printedBy([&] { buildLens(LENS_B, row.sensor); });
        EXPECT_EQ(sumWithPlaces(g_FLineInfo), row.infinitySum);
        EXPECT_EQ(sumWithPlaces(g_FLineInfo_2M), row.near2MSum);
        EXPECT_EQ(rowOf(g_FLineInfo.tagPosition, 1), row.infinity1);
        EXPECT_EQ(rowOf(g_FLineInfo_2M.tagPosition, 0), row.near2M0);
        EXPECT_EQ(rowOf(FM_Step_Run, 0), (Row{32, 32, 32, 32}));
        EXPECT_EQ(rowOf(FM_Step_Run, 14), row.steps14);
        EXPECT_EQ(rowOf(FM_Step_Run, 15), (Row{0, 0, 0, 0}));
        EXPECT_EQ(rowOf(g_Interpolation, 15), (Row{row.teleDistance, 0, 0, 0}));
    }
    EXPECT_EQ(rowOf(FM_Step_Run_2M, 14), (Row{88, 88, 90, 106}));
}

TEST_F(FocusLines, unit_gets_the_2m_group_at_or_below_it_or_one_within_8_steps_above) {
    const struct {
        int sensor;
        unsigned wideInfinity, group;
    } rows[] = {
        {1, 0, 0},     {1, 12242, 0}, {1, 12250, 0}, {1, 12277, 0}, {1, 12278, 1}, {1, 12286, 1},
        {1, 12320, 2}, {1, 12341, 2}, {1, 12342, 3}, {1, 12417, 3}, {1, 12418, 4}, {1, 12426, 4},
        {1, 20000, 4}, {2, 12195, 0}, {2, 12204, 0}, {2, 12210, 0}, {2, 12225, 0}, {2, 12226, 1},
        {2, 12230, 1}, {2, 12233, 1}, {2, 12234, 4}, {2, 12300, 4}, {0, 12230, 1}, {3, 12234, 4},
    };
    for (unsigned group = 0; group < 5; ++group) // four of the groups hold the same line
        tagGroup[group][39] = tagGroup290[group][39] = group;
    for (const auto &row : rows) {
        g_SensType = row.sensor;
        g_FLineInfo.tagPosition[0][0] = row.wideInfinity;
        Lens_Init_2MFocusLine();
        EXPECT_EQ(g_FLineInfo_2M.tagPosition[15][0], row.group)
            << "sensor " << row.sensor << ", infinity " << row.wideInfinity;
    }
}

TEST_F(FocusLines, line_between_runs_from_the_infinity_line_to_the_2m_line) {
    Lens_Set_FocusStepTmp(0);
    EXPECT_EQ(sumWithPlaces(g_FLineInfo_Tmp), sumWithPlaces(g_FLineInfo));
    EXPECT_TRUE(std::equal(&FM_Step_Run[0][0], &FM_Step_Run[0][0] + 64, &FM_Step_Run_Tmp[0][0]));
    Lens_Set_FocusStepTmp(1);
    EXPECT_EQ(sumWithPlaces(g_FLineInfo_Tmp), sumWithPlaces(g_FLineInfo_2M));
    EXPECT_TRUE(
        std::equal(&FM_Step_Run_2M[0][0], &FM_Step_Run_2M[0][0] + 64, &FM_Step_Run_Tmp[0][0]));
    Lens_Set_FocusStepTmp(0.3f); // shares are cut toward zero: 22 * 0.3 to 6, 23 * 0.3 to 6
    EXPECT_EQ(rowOf(g_FLineInfo_Tmp.tagPosition, 0), (Row{12228, 12196, 12164, 12132}));
    EXPECT_EQ(FM_Step_Run_Tmp[0][3], 32u - 6 + 7); // on to row 1: 24 * 0.3 to 7
}

TEST_F(FocusLines, empty_line_from_the_host_is_used_as_it_is) {
    g_FLineInfo = {};
    Lens_Init_2MFocusLine();
    printedBy(Lens_Init_Interpolation);
    Lens_Set_FocusStep();
    EXPECT_EQ(rowOf(g_FLineInfo_2M.tagPosition, 0), (Row{12182, 12150, 12118, 12085})); // group 0
    EXPECT_EQ(g_Interpolation[0][0], 12182u);
    EXPECT_EQ(rowOf(FM_Step_Run, 7), (Row{0, 0, 0, 0}));
    unsigned nearEnd = 1, farEnd = 1;
    EXPECT_EQ(Lens_Get_SearchRange(0, 0, &nearEnd, &farEnd), 0);
    EXPECT_EQ(nearEnd, 12182u);
    EXPECT_EQ(farEnd, 0u);
}

TEST_F(FocusLines, flag_selects_line_and_steps) {
    FM_Step_Run[3][2] = 0x1F0;
    FM_Step_Run_2M[3][2] = 0x2F1;
    FM_Step_Run_Tmp[3][2] = 0xF2;
    const struct {
        int flag;
        const FLine_Tagposition_ST *line;
        int step; // low 8 bits
    } rows[] = {{0, &g_FLineInfo, 0xF0}, {1, &g_FLineInfo_2M, 0xF1}, {2, &g_FLineInfo_Tmp, 0xF2},
                {3, &g_FLineInfo, 0},    {7, &g_FLineInfo, 0},       {-1, &g_FLineInfo, 0}};
    for (const auto &row : rows) {
        g_FLineFlag = row.flag;
        EXPECT_EQ(Lens_Get_FocusLine(), row.line) << row.flag;
        EXPECT_EQ(Lens_Get_FocusStep(3, 2), row.step) << row.flag;
    }
}

TEST_F(FocusLines, where_the_focus_stands_chooses_the_line_that_tracking_follows) {
    const struct {
        int index1, index2;
        unsigned focus;
        int flag;
        unsigned between; // position of the chosen line between at the grid point
        const char *name;
    } rows[] = {
        {0, 0, 14868, 0, 0, "INF"},     {0, 0, 12234, 0, 0, "INF"},
        {0, 0, 12233, 2, 12233, "TMP"}, {0, 0, 12223, 2, 12223, "TMP"},
        {0, 0, 12213, 2, 12213, "TMP"}, {0, 0, 12212, 1, 0, "222"},
        {0, 0, 10000, 1, 0, "222"},     {15, 0, 12518, 2, 12518, "TMP"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "focus " << row.focus);
        g_FLineFlag = 7;
        g_FLineInfo_Tmp = {};
        setPosition(ZM_Wide_Limit, row.focus);
        const std::string text = printedBy([&] { Lens_FCurve_Choise(row.index1, row.index2); });
        EXPECT_EQ(g_FLineFlag, row.flag);
        EXPECT_EQ(text,
                  std::string("_Fun:Lens_FCurve_Choise Line:# @@__") + row.name + "__@@.\n\n");
        EXPECT_EQ(g_FLineInfo_Tmp.tagPosition[row.index1][row.index2], row.between);
    }
    EXPECT_EQ(g_FLineInfo_Tmp.tagPosition[0][0], 12223u); // the last row's half way, all along
}

TEST_F(FocusLines, search_range_ends_at_the_travel_limits) {
    const struct {
        unsigned near2M, infinity, nearEnd, farEnd;
    } rows[] = {{12212, 12234, 12212, 12234},
                {9999, 14869, 10000, 14868},
                {10000, 14868, 10000, 14868},
                {10001, 14867, 10001, 14867}};
    for (const auto &row : rows) {
        unsigned nearEnd = 0, farEnd = 0;
        g_FLineInfo_2M.tagPosition[4][3] = row.near2M;
        g_FLineInfo.tagPosition[4][3] = row.infinity;
        EXPECT_EQ(Lens_Get_SearchRange(4, 3, &nearEnd, &farEnd), 0);
        EXPECT_EQ(nearEnd, row.nearEnd);
        EXPECT_EQ(farEnd, row.farEnd);
    }
}

TEST_F(ZoomGrid, position_is_placed_on_the_quarter_at_or_below_it) {
    const struct {
        unsigned zoom;
        int index1, index2;
    } rows[] = {{10216, 0, 0},  {10407, 0, 0},  {10408, 0, 1},  {10416, 0, 1},  {10983, 0, 3},
                {10984, 1, 0},  {19431, 11, 3}, {19432, 12, 0}, {19560, 12, 1}, {19943, 12, 3},
                {19944, 13, 0}, {20023, 13, 0}, {20024, 13, 1}, {20264, 14, 0}, {20320, 14, 1},
                {20487, 14, 3}, {20488, 15, 0}};
    for (const auto &row : rows) {
        int index1 = -7, index2 = -7;
        EXPECT_EQ(Lens_Get_ZoomIndex(&index1, &index2, row.zoom), 0) << row.zoom;
        EXPECT_EQ(index1, row.index1) << row.zoom;
        EXPECT_EQ(index2, row.index2) << row.zoom;
        setPosition(row.zoom, 12234);
        EXPECT_EQ(Lens_Get_FLTagIndex(), row.index1) << row.zoom;
    }
}

TEST_F(ZoomGrid, in_focus_position_is_interpolated_between_the_tag_points) {
    const struct {
        unsigned zoom;
        int focus;
    } rows[] = {{10215, -1},    {10216, 12234}, {10600, 12170}, {10984, 12106},
                {20376, 12659}, {20488, 12914}, {20489, -1}};
    for (const auto &row : rows) {
        setPosition(row.zoom, 10000);
        EXPECT_EQ(Lens_Get_FLTagPosition(), row.focus) << row.zoom;
    }
}

TEST_F(ZoomGrid, position_outside_is_reported_and_leaves_the_indices_alone) {
    for (const unsigned zoom : {0u, 10215u, 20489u, 0xFFFFFFFFu}) {
        int index1 = -7, index2 = -7, result = 0;
        EXPECT_EQ(printedBy([&] { result = Lens_Get_ZoomIndex(&index1, &index2, zoom); }),
                  "_Fun:Lens_Get_ZoomIndex Line:# Error.\n");
        EXPECT_EQ(result, -1) << zoom;
        EXPECT_EQ(index1, -7) << zoom;
        EXPECT_EQ(index2, -7) << zoom;
        setPosition(zoom, 12234);
        EXPECT_EQ(Lens_Get_FLTagIndex(), -1) << zoom;
    }
}

TEST_F(ZoomGrid, grid_that_misses_the_tele_limit_is_reported_and_kept) {
    EXPECT_EQ(printedBy(Lens_Init_ZoomStep), "");
    EXPECT_EQ(ZM_Step_Run[15], 20488u);
    g_LensType = LENS_A;
    Lens_Init_GlobalVariable();
    EXPECT_EQ(printedBy(Lens_Init_ZoomStep),
              "_Fun:Lens_Init_ZoomStep Line:# ERROR !!! ZM_Tele_Limit: 20080\n");
    EXPECT_EQ(ZM_Step_Run[0], 10000u);
    EXPECT_EQ(ZM_Step_Run[15], 20272u);
}
