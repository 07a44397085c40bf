// Presets: stored, called, cleared, kept by the host. Direct zoom requests, which find them or else
// go to a quarter point.
#include "scenario.h"

#include "clock/unobserved.h"
#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <cstring>
#include <thread>

using namespace scenario;

/// The lens-control thread takes it, and is done when it leaves another code.
static void obey(AF_CMD_em code, unsigned value, AF_CMD_em after = CMD_NONE) {
    command(code, value);
    waitUntil([&] { return Lens_Get_Command() != unsigned(code); }, 60, "the command is done");
    EXPECT_EQ(Lens_Get_Command(), unsigned(after)) << "after command " << code << ", " << value;
}

static void expectAt(unsigned zoom, unsigned focus) {
    EXPECT_EQ(truePlace(), Place(zoom, focus));
    expectSound();
}

static void storePreset(int number, unsigned zoom, unsigned focus) {
    host().hasPresets = true;
    host().presets.zoom[number] = zoom;
    host().presets.focus[number] = focus;
}

TEST(Presets, direct_zoom_to_a_position_of_the_hosts_table_calls_the_first_preset_there) {
    run([] {
        storePreset(1, 0, 11504);     // half empty: none
        storePreset(3, 14150, 11000); // in 14056's quarter
        storePreset(8, 14056, 10500);
        host().hasPosition = true;
        host().zoom = 15600;
        host().focus = 13000;
        startParked();
        EXPECT_EQ(loadWord(&g_RPGroupInfo.rFPosition[1]), 0);
        g_ZoomDir = MS_Z_WIDE; // a preset is no zoom of the user's
        obey(CMD_DZF, 12422);
        expectAt(14150, 11000);
        obey(CMD_CLPST, 3);
        EXPECT_EQ(AF_Manager_Set_Multiple_API(36), 0); // another map; the presets' copy stays
        obey(CMD_DZF, 12422);
        expectAt(14056, 10500);
        EXPECT_EQ(g_ZoomDir, MS_Z_WIDE);
        EXPECT_EQ(countSaid("______Start______"), 0);
        const int64_t thereUs = vcam::nowUs();
        obey(CMD_CAPST, 8);
        EXPECT_EQ(motorText(thereUs), "");
        obey(CMD_CLPST, 8);
        obey(CMD_DZF, 0, CMD_FOCUS); // an empty preset is no match for 0
        EXPECT_EQ(truePlace().first, 10216u);
        command(CMD_MFMODE);
        passMs(1000);
        obey(CMD_DZF, gPositionMap[7][0], CMD_FOCUS); // only the first one restores 15600, 13000
        EXPECT_EQ(truePlace().first, 15592u);
    });
}

TEST(DirectZoom, goes_to_the_next_quarter_point_as_a_zoom_that_ends_on_it) {
    const struct {
        int lens;
        unsigned zoom, focus;
        unsigned short request;
        unsigned reached, focusThere;
        std::string zoomRuns;
    } rows[] = {
        {LENS_B, 20320, 12500, 16194, 20488, 12892, "14 42 2x56 "},
        {LENS_B, 20488, 12914, 1, 10408, 12202, "-14 -42 3x-56 4x-80 4x-128 47x-192 "},
        {LENS_B, 10300, 11900, 3112, 10600, 11836, "48 144 108 "}, // off the grid
        {LENS_B, 10599, 11900, 3112, 10600, 11868, "1 "},
        {LENS_A, 10000, 12234, 16123, 20080, 12522,
         "48 144 47x192 4x128 4x80 32 "}, // 20104 is beyond the limit
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.request << " from " << row.zoom);
        vcam::CameraOptions options;
        options.lensType = row.lens;
        run(options, [&] {
            g_LensType = row.lens;
            startParked();
            placeLens(row.zoom, row.focus);
            g_FLineFlag = 1; // the line followed last has no say
            const int64_t startUs = vcam::nowUs();
            EXPECT_EQ(Lens_Direct_ZPosition(row.request), 0);
            EXPECT_EQ(runText("AB", startUs), row.zoomRuns);
            expectAt(row.reached, row.focusThere);
            EXPECT_EQ(g_ZoomDir, row.reached < row.zoom ? MS_Z_WIDE : MS_Z_TELE);
            EXPECT_EQ(countSaid("To Tele limit, Break.", startUs), row.reached == ZM_Tele_Limit);
        });
    }
}

// The second one has the code of the first and another argument, or the reverse.
TEST(Presets, command_that_comes_during_a_move_does_not_stop_it_and_is_obeyed_afterwards) {
    const struct {
        AF_CMD_em first, second;
        unsigned value, secondValue;
    } rows[] = {
        {CMD_CAPST, CMD_CAPST, 8, 9}, {CMD_CAPST, CMD_WIDE, 8, 8}, {CMD_DZF, CMD_DZF, 12289, 0}};
    runEach(rows, [&](const auto &row) {
        storePreset(8, 14056, 11500);
        storePreset(9, 10216, 12000);
        startParked();
        command(row.first, row.value);
        passMs(500);
        command(row.second, row.secondValue);
        waitUntil([] { return truePlace().first == 14056; }, 60, "it gets there");
        const int64_t thereUs = vcam::nowUs();
        waitUntil([] { return truePlace().first == 10216; }, 60, "and back");
        waitIdle();
        EXPECT_LT(vcam::nowUs() - thereUs, 6000000);
        expectSound();
    });
}

// ---- One change at a time, until the host is done with it

static struct {
    int64_t takesUs, nestedUs;
    int inside, most;
    bool hasChanged, mayNest;
} slow;

static int saveSlowly(PRESET_INF *presets) {
    const vcam::Unobserved unobserved;
    const PRESET_INF before = *presets;
    slow.most = std::max(slow.most, ++slow.inside);
    const int64_t startUs = vcam::nowUs();
    slow.mayNest = slow.mayNest || AF_Mamager_SetPreset_API(3) != -1;
    slow.nestedUs = vcam::nowUs() - startUs;
    vcam::sleepUs(slow.takesUs);
    slow.hasChanged = slow.hasChanged || memcmp(&before, presets, sizeof before) != 0;
    slow.inside -= 1;
    return 0;
}

static int loadSlowly(PRESET_INF *presets) {
    vcam::sleepUs(300000);
    presets->zoom[7] = 10216, presets->focus[7] = 12000;
    return 0;
}

TEST(Presets, change_during_start_up_waits_until_the_hosts_table_is_loaded) {
    run([] {
        introduceHost();
        AF_Manager_Init_PresetInfo_API([](PRESET_INF *) { return 0; }, loadSlowly);
        AF_Manager_Start_API();
        waitUntil([] { return loadWord(&g_ShaPosInfo) != nullptr; }, 60, "the mailbox exists");
        EXPECT_EQ(Lens_Clear_Preset(7), 0);
        passMs(20000);
        EXPECT_EQ(loadWord(&g_APGroupInfo.aZPosition[7]), 0u);
    });
}

TEST(Presets, second_change_waits_a_second_at_most_while_the_host_stores_the_first) {
    for (const int64_t takesUs : {400000, 3000000}) {
        run([&] {
            const bool inTime = takesUs < 1000000;
            startParked();
            AF_Manager_Init_PresetInfo_API(saveSlowly, [](PRESET_INF *) { return -1; });
            slow.takesUs = takesUs;
            std::thread other([] { EXPECT_EQ(AF_Mamager_SetPreset_API(1), 0); });
            passMs(100);
            const int64_t startUs = vcam::nowUs();
            EXPECT_EQ(AF_Mamager_SetPreset_API(2), inTime ? 0 : -1);
            const int64_t waitUs = inTime ? takesUs - 100000 + takesUs : 1000000;
            EXPECT_NEAR(double(vcam::nowUs() - startUs), double(waitUs), 1000); // it polls
            EXPECT_EQ(Lens_Clear_Preset(1), inTime ? 0 : -1);
            other.join();
            EXPECT_EQ(loadWord(&g_APGroupInfo.aZPosition[1]), inTime ? 0 : 10216u);
            EXPECT_EQ(loadWord(&g_APGroupInfo.aZPosition[2]), inTime ? 10216u : 0);
            EXPECT_EQ(loadWord(&g_RPGroupInfo.rFPosition[2]) != 0, inTime);
            EXPECT_EQ(slow.most, 1);
            EXPECT_FALSE(slow.hasChanged || slow.mayNest);
            EXPECT_EQ(slow.nestedUs, 0);
        });
    }
}
