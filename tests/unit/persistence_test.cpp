// What the host keeps across restarts: the position, the focus line, the preset table.
#include "fixtures.h"

#include "af_lens/model/preset_table.h"

#include <cstring>

namespace {

using scenario::host;

int loadResult = 0;

// What the host loads is there even when it reports a failure.
int loadPosition(unsigned *zoom, unsigned *focus) {
    *zoom = *focus = 12000;
    return loadResult;
}

int loadHalfALine(FOCUS_POINT *line) {
    memset(line, 0x5A, sizeof *line / 2);
    return loadResult;
}

int loadPresets(PRESET_INF *table) {
    table->zoom[7] = table->zoom[8] = 12000; // the second one is half a pair
    table->focus[7] = 12100;
    return loadResult;
}

class Persistence : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        printedBy(scenario::introduceHost);
        setPosition(10984, 12234);
    }
};

} // namespace

TEST_F(Persistence, stored_position_and_counters_are_clamped_into_the_travel) {
    const unsigned rows[][4] = {{10215, 14869, 10216, 14868},
                                {20489, 9999, 20488, 10000},
                                {0xFFFFFFF0, 0xFFFFFFF0, 20488, 14868}};
    for (const auto &[zoom, focus, keptZoom, keptFocus] : rows) {
        setPosition(zoom, focus);
        EXPECT_EQ(Lens_Save_ZFLocation(), 0);
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(keptZoom, keptFocus)) << zoom;
        EXPECT_EQ(std::make_pair(ZM_Step_Local, FM_Step_Local), host().savedPositions.back());
    }
}

TEST_F(Persistence, any_result_but_0_is_the_hosts_failure_and_what_it_has_left_is_not_taken) {
    AF_Manager_Init_LensPosition_API(fpSetLensPosition, loadPosition);
    AF_Manager_Init_FocusPoint_API(fpSetFocusPoint, loadHalfALine);
    AF_Manager_Init_PresetInfo_API(fpSetPresetInfo, loadPresets);
    g_FLineInfo.tagPosition[15][3] = 1; // from before
    const std::string console = onPoweredCamera([] {
        fclose(fopen("/tmp/afvprintf", "w")); // the switch for printing the line
        EXPECT_EQ(Lens_Read_FLPosition(), 0); // unchecked
        EXPECT_EQ(g_FLineInfo.tagPosition[15][3], 0u);
    });
    EXPECT_EQ(console.find("g_FLineInfo.tagPosition[0][0] = 1515870810\ng_FLineInfo.tag"), 0u);
    EXPECT_EQ(std::count(console.begin(), console.end(), '\n'), 64);
    EXPECT_EQ(resultOf(Lens_Init_PresetInfo), 0);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[7], 9292);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[8], 0);
    loadResult = host().storeResult = 5;
    EXPECT_EQ(resultOf(Lens_Read_FLPosition), -1);
    EXPECT_EQ(g_FLineInfo.tagPosition[0][0], 12234u); // the built-in one
    EXPECT_EQ(resultOf(Lens_Read_ZFLocation), -1);
    EXPECT_EQ(ZM_Step_Local, 10984u);
    EXPECT_EQ(resultOf(Lens_Read_PresetInfo), -1);
    EXPECT_EQ(g_APGroupInfo.aZPosition[7], 0u);
    EXPECT_EQ(Lens_Save_ZFLocation() + Lens_Save_FLPosition(), 5 + 5);
}

TEST_F(Persistence, half_a_registration_is_refused_and_a_missing_callback_reported) {
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_LensPosition_API(nullptr, loadPosition); }), -1);
    EXPECT_EQ(text, "AF_Manager_Init_LensPosition_API Error!\n");
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_FocusPoint_API(nullptr, loadHalfALine); }), -1);
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_PresetInfo_API(nullptr, loadPresets); }), -1);
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_DayNightModeFun_API(nullptr); }), -1);
    EXPECT_EQ(text, "AF_Manager_Init_DayNightMode_Fun Failure !\n");
    EXPECT_NE(fpGetLensPosition, loadPosition); // the former one
    fpSetLensPosition = nullptr;
    fpGetLensPosition = nullptr;
    fpSetFocusPoint = nullptr;
    fpGetFocusPoint = nullptr;
    for (auto *adapter :
         {Lens_Save_ZFLocation, Lens_Read_ZFLocation, Lens_Save_FLPosition, Lens_Read_FLPosition})
        EXPECT_EQ(resultOf(adapter), -1);
    EXPECT_EQ(text, "fCallbakGetFocusLine Error!\nLens_Read_FLPosition Error!\n");
}

TEST_F(Persistence, preset_with_a_number_position_or_library_that_will_not_do_is_not_stored) {
    for (const std::string pst : {"-1", "255"})
        for (const auto &[use, name] :
             {std::pair(&Lens_Set_Preset, "Set"), std::pair(&Lens_Clear_Preset, "Clear"),
              std::pair(&Lens_Goto_Preset, "Goto")}) {
            EXPECT_EQ(resultOf([&, use = use] { return use(std::stoi(pst)); }), -1);
            EXPECT_EQ(text, "__Lens_" + (name + ("_Preset__Invaled preset " + pst)) + "__\n");
        }
    setPosition(10984, 14869);
    EXPECT_EQ(resultOf([] { return Lens_Set_Preset(5); }), -1);
    EXPECT_NE(text.find("__Lens_Set_Preset Error zp = 10984 or fp = 14869.\n"), std::string::npos);
    setPosition(10984, 12234);
    g_ShaPosInfo = nullptr;
    EXPECT_EQ(resultOf([] { return Lens_Set_Preset(5); }), -1);
    EXPECT_EQ(text, "__Lens_Set_Preset__af share buffer is null__\n");
    EXPECT_EQ(host().savedPresetTables, 0);
}

TEST_F(Persistence, hosts_failure_is_reported_when_the_preset_has_changed) {
    host().storeResult = 5;
    EXPECT_EQ(resultOf([] { return AF_Mamager_SetPreset_API(254); }), -1);
    EXPECT_EQ(host().presets.zoom[254], 10984u);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[254], 6225);
    EXPECT_EQ(g_RPGroupInfo.rFPosition[254], 28525);
    EXPECT_EQ(Lens_Clear_Preset(254), 5); // the host's own result
    EXPECT_EQ(g_RPGroupInfo.rZPosition[254] + g_RPGroupInfo.rFPosition[254], 0);
}

TEST_F(Persistence, path_of_up_to_113_characters_goes_before_the_three_names) {
    std::string path(114, 'p');
    EXPECT_EQ(resultOf([&] { return lensSetCfgPath(path.data()); }), -1);
    path.pop_back();
    EXPECT_EQ(resultOf([&] { return lensSetCfgPath(path.data()); }), 0);
    EXPECT_EQ(fMPosition, path + "MotorPosition");
    EXPECT_EQ(fMFocusline, path + "MotorFocusline");
    EXPECT_EQ(fPresetinfo, path + "PresetInfo");
}
