// What survives a restart, and the host callbacks through which it goes.
#include "fixtures.h"

#include <cstring>

namespace {

std::pair<unsigned, unsigned> kept;
int hostResult = 0;

int keepPosition(unsigned zoom, unsigned focus) {
    kept = {zoom, focus};
    return hostResult;
}

int loadPosition(unsigned *zoom, unsigned *focus) {
    *zoom = *focus = 12000;
    return hostResult;
}

int loadLine(FOCUS_POINT *line) { // also what it then fails to give
    memset(line, 0x5A, sizeof *line / 2);
    return hostResult;
}

class Persistence : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        AF_Manager_Init_LensPosition_API(keepPosition, loadPosition);
        AF_Manager_Init_FocusPoint_API([](FOCUS_POINT *) { return hostResult; }, loadLine);
        hostResult = 0;
    }
};

} // namespace

TEST_F(Persistence, stored_position_and_counters_are_clamped_into_the_travel) {
    const unsigned rows[][4] = {{10215, 14869, 10216, 14868},
                                {20489, 9999, 20488, 10000},
                                {10216, 14868, 10216, 14868},
                                {0xFFFFFFF0, 0xFFFFFFF0, 20488, 14868}};
    for (const auto &[zoom, focus, keptZoom, keptFocus] : rows) {
        setPosition(zoom, focus);
        EXPECT_EQ(Lens_Save_ZFLocation(), 0);
        EXPECT_EQ(kept, std::make_pair(keptZoom, keptFocus)) << zoom;
        EXPECT_EQ(std::make_pair(ZM_Step_Local, FM_Step_Local), kept);
    }
}

TEST_F(Persistence, any_result_but_0_is_the_hosts_failure_and_what_it_has_left_is_not_taken) {
    g_FLineInfo.tagPosition[15][3] = 1; // from before
    EXPECT_EQ(resultOf(Lens_Read_FLPosition), 0);
    EXPECT_EQ(g_FLineInfo.tagPosition[0][0], 0x5A5A5A5Au); // unchecked
    EXPECT_EQ(g_FLineInfo.tagPosition[15][3], 0u);
    hostResult = 5;
    EXPECT_EQ(resultOf(Lens_Read_FLPosition), -1);
    EXPECT_EQ(text, "Lens_Read_FLPosition Error!\n");
    EXPECT_EQ(g_FLineInfo.tagPosition[0][0], 12234u); // the built-in one
    EXPECT_EQ(resultOf(Lens_Read_ZFLocation), -1);
    EXPECT_EQ(text, "Lens_Read_ZFLocation Error!\n");
    EXPECT_EQ(FM_Step_Local, 12234u);
    EXPECT_EQ(Lens_Save_ZFLocation() + Lens_Save_FLPosition(), 5 + 5);
}

TEST_F(Persistence, half_a_registration_is_refused_and_a_missing_callback_reported) {
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_LensPosition_API(keepPosition, nullptr); }), -1);
    EXPECT_EQ(text, "AF_Manager_Init_LensPosition_API Error!\n");
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_FocusPoint_API(nullptr, loadLine); }), -1);
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_DayNightModeFun_API(nullptr); }), -1);
    EXPECT_EQ(text, "AF_Manager_Init_DayNightMode_Fun Failure !\n");
    EXPECT_EQ(fpGetLensPosition, loadPosition); // the former one
    EXPECT_NE(fpSetFocusPoint, nullptr);
    fpSetLensPosition = nullptr;
    fpGetLensPosition = nullptr;
    fpSetFocusPoint = nullptr;
    fpGetFocusPoint = nullptr;
    for (auto *adapter :
         {Lens_Save_ZFLocation, Lens_Read_ZFLocation, Lens_Save_FLPosition, Lens_Read_FLPosition})
        EXPECT_EQ(resultOf(adapter), -1);
    EXPECT_EQ(text, "fCallbakGetFocusLine Error!\nLens_Read_FLPosition Error!\n");
}

TEST_F(Persistence, path_of_up_to_113_characters_goes_before_the_three_names) {
    std::string path(114, 'p');
    EXPECT_EQ(resultOf([&] { return lensSetCfgPath(path.data()); }), -1);
    EXPECT_STREQ(fMPosition, "");
    path.pop_back();
    EXPECT_EQ(resultOf([&] { return lensSetCfgPath(path.data()); }), 0);
    EXPECT_EQ(fMPosition, path + "MotorPosition");
    EXPECT_EQ(fMFocusline, path + "MotorFocusline");
    EXPECT_EQ(fPresetinfo, path + "PresetInfo");
}
