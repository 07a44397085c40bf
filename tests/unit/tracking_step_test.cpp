// One period of zoom tracking: how far both motors go, and what room the limits leave them.
#include "fixtures.h"

namespace {
using TrackingStep = LensCase;
using LimitCheck = LensCase;
} // namespace

TEST_F(TrackingStep, focus_follows_the_stretch_of_line_that_the_zoom_is_about_to_cross) {
    const struct {
        unsigned zoom;
        MS_Action_em type;
        int line, zStep, fStep;
        MS_Action_em focusDir;
    } rows[] = {
        {10216, MS_Z_TELE, 0, 192, 32, MS_F_NEAR},  {10984, MS_Z_WIDE, 0, 192, 32, MS_F_FAR},
        {10408, MS_Z_WIDE, 0, 192, 32, MS_F_FAR},   {19240, MS_Z_TELE, 0, 192, 140, MS_F_FAR},
        {19432, MS_Z_WIDE, 0, 192, 140, MS_F_NEAR}, {19432, MS_Z_TELE, 0, 128, 110, MS_F_FAR},
        {19944, MS_Z_TELE, 0, 80, 116, MS_F_FAR},   {20264, MS_Z_WIDE, 0, 80, 154, MS_F_NEAR},
        {20264, MS_Z_TELE, 0, 56, 118, MS_F_FAR},   {20432, MS_Z_TELE, 0, 56, 134, MS_F_FAR},
        {20488, MS_Z_WIDE, 0, 56, 134, MS_F_NEAR},  {20432, MS_Z_TELE, 1, 56, 106, MS_F_FAR},
        {20488, MS_Z_WIDE, 1, 56, 106, MS_F_NEAR},  {20432, MS_Z_TELE, 2, 56, 120, MS_F_FAR},
        {10300, MS_Z_TELE, 0, 192, 32, MS_F_NEAR},  {10500, MS_Z_WIDE, 0, 192, 32, MS_F_FAR},
    };
    Lens_Set_FocusStepTmp(0.5f);
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message()
                     << "zoom " << row.zoom << ", type " << row.type << ", line " << row.line);
        g_FLineFlag = row.line;
        setPosition(row.zoom, 12000);
        unsigned char zStep = 1, fStep = 1;
        MS_Action_em focusDir = MS_Z_WIDE;
        const std::string text =
            printedBy([&] { Lens_Get_DirAndStep2(row.type, &zStep, &fStep, &focusDir); });
        EXPECT_EQ(zStep, row.zStep);
        EXPECT_EQ(fStep, row.fStep);
        EXPECT_EQ(focusDir, row.focusDir);
        EXPECT_EQ(text, "");
    }
}

TEST_F(TrackingStep, end_of_the_grid_gives_a_short_zoom_step_without_focus) {
    const struct {
        unsigned zoom;
        MS_Action_em type;
        const char *text;
    } rows[] = {
        {10216, MS_Z_WIDE, "index1: 0 index2: 0 type: 0\n"},
        {10256, MS_Z_WIDE, "index1: 0 index2: 0 type: 0\n"},
        {20488, MS_Z_TELE, "index1: 15 index2: 0 type: 1\n"},
    };
    for (const auto &row : rows) {
        setPosition(row.zoom, 12000);
        unsigned char zStep = 1, fStep = 1;
        MS_Action_em focusDir = MS_F_FAR;
        EXPECT_EQ(printedBy([&] { Lens_Get_DirAndStep2(row.type, &zStep, &fStep, &focusDir); }),
                  std::string("_Fun:Lens_Get_DirAndStep2 Line:# ") + row.text);
        EXPECT_EQ(zStep, 16) << row.zoom;
        EXPECT_EQ(fStep, 0) << row.zoom;
        EXPECT_EQ(focusDir, MS_NONE) << row.zoom;
    }
}

TEST_F(TrackingStep, flat_stretch_of_the_line_leaves_the_focus_alone_in_both_directions) {
    for (const unsigned start : {12136u, 12328u}) { // third and last quarter of section 2
        Lens_Init_FLineInfo();
        const unsigned point = start == 12136 ? 10 : 11;
        unsigned *line = &g_FLineInfo.tagPosition[0][0];
        line[point + 1] = line[point];
        Lens_Set_FocusStep();
        for (const MS_Action_em type : {MS_Z_TELE, MS_Z_WIDE}) {
            SCOPED_TRACE(testing::Message() << "from " << start << ", type " << type);
            setPosition(type == MS_Z_TELE ? start : start + 192, 12000);
            unsigned char zStep = 1, fStep = 1;
            MS_Action_em focusDir = MS_F_FAR;
            Lens_Get_DirAndStep2(type, &zStep, &fStep, &focusDir);
            EXPECT_EQ(zStep, 192);
            EXPECT_EQ(fStep, 0);
            EXPECT_EQ(focusDir, MS_NONE);
        }
    }
}

TEST_F(LimitCheck, steps_are_clipped_to_the_room_and_the_axis_is_blocked_without_any) {
    const struct {
        unsigned zoom, focus;
        MS_Action_em zType;
        int zStep;
        MS_Action_em fType;
        int fStep, zClipped, fClipped, blocked;
    } rows[] = {
        {20478, 12000, MS_Z_TELE, 192, MS_F_FAR, 32, 10, 32, 0},
        {20296, 12000, MS_Z_TELE, 192, MS_F_FAR, 32, 192, 32, 0},
        {20297, 12000, MS_Z_TELE, 192, MS_F_FAR, 32, 191, 32, 0},
        {20488, 12000, MS_Z_TELE, 192, MS_F_FAR, 32, 0, 32, 1},
        {20489, 12000, MS_Z_TELE, 192, MS_F_FAR, 32, 0, 32, 1},
        {10217, 12000, MS_Z_WIDE, 192, MS_F_FAR, 32, 1, 32, 0},
        {10216, 12000, MS_Z_WIDE, 192, MS_F_FAR, 32, 0, 32, 1},
        {10000, 12000, MS_Z_WIDE, 192, MS_F_FAR, 32, 0, 32, 1},
        {12000, 14865, MS_Z_WIDE, 192, MS_F_FAR, 8, 192, 3, 0},
        {12000, 14868, MS_Z_WIDE, 192, MS_F_FAR, 8, 192, 0, 2},
        {12000, 14870, MS_Z_WIDE, 192, MS_F_FAR, 8, 192, 0, 2},
        {12000, 10003, MS_Z_WIDE, 192, MS_F_NEAR, 8, 192, 3, 0},
        {12000, 10008, MS_Z_WIDE, 192, MS_F_NEAR, 8, 192, 8, 0},
        {12000, 10000, MS_Z_WIDE, 192, MS_F_NEAR, 8, 192, 0, 2},
        {12000, 9990, MS_Z_WIDE, 192, MS_F_NEAR, 8, 192, 0, 2},
        {20488, 14868, MS_Z_TELE, 192, MS_F_FAR, 8, 0, 0, 3},
        {20488, 14868, MS_Z_WIDE, 255, MS_F_NEAR, 255, 255, 255, 0},
        {20488, 14868, MS_F_FAR, 192, MS_Z_TELE, 8, 192, 8, 0}, // not of the axis: skipped
        {20488, 14868, MS_NONE, 192, MS_NONE, 8, 192, 8, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "zoom " << row.zoom << ", focus " << row.focus
                                        << ", types " << row.zType << " " << row.fType);
        setPosition(row.zoom, row.focus);
        auto zStep = static_cast<unsigned char>(row.zStep);
        auto fStep = static_cast<unsigned char>(row.fStep);
        EXPECT_EQ(Lens_Check_AllowanceForSteps(row.zType, &zStep, row.fType, &fStep), row.blocked);
        EXPECT_EQ(zStep, row.zClipped);
        EXPECT_EQ(fStep, row.fClipped);
    }
}
