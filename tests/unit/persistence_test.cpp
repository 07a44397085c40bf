// What survives a restart, and the host callbacks through which it goes.
#include "fixtures.h"

#include <cstring>

namespace {

unsigned keptZoom, keptFocus;
unsigned hostZoom, hostFocus;
int hostResult = 0;
const FOCUS_POINT *keptLine = nullptr;
bool hostFillsLine = true;

int keepPosition(unsigned zoom, unsigned focus) {
    keptZoom = zoom;
    keptFocus = focus;
    return hostResult;
}

int loadPosition(unsigned *zoom, unsigned *focus) {
    *zoom = hostZoom;
    *focus = hostFocus;
    return hostResult;
}

int keepLine(FOCUS_POINT *line) {
    keptLine = line;
    return hostResult;
}

int loadLine(FOCUS_POINT *line) { // also what it then fails to give
    if (hostFillsLine)
        memset(line, 0x5A, sizeof *line);
    return hostResult;
}

class Persistence : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        AF_Manager_Init_LensPosition_API(keepPosition, loadPosition);
        AF_Manager_Init_FocusPoint_API(keepLine, loadLine);
        hostResult = 0;
        hostFillsLine = true;
    }

    template <class Act> int resultOf(Act act) {
        int result = -7;
        text = printedBy([&] { result = act(); });
        return result;
    }

    std::string text;
};

} // namespace

TEST_F(Persistence, stored_position_and_counters_are_clamped_into_the_travel) {
    const struct {
        unsigned zoom, focus, keptZoom, keptFocus;
    } rows[] = {
        {12000, 14871, 12000, 14868},
        {12000, 14868, 12000, 14868},
        {12000, 9999, 12000, 10000},
        {10215, 12000, 10216, 12000},
        {20489, 12000, 20488, 12000},
        {0, 0, 10216, 10000},
        {0xFFFFFFF0, 0xFFFFFFF0, 20488, 14868},
    };
    for (const auto &row : rows) {
        setPosition(row.zoom, row.focus);
        EXPECT_EQ(Lens_Save_ZFLocation(), 0);
        EXPECT_EQ(keptZoom, row.keptZoom) << row.zoom;
        EXPECT_EQ(keptFocus, row.keptFocus) << row.focus;
        EXPECT_EQ(ZM_Step_Local, row.keptZoom);
        EXPECT_EQ(FM_Step_Local, row.keptFocus);
    }
    hostResult = 5;
    EXPECT_EQ(Lens_Save_ZFLocation(), 5);
}

TEST_F(Persistence, kept_position_is_taken_whole_or_not_at_all) {
    const struct {
        unsigned zoom, focus;
        bool taken;
    } rows[] = {
        {10216, 10000, true}, {20488, 14868, true},  {10215, 12000, false}, {20489, 12000, false},
        {12000, 9999, false}, {12000, 14869, false}, {0, 0, false},
    };
    for (const auto &row : rows) {
        setPosition(11111, 12222);
        hostZoom = row.zoom;
        hostFocus = row.focus;
        EXPECT_EQ(resultOf(Lens_Read_ZFLocation), row.taken ? 0 : -1);
        EXPECT_EQ(ZM_Step_Local, row.taken ? row.zoom : 11111);
        EXPECT_EQ(FM_Step_Local, row.taken ? row.focus : 12222);
        const std::string refusal =
            "Invaled zp: " + std::to_string(row.zoom) + " fp: " + std::to_string(row.focus) + ".\n";
        EXPECT_EQ(text, row.taken ? "" : refusal);
    }
    hostZoom = 12000;
    hostFocus = 12000;
    hostResult = 1; // any other result is a failure, even with values that would do
    EXPECT_EQ(resultOf(Lens_Read_ZFLocation), -1);
    EXPECT_EQ(text, "Lens_Read_ZFLocation Error!\n");
    EXPECT_EQ(FM_Step_Local, 12222u);
}

TEST_F(Persistence, focus_line_is_taken_unchecked_and_a_failing_host_gives_the_built_in_one) {
    EXPECT_EQ(resultOf(Lens_Read_FLPosition), 0);
    EXPECT_EQ(g_FLineInfo.tagPosition[0][0], 0x5A5A5A5Au);
    EXPECT_EQ(g_FLineInfo.tagPosition[15][3], 0x5A5A5A5Au);
    EXPECT_EQ(text, "");
    hostResult = 1;
    EXPECT_EQ(resultOf(Lens_Read_FLPosition), -1);
    EXPECT_EQ(text, "Lens_Read_FLPosition Error!\n");
    EXPECT_EQ(g_FLineInfo.tagPosition[0][0], 12234u);
    EXPECT_EQ(g_FLineInfo.tagPosition[15][3], 0u); // not what the host had left there
    hostResult = 0;
    hostFillsLine = false;
    EXPECT_EQ(resultOf(Lens_Read_FLPosition), 0);
    EXPECT_EQ(g_FLineInfo.tagPosition[0][0], 0u); // nor the line of before
    hostResult = 5;
    EXPECT_EQ(Lens_Save_FLPosition(), 5);
    EXPECT_EQ(static_cast<const void *>(keptLine), &g_FLineInfo);
}

TEST_F(Persistence, loaded_line_is_printed_while_the_switch_file_exists) {
    const std::string console = onPoweredCamera([] {
        fclose(fopen("/tmp/afvprintf", "w"));
        Lens_Read_FLPosition();
    });
    std::string expected;
    for (int point = 0; point < 64; ++point)
        expected += "g_FLineInfo.tagPosition[" + std::to_string(point / 4) + "][" +
                    std::to_string(point % 4) + "] = 1515870810\n";
    EXPECT_EQ(console, expected);
}

TEST_F(Persistence, missing_callback_is_reported_by_its_adapter) {
    fpSetLensPosition = nullptr;
    fpGetLensPosition = nullptr;
    fpSetFocusPoint = nullptr;
    fpGetFocusPoint = nullptr;
    fpSetPresetInfo = nullptr;
    fpGetPresetInfo = nullptr;
    const struct {
        int (*call)();
        const char *name;
    } rows[] = {
        {[] { return fCallbakSetZMPosition(1, 2); }, "fCallbakSetZMPosition"},
        {[] { return fCallbakGetZMPosition(nullptr, nullptr); }, "fCallbakGetZMPosition"},
        {[] { return fCallbakSetPreset(nullptr); }, "fCallbakSetPreset"},
        {[] { return fCallbakGetPreset(nullptr); }, "fCallbakGetPreset"},
        {[] { return fCallbakSetFocusLine(nullptr); }, "fCallbakSetFocusLine"},
        {[] { return fCallbakGetFocusLine(nullptr); }, "fCallbakGetFocusLine"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(resultOf(row.call), -1) << row.name;
        EXPECT_EQ(text, std::string(row.name) + " Error!\n");
    }
}

TEST_F(Persistence, registration_without_both_callbacks_keeps_the_former_ones) {
    const struct {
        int (*call)();
        const char *text;
    } rows[] = {
        {[] { return AF_Manager_Init_LensPosition_API(keepPosition, nullptr); },
         "AF_Manager_Init_LensPosition_API Error!\n"},
        {[] { return AF_Manager_Init_PresetInfo_API([](PRESET_INF *) { return 0; }, nullptr); },
         "AF_Manager_Init_PresetInfo_API Error!\n"},
        {[] { return AF_Manager_Init_FocusPoint_API(nullptr, loadLine); },
         "AF_Manager_Init_FocusPoint_API Error!\n"},
        {[] { return AF_Manager_Init_DayNightModeFun_API(nullptr); },
         "AF_Manager_Init_DayNightMode_Fun Failure !\n"},
    };
    const auto otherSave = [](unsigned, unsigned) { return 0; };
    fpSetLensPosition = otherSave;
    for (const auto &row : rows) {
        EXPECT_EQ(resultOf(row.call), -1);
        EXPECT_EQ(text, row.text);
    }
    EXPECT_EQ(fpSetLensPosition, static_cast<SetLensPosition>(otherSave));
    EXPECT_EQ(fpGetLensPosition, loadPosition);
    EXPECT_EQ(fpSetFocusPoint, keepLine);
    EXPECT_EQ(fpGetFocusPoint, loadLine);
}

TEST_F(Persistence, path_of_up_to_113_characters_goes_before_the_three_names) {
    char shortPath[] = "cfg/";
    EXPECT_EQ(resultOf([&] { return lensSetCfgPath(shortPath); }), 0);
    EXPECT_STREQ(fMPosition, "cfg/MotorPosition");
    EXPECT_STREQ(fMFocusline, "cfg/MotorFocusline");
    EXPECT_STREQ(fPresetinfo, "cfg/PresetInfo");
    EXPECT_EQ(text, "_lensSetCfgPath config name :\ncfg/MotorPosition\ncfg/MotorFocusline\n"
                    "cfg/PresetInfo\n");

    std::string path(114, 'p');
    EXPECT_EQ(resultOf([&] { return lensSetCfgPath(path.data()); }), -1);
    EXPECT_EQ(resultOf([] { return lensSetCfgPath(nullptr); }), -1);
    EXPECT_EQ(text, "_lensSetCfgPath path is null.\n");
    EXPECT_STREQ(fMPosition, "cfg/MotorPosition");

    path.pop_back();
    EXPECT_EQ(resultOf([&] { return lensSetCfgPath(path.data()); }), 0);
    EXPECT_EQ(fMFocusline, path + "MotorFocusline");
    EXPECT_EQ(fMPosition, path + "MotorPosition");
}
