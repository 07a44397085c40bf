// The preset tables: what is refused, what the host gets, what is found.
#include "fixtures.h"

#include "af_lens/model/preset_table.h"

namespace {

PRESET_INF kept;
int tablesKept = 0;
int hostResult = 0;

int keep(PRESET_INF *table) {
    kept = *table;
    tablesKept += 1;
    return hostResult;
}

int load(PRESET_INF *table) {                // also what it then fails to give
    table->zoom[7] = table->zoom[8] = 12000; // the second one is half a pair
    table->focus[7] = 12100;
    return hostResult;
}

class PresetTable : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        AF_Manager_Init_PresetInfo_API(keep, load);
        g_APGroupInfo = {};
        g_RPGroupInfo = {};
        tablesKept = hostResult = 0;
        setPosition(10984, 12234);
    }

    int set(int pst) {
        return resultOf([&] { return Lens_Set_Preset(pst); });
    }
};

} // namespace

TEST_F(PresetTable, number_position_or_library_that_will_not_do_stores_nothing) {
    for (const int pst : {-1, 255}) {
        const std::string tail = "__Invaled preset " + std::to_string(pst) + "__\n";
        EXPECT_EQ(set(pst), -1);
        EXPECT_EQ(text, "__Lens_Set_Preset" + tail);
        EXPECT_EQ(resultOf([&] { return Lens_Clear_Preset(pst); }), -1);
        EXPECT_EQ(text, "__Lens_Clear_Preset" + tail);
        EXPECT_EQ(resultOf([&] { return Lens_Goto_Preset(pst); }), -1);
        EXPECT_EQ(text, "__Lens_Goto_Preset" + tail);
    }
    const unsigned outside[][2] = {{10215, 12000}, {20489, 12000}, {12000, 9999}, {12000, 14869}};
    for (const auto &[zoom, focus] : outside) {
        setPosition(zoom, focus);
        EXPECT_EQ(set(5), -1) << zoom << ", " << focus;
    }
    EXPECT_NE(text.find("__Lens_Set_Preset Error zp = 12000 or fp = 14869.\n"), std::string::npos);
    setPosition(10984, 12234);
    g_ShaPosInfo = nullptr;
    EXPECT_EQ(set(5), -1);
    EXPECT_EQ(text, "__Lens_Set_Preset__af share buffer is null__\n");
    EXPECT_EQ(tablesKept, 0);
}

TEST_F(PresetTable, set_and_clear_hand_the_whole_table_over_and_keep_a_16_bit_copy) {
    for (const int pst : {0, 254})
        EXPECT_EQ(set(pst), 0);
    EXPECT_EQ(text,
              "_Fun:Lens_Set_Preset Line:# zLocation = 10984 fLocation = 12234 pst = 254__\n");
    EXPECT_EQ(tablesKept, 2);
    EXPECT_EQ(kept.zoom[0] + kept.zoom[254], 2 * 10984u);
    EXPECT_EQ(kept.focus[254], 12234u);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[254], 6225);
    EXPECT_EQ(g_RPGroupInfo.rFPosition[254], 28525);
    hostResult = 5;
    setPosition(20488, 12000);
    EXPECT_EQ(resultOf([] { return AF_Mamager_SetPreset_API(254); }), -1);
    EXPECT_EQ(g_APGroupInfo.aZPosition[254], 20488u); // the table has changed all the same
    EXPECT_EQ(resultOf([] { return Lens_Clear_Preset(254); }), 5); // the host's own result
    EXPECT_EQ(kept.zoom[254] + kept.focus[254], 0u);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[254] + g_RPGroupInfo.rFPosition[254], 0);
}

TEST_F(PresetTable, first_set_preset_at_a_position_is_found_and_empty_ones_never) {
    setPosition(10216, 12234); // 16-bit position 0, as of every empty preset
    EXPECT_EQ(findPresetAtPosition16(0), -1);
    for (const int pst : {200, 30, 254})
        set(pst);
    EXPECT_EQ(findPresetAtPosition16(0), 30);
    g_APGroupInfo.aFPosition[30] = g_APGroupInfo.aZPosition[200] = 0; // half a pair is none
    EXPECT_EQ(findPresetAtPosition16(0), 254);
}

TEST_F(PresetTable, start_up_maps_whole_pairs_and_drops_what_a_failing_host_has_left) {
    for (const int result : {0, -1}) {
        SCOPED_TRACE(hostResult = result);
        g_APGroupInfo.aZPosition[3] = 12000; // from before
        g_RPGroupInfo = {};
        EXPECT_EQ(resultOf(Lens_Init_PresetInfo), result);
        EXPECT_EQ(text, result == 0 ? "" : "Lens_Read_PresetInfo Error!\n");
        EXPECT_EQ(g_APGroupInfo.aZPosition[3], 0u);
        EXPECT_EQ(g_APGroupInfo.aZPosition[7], result == 0 ? 12000u : 0u);
        EXPECT_EQ(g_RPGroupInfo.rZPosition[7], result == 0 ? 9292 : 0);
        EXPECT_EQ(g_RPGroupInfo.rZPosition[8], 0);
        free(g_ShaPosInfo); // a fresh record
    }
}
