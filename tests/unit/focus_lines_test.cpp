// The zoom grid, the focus lines over it, and how tracking and the focus search use them.
#include "fixtures.h"

#include <algorithm>

namespace {

long sumOf(const FLine_Tagposition_ST &line) {
    return sumWithPlaces(&line.tagPosition[0][0], 64);
}

using FocusLines = LensCase;
using ZoomGrid = LensCase;
using TrackingStep = LensCase;

} // namespace

TEST_F(FocusLines, start_up_builds_the_lines_of_either_sensor) {
    const struct {
        int sensor;
        long infinitySum, near2MSum;
        unsigned teleDistance;
    } rows[] = {
        {1, 22065330, 21445042, 908},
        {2, 21808668, 21244234, 792},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "sensor " << row.sensor);
        printedBy([&] { buildLens(row.sensor); });
        EXPECT_EQ(sumOf(g_FLineInfo), row.infinitySum);
        EXPECT_EQ(sumOf(g_FLineInfo_2M), row.near2MSum);
        EXPECT_EQ(g_Interpolation[15][0], row.teleDistance);
    }
    EXPECT_EQ(sumWithPlaces(&tagGroup[0][0], 200), 228415354);
    EXPECT_EQ(sumWithPlaces(&tagGroup290[0][0], 200), 225254264);
}

TEST_F(FocusLines, unit_gets_the_2m_group_at_or_below_it_or_one_within_8_steps_above) {
    const struct {
        int sensor;
        unsigned wideInfinity, tele2M;
    } rows[] = {
        {1, 0, 12160},     {1, 12277, 12160}, {1, 12278, 12248}, {1, 12311, 12248},
        {1, 12312, 12244}, {1, 12341, 12244}, {1, 12342, 12332}, {1, 12417, 12332},
        {1, 12418, 12388}, {1, 20000, 12388}, {2, 12225, 12052}, {2, 12226, 12122},
        {2, 20000, 12122}, // the other groups of this sensor hold one line
    };
    for (const auto &row : rows) {
        g_SensType = row.sensor;
        g_FLineInfo.tagPosition[0][0] = row.wideInfinity;
        Lens_Init_2MFocusLine();
        EXPECT_EQ(g_FLineInfo_2M.tagPosition[15][0], row.tele2M)
            << "sensor " << row.sensor << ", infinity " << row.wideInfinity;
    }
}

TEST_F(FocusLines, where_the_focus_stands_chooses_the_line_that_tracking_follows) {
    const struct {
        int index1;
        unsigned focus;
        int flag;
        unsigned between; // position of the chosen line between at the grid point
        const char *name;
    } rows[] = {
        {0, 14868, 0, 0, "INF"},      {0, 12234, 0, 0, "INF"}, {0, 12233, 2, 12233, "TMP"},
        {0, 12213, 2, 12213, "TMP"},  {0, 12212, 1, 0, "222"}, {0, 10000, 1, 0, "222"},
        {15, 12518, 2, 12518, "TMP"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "focus " << row.focus);
        g_FLineInfo_Tmp = {};
        setPosition(ZM_Wide_Limit, row.focus);
        EXPECT_EQ(printedBy([&] { Lens_FCurve_Choise(row.index1, 0); }),
                  std::string("_Fun:Lens_FCurve_Choise Line:# @@__") + row.name + "__@@.\n\n");
        EXPECT_EQ(g_FLineFlag, row.flag);
        EXPECT_EQ(g_FLineInfo_Tmp.tagPosition[row.index1][0], row.between);
    }
    Lens_Set_FocusStepTmp(0.3f); // shares are cut toward zero: 23 * 0.3 to 6
    EXPECT_EQ(g_FLineInfo_Tmp.tagPosition[0][3], g_FLineInfo.tagPosition[0][3] - 6);
    g_FLineInfo_2M.tagPosition[0][0] = 9999;
    g_FLineInfo.tagPosition[0][0] = 14869;
    unsigned nearEnd = 0, farEnd = 0;
    Lens_Get_SearchRange(0, 0, &nearEnd, &farEnd); // ends at the travel limits
    EXPECT_EQ(nearEnd, 10000u);
    EXPECT_EQ(farEnd, 14868u);
}

TEST_F(ZoomGrid, position_is_placed_on_the_quarter_below_it_and_its_focus_between_the_tag_points) {
    int index1 = -7, index2 = -7, point = 0;
    for (unsigned zoom = 10216; zoom <= 20488; ++zoom) {
        if (point < 60 && zoom >= zoomOfPoint(point + 1))
            ++point;
        setPosition(zoom, 12234);
        ASSERT_EQ(Lens_Get_ZoomIndex(&index1, &index2, zoom), 0) << zoom;
        ASSERT_EQ(index1 * 4 + index2, point) << zoom;
        const int next = std::min(index1 + 1, 15), here = int(g_FLineInfo.tagPosition[index1][0]);
        const int rise = int(g_FLineInfo.tagPosition[next][0]) - here;
        const int past = int(zoom - zoomOfPoint(4 * index1));
        const int length = std::max(int(zoomOfPoint(4 * next) - zoomOfPoint(4 * index1)), 1);
        ASSERT_EQ(Lens_Get_FLTagPosition(), here + rise * past / length) << zoom;
    }
    index1 = -7;
    for (const unsigned zoom : {0u, 10215u, 20489u, 0xFFFFFFFFu}) {
        EXPECT_EQ(resultOf([&] { return Lens_Get_ZoomIndex(&index1, &index2, zoom); }), -1) << zoom;
        EXPECT_EQ(text, "_Fun:Lens_Get_ZoomIndex Line:# Error.\n");
        EXPECT_EQ(index1, -7); // left alone
        setPosition(zoom, 12234);
        EXPECT_EQ(Lens_Get_FLTagPosition(), -1);
    }
}

TEST_F(TrackingStep, focus_follows_the_stretch_of_line_that_the_zoom_is_about_to_cross) {
    g_FLineInfo.tagPosition[2][3] = g_FLineInfo.tagPosition[3][0]; // a flat stretch
    Lens_Set_FocusStep();
    Lens_Set_FocusStepTmp(0.5f);
    const FLine_Tagposition_ST *lines[] = {&g_FLineInfo, &g_FLineInfo_2M, &g_FLineInfo_Tmp};
    for (int i = 0; i < 3 * 61 * 2; ++i) {
        const int point = i / 2 % 61, next = i % 2 == 0 ? point + 1 : point - 1;
        SCOPED_TRACE(testing::Message() << "line " << i / 122 << ", " << point << " to " << next);
        const unsigned *line = &lines[g_FLineFlag = i / 122]->tagPosition[0][0];
        const bool isEnd = next < 0 || next > 60;
        const int rise = isEnd ? 0 : static_cast<int>(line[next] - line[point]);
        const int zoom = isEnd ? 16 : abs(int(zoomOfPoint(next)) - int(zoomOfPoint(point)));
        setPosition(zoomOfPoint(point), 12000);
        unsigned char zStep = 1, fStep = 1;
        MS_Action_em type = next > point ? MS_Z_TELE : MS_Z_WIDE, focusDir = MS_Z_WIDE;
        const std::string said =
            printedBy([&] { Lens_Get_DirAndStep2(type, &zStep, &fStep, &focusDir); });
        EXPECT_EQ(zStep, zoom);
        EXPECT_EQ(fStep, abs(rise));
        EXPECT_EQ(focusDir, rise > 0 ? MS_F_FAR : rise < 0 ? MS_F_NEAR : MS_NONE);
        EXPECT_EQ(said.empty(), !isEnd);
    }
}

TEST_F(TrackingStep, steps_are_clipped_to_the_room_and_the_axis_is_blocked_without_any) {
    const int kRooms[] = {-8, 0, 1, 3, 254, 255, 300};
    for (const int zRoom : kRooms)
        for (const int fRoom : kRooms)
            for (int i = 0; i < 9; ++i) {
                const MS_Action_em zType = i % 3 == 0   ? MS_Z_TELE
                                           : i % 3 == 1 ? MS_Z_WIDE
                                                        : MS_NONE;
                const MS_Action_em fType = i / 3 == 0 ? MS_F_FAR : i / 3 == 1 ? MS_F_NEAR : MS_NONE;
                setPosition(unsigned(zType == MS_Z_TELE ? 20488 - zRoom : 10216 + zRoom),
                            unsigned(fType == MS_F_FAR ? 14868 - fRoom : 10000 + fRoom));
                const bool zFree = zType == MS_NONE || zRoom > 0,
                           fFree = fType == MS_NONE || fRoom > 0;
                unsigned char zStep = 255, fStep = 255;
                EXPECT_EQ(Lens_Check_AllowanceForSteps(zType, &zStep, fType, &fStep),
                          (zFree ? 0 : 1) + (fFree ? 0 : 2));
                EXPECT_EQ(zStep, zType == MS_NONE ? 255 : std::clamp(zRoom, 0, 255));
                EXPECT_EQ(fStep, fType == MS_NONE ? 255 : std::clamp(fRoom, 0, 255));
            }
}
