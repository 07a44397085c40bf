// The zoom grid and the focus lines over it.
#include "fixtures.h"

#include "optics/lens_curves.h"

#include <algorithm>
#include <cstdlib>

namespace {

using FocusLines = LensCase;

/// Measured lines differ from each other by much the same at neighbouring quarter points.
void expectAlongside(const FLine_Tagposition_ST &a, const FLine_Tagposition_ST &b) {
    int apart[61];
    for (int point = 0; point <= 60; ++point) {
        apart[point] = int((&a.tagPosition[0][0])[point] - (&b.tagPosition[0][0])[point]);
        EXPECT_LE(std::abs(apart[point] - apart[std::max(point - 1, 0)]), 20) << point;
    }
}

} // namespace

TEST_F(FocusLines, unit_gets_the_2m_group_at_or_below_it_or_one_within_8_steps_above) {
    const unsigned rows[][3] = {
        // sensor, infinity focus at wide, 2 m focus at tele
        {2, 20000, 12122}, {2, 12226, 12122}, {2, 12225, 12052}, // more groups hold one line
        {1, 0, 12160},     {1, 12277, 12160}, {1, 12278, 12248}, {1, 12311, 12248},
        {1, 12312, 12244}, {1, 12341, 12244}, {1, 12342, 12332}, {1, 12417, 12332},
        {1, 12418, 12388}, {1, 20000, 12388},
    };
    for (const auto &[sensor, infinity, near2M] : rows) {
        SCOPED_TRACE(testing::Message() << sensor << ", " << infinity);
        const FLine_Tagposition_ST previous = g_FLineInfo_2M;
        g_SensType = int(sensor);
        g_FLineInfo.tagPosition[0][0] = infinity;
        Lens_Init_2MFocusLine();
        EXPECT_EQ(g_FLineInfo_2M.tagPosition[15][0], near2M);
        expectAlongside(g_FLineInfo_2M, previous);
    }
}

TEST_F(FocusLines, lines_of_the_other_sensor_run_alongside) {
    const FLine_Tagposition_ST infinity = g_FLineInfo;
    printedBy([] { buildLens(1); });
    expectAlongside(g_FLineInfo, infinity);
}

TEST_F(FocusLines, search_range_is_cut_to_the_travel) {
    g_FLineInfo_2M.tagPosition[4][3] = 9999;
    g_FLineInfo.tagPosition[4][3] = 14869;
    unsigned nearEnd = 0, farEnd = 0;
    Lens_Get_SearchRange(4, 3, &nearEnd, &farEnd);
    EXPECT_EQ(nearEnd, 10000u);
    EXPECT_EQ(farEnd, 14868u);
}

TEST_F(FocusLines,
       position_is_placed_on_the_quarter_below_it_and_its_focus_between_the_tag_points) {
    int index1 = -7, index2 = -7, point = 0;
    for (unsigned zoom = 10216; zoom <= 20488; ++zoom) {
        if (point < 60 && zoom >= zoomOfPoint(point + 1))
            ++point;
        setPosition(zoom, 12234);
        ASSERT_EQ(Lens_Get_ZoomIndex(&index1, &index2, zoom), 0) << zoom;
        ASSERT_EQ(std::make_pair(index1, index2), std::make_pair(point / 4, point % 4)) << zoom;
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
