// The preset tables: what is refused, what the host gets, what is found.
#include "fixtures.h"

#include "af_lens/model/preset_table.h"

namespace {

PRESET_INF kept;
int tablesKept = 0;
int storeResult = 0;
int loadResult = 0;

int keep(PRESET_INF *table) {
    kept = *table;
    tablesKept += 1;
    return storeResult;
}

int load(PRESET_INF *table) { // also what it then fails to give
    table->zoom[7] = 12000;
    table->focus[7] = 12100;
    table->zoom[8] = 12000; // half a pair
    table->focus[9] = 12100;
    return loadResult;
}

class PresetTable : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        AF_Manager_Init_PresetInfo_API(keep, load);
        g_APGroupInfo = {};
        g_RPGroupInfo = {};
        kept = {};
        tablesKept = storeResult = loadResult = 0;
        setPosition(10984, 12234);
    }

    template <class Act> static int resultOf(Act act, std::string *text = nullptr) {
        int result = -7;
        const std::string printed = printedBy([&] { result = act(); });
        if (text != nullptr)
            *text = printed;
        return result;
    }
};

} // namespace

TEST_F(PresetTable, number_outside_0_to_254_is_refused) {
    for (const int pst : {-1, 255, 256}) {
        std::string texts[3];
        EXPECT_EQ(resultOf([&] { return Lens_Set_Preset(pst); }, &texts[0]), -1);
        EXPECT_EQ(resultOf([&] { return Lens_Clear_Preset(pst); }, &texts[1]), -1);
        EXPECT_EQ(resultOf([&] { return Lens_Goto_Preset(pst); }, &texts[2]), -1);
        const std::string tail = "__Invaled preset " + std::to_string(pst) + "__\n";
        EXPECT_EQ(texts[0], "__Lens_Set_Preset" + tail);
        EXPECT_EQ(texts[1], "__Lens_Clear_Preset" + tail);
        EXPECT_EQ(texts[2], "__Lens_Goto_Preset" + tail);
    }
    EXPECT_EQ(tablesKept, 0);
}

TEST_F(PresetTable, set_hands_the_whole_table_over_and_keeps_a_16_bit_copy) {
    std::string text;
    for (const int pst : {0, 254})
        EXPECT_EQ(resultOf([&] { return Lens_Set_Preset(pst); }, &text), 0);
    EXPECT_EQ(text,
              "_Fun:Lens_Set_Preset Line:# zLocation = 10984 fLocation = 12234 pst = 254__\n");
    EXPECT_EQ(tablesKept, 2);
    EXPECT_EQ(kept.zoom[0] + kept.zoom[254], 2 * 10984u);
    EXPECT_EQ(kept.focus[254], 12234u);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[254], 6225);
    EXPECT_EQ(g_RPGroupInfo.rFPosition[254], 28525);
    storeResult = 5;
    setPosition(20488, 12000);
    EXPECT_EQ(resultOf([] { return AF_Mamager_SetPreset_API(254); }), -1);
    EXPECT_EQ(g_APGroupInfo.aZPosition[254], 20488u); // the table has changed all the same
    EXPECT_EQ(record.shCommand, kUntouched);
}

TEST_F(PresetTable, position_outside_the_travel_or_missing_record_stores_nothing) {
    const unsigned outside[][2] = {
        {10215, 12000}, {20489, 12000}, {12000, 9999}, {12000, 14869}, {0, 0}};
    for (const auto &[zoom, focus] : outside) {
        setPosition(zoom, focus);
        EXPECT_EQ(resultOf([] { return Lens_Set_Preset(5); }), -1) << zoom << ", " << focus;
    }
    setPosition(10984, 12234);
    g_ShaPosInfo = nullptr;
    std::string text;
    EXPECT_EQ(resultOf([] { return Lens_Set_Preset(5); }, &text), -1);
    EXPECT_EQ(text, "__Lens_Set_Preset__af share buffer is null__\n");
    EXPECT_EQ(tablesKept, 0);
    EXPECT_EQ(g_APGroupInfo.aZPosition[5] + g_RPGroupInfo.rZPosition[5], 0u);
}

TEST_F(PresetTable, cleared_preset_is_empty_everywhere_and_cannot_be_called) {
    resultOf([] { return Lens_Set_Preset(5); });
    storeResult = 5;
    EXPECT_EQ(resultOf([] { return Lens_Clear_Preset(5); }), 5); // the host's own result
    EXPECT_EQ(kept.zoom[5] + kept.focus[5], 0u);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[5] + g_RPGroupInfo.rFPosition[5], 0);
    std::string text;
    EXPECT_EQ(resultOf([] { return Lens_Goto_Preset(5); }, &text), -1);
    EXPECT_EQ(text, "__Lens_Goto_Preset Error zp = 0 or fp = 0.\n");
}

TEST_F(PresetTable, first_set_preset_at_a_position_is_found_and_empty_ones_never) {
    setPosition(10216, 12234); // 16-bit position 0, as of every empty preset
    EXPECT_EQ(findPresetAtPosition16(0), -1);
    for (const int pst : {200, 30})
        resultOf([&] { return Lens_Set_Preset(pst); });
    EXPECT_EQ(findPresetAtPosition16(0), 30);
    g_APGroupInfo.aFPosition[30] = 0; // half a pair is none
    EXPECT_EQ(findPresetAtPosition16(0), 200);
    EXPECT_EQ(findPresetAtPosition16(6225), -1);
}

TEST_F(PresetTable, start_up_maps_whole_pairs_and_drops_what_a_failing_host_has_left) {
    for (const int result : {0, -1}) {
        SCOPED_TRACE(result);
        loadResult = result;
        g_APGroupInfo.aZPosition[3] = 12000; // from before
        g_RPGroupInfo = {};
        std::string text;
        EXPECT_EQ(resultOf(Lens_Init_PresetInfo, &text), result);
        EXPECT_EQ(text, result == 0 ? "" : "Lens_Read_PresetInfo Error!\n");
        EXPECT_EQ(g_APGroupInfo.aZPosition[3], 0u);
        EXPECT_EQ(g_APGroupInfo.aZPosition[7], result == 0 ? 12000u : 0u);
        EXPECT_EQ(g_RPGroupInfo.rZPosition[7], result == 0 ? 9292 : 0);
        EXPECT_EQ(g_RPGroupInfo.rZPosition[8] + g_RPGroupInfo.rFPosition[9], 0);
        EXPECT_EQ(Lens_Get_Command(), static_cast<unsigned>(CMD_ZSTOP)); // a fresh record
        free(g_ShaPosInfo);
    }
}

TEST_F(PresetTable, preset_202_switches_the_refocus_trigger_when_called_or_cleared) {
    const struct {
        AF_CMD_em command;
        int enabled;
        const char *text;
    } rows[] = {
        {CMD_CLPST, 0, "_Fun:lensMotorPreset Line:# Disable Autofocus Check.\n"},
        {CMD_CAPST, 1, "_Fun:lensMotorPreset Line:# Enable Autofocus Check.\n"},
    };
    resultOf([] { return Lens_Set_Preset(202); });
    for (const auto &row : rows) {
        record = {kUntouched, 202, 0, 0};
        EXPECT_EQ(printedBy([&] { lensMotorPreset(row.command); }), row.text);
        EXPECT_EQ(g_AutoCheckEnable, row.enabled);
        EXPECT_EQ(g_APGroupInfo.aZPosition[202], 10984u); // neither called nor cleared
        EXPECT_EQ(record.shCommand, static_cast<unsigned>(CMD_NONE));
    }
    record.shValue = 203;
    printedBy([] { lensMotorPreset(CMD_SPST); });
    EXPECT_EQ(g_APGroupInfo.aZPosition[203], 10984u);
    printedBy([] { lensMotorPreset(CMD_CLPST); });
    EXPECT_EQ(g_APGroupInfo.aZPosition[203], 0u);
}
