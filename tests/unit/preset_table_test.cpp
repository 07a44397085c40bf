// The preset tables: what is refused, what the host gets, what is found.
#include "fixtures.h"

#include "af_lens/model/preset_table.h"

namespace {

PRESET_INF kept;
int hostResult = 0;

int keep(PRESET_INF *table) {
    kept = *table;
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
        hostResult = 0;
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
    setPosition(10984, 14869);
    EXPECT_EQ(set(5), -1);
    EXPECT_NE(text.find("__Lens_Set_Preset Error zp = 10984 or fp = 14869.\n"), std::string::npos);
    setPosition(10984, 12234);
    g_ShaPosInfo = nullptr;
    EXPECT_EQ(set(5), -1);
    EXPECT_EQ(text, "__Lens_Set_Preset__af share buffer is null__\n");
    EXPECT_EQ(kept.zoom[5] + g_APGroupInfo.aZPosition[5] + g_RPGroupInfo.rZPosition[5], 0u);
}

TEST_F(PresetTable, host_gets_the_whole_table_and_its_refusal_is_reported) {
    for (const int pst : {0, 254})
        EXPECT_EQ(set(pst), 0);
    EXPECT_EQ(text,
              "_Fun:Lens_Set_Preset Line:# zLocation = 10984 fLocation = 12234 pst = 254__\n");
    EXPECT_EQ(kept.zoom[0] + kept.zoom[254], 2 * 10984u);
    EXPECT_EQ(g_RPGroupInfo.rZPosition[254], 6225);
    EXPECT_EQ(g_RPGroupInfo.rFPosition[254], 28525);
    hostResult = 5;
    setPosition(20488, 12000);
    EXPECT_EQ(resultOf([] { return AF_Mamager_SetPreset_API(254); }), -1);
    EXPECT_EQ(g_APGroupInfo.aZPosition[254], 20488u); // the table has changed all the same
    EXPECT_EQ(Lens_Clear_Preset(254), 5);             // the host's own result
    EXPECT_EQ(g_RPGroupInfo.rZPosition[254] + g_RPGroupInfo.rFPosition[254], 0);
}

TEST_F(PresetTable, start_up_maps_whole_pairs_and_drops_what_a_failing_host_has_left) {
    for (const int result : {0, -1}) {
        g_RPGroupInfo = {};
        hostResult = result;
        EXPECT_EQ(resultOf(Lens_Init_PresetInfo), result);
        EXPECT_EQ(text, result == 0 ? "" : "Lens_Read_PresetInfo Error!\n");
        EXPECT_EQ(g_APGroupInfo.aZPosition[7], result == 0 ? 12000u : 0u);
        EXPECT_EQ(g_RPGroupInfo.rZPosition[7], result == 0 ? 9292 : 0);
        EXPECT_EQ(g_RPGroupInfo.rZPosition[8], 0);
        free(g_ShaPosInfo); // a fresh record
    }
}
