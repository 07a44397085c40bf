// Presets: stored, called, cleared, kept by the host. Direct zoom requests, which find them or else
// go to a quarter point.
#include "scenario.h"

#include "clock/unobserved.h"
#include "clock/virtual_clock.h"
#include "optics/lens_curves.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace scenario;

/// The lens-control thread takes it, and is done when it leaves another code.
static void obey(AF_CMD_em code, unsigned value, AF_CMD_em after = CMD_NONE) {
    command(code, value);
    waitUntil([&] { return Lens_Get_Command() != unsigned(code); }, 60, "the command is done");
    EXPECT_EQ(Lens_Get_Command(), unsigned(after)) << "after command " << code << ", " << value;
}

static void expectAt(unsigned zoom, unsigned focus) {
    EXPECT_EQ(loadWord(&ZM_Step_Local), zoom);
    EXPECT_EQ(loadWord(&FM_Step_Local), focus);
    expectSound();
}

TEST(Presets, position_set_is_called_again_exactly_and_is_no_zoom_of_the_users) {
    run([] {
        startParked();
        placeLens(13288, 11700);
        obey(CMD_SPST, 5);
        EXPECT_EQ(host().presets.zoom[5], 13288u);
        EXPECT_EQ(host().presets.focus[5], 11700u);
        const int64_t setUs = vcam::nowUs();
        obey(CMD_CAPST, 5); // there already
        EXPECT_EQ(motorText(setUs), "");
        command(CMD_MFMODE);
        passMs(100);
        placeLens(20264, 10500);
        g_ZoomDir = MS_Z_TELE;
        obey(CMD_CAPST, 5);
        expectAt(13288, 11700);
        EXPECT_EQ(g_ZoomDir, MS_Z_TELE);
        EXPECT_EQ(countSaid("______Start______"), 0);
    });
}

TEST(Presets, direct_zoom_to_a_position_of_the_hosts_table_calls_the_first_preset_there) {
    run([] {
        host().hasPresets = true;
        host().presets.focus[1] = 11504;                                 // half empty: none
        host().presets.zoom[3] = 14150, host().presets.focus[3] = 11000; // in 14056's quarter
        host().presets.zoom[8] = 14056, host().presets.focus[8] = 10500;
        startParked();
        EXPECT_EQ(loadWord(&g_RPGroupInfo.rFPosition[1]), 0);
        EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition), 0); // where the lens is
        obey(CMD_DZF, 12422);
        expectAt(14150, 11000);
        obey(CMD_CLPST, 3);
        EXPECT_EQ(AF_Manager_Set_Multiple_API(36), 0); // another map; the presets' copy stays
        obey(CMD_DZF, 12422);
        expectAt(14056, 10500);
        obey(CMD_CLPST, 8);
        obey(CMD_DZF, 0, CMD_FOCUS); // an empty preset is no match for 0
        EXPECT_EQ(loadWord(&ZM_Step_Local), 10216u);
    });
}

// The 16-bit position of the zoom position before power-off; 15592 is tag point 7, ratio 8.
TEST(Presets, first_direct_zoom_alone_restores_the_position_from_before_power_off) {
    for (unsigned first : {13641u, 14110u}) {
        SCOPED_TRACE(first);
        run([&] {
            host().hasPosition = true;
            host().zoom = 15600;
            host().focus = 13000;
            startParked();
            obey(CMD_DZF, first, first == 13641 ? CMD_NONE : CMD_FOCUS);
            EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition), first);
            if (first == 13641)
                expectAt(15600, 13000);
            command(CMD_MFMODE);
            passMs(1000);
            EXPECT_EQ(Lens_Direct_ZPosition(0), 0);
            obey(CMD_DZF, 13641, CMD_FOCUS);
            EXPECT_EQ(loadWord(&ZM_Step_Local), 15592u);
        });
    }
}

TEST(DirectZoom, goes_to_the_next_quarter_point_as_a_zoom_that_ends_on_it) {
    const struct {
        int lens;
        unsigned zoom, focus;
        unsigned short request;
        unsigned reached, focusThere;
        std::string zoomRuns;
    } rows[] = {
        {LENS_B, 10216, 12234, 1, 10408, 12202, "48 144 "},
        {LENS_B, 10216, 12234, 15170, 18280, 10830, "48 144 41x192 "},
        {LENS_B, 20320, 12500, 16193, 20432, 12758, "14 42 56 "},
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
            const size_t stored = host().savedPositions.size();
            EXPECT_EQ(Lens_Direct_ZPosition(row.request), 0);
            EXPECT_EQ(runText("AB", startUs), row.zoomRuns);
            EXPECT_EQ(loadWord(&ZM_Step_Local), row.reached);
            EXPECT_EQ(loadWord(&FM_Step_Local), row.focusThere);
            EXPECT_EQ(g_ZoomDir, row.reached < row.zoom ? MS_Z_WIDE : MS_Z_TELE);
            const std::string text = motorText(startUs);
            const std::string brakes = "24=0600 29=0600 VD 25000\n";
            EXPECT_EQ(text.rfind(brakes), text.size() - brakes.size());
            EXPECT_EQ(countSaid("To Tele limit, Break.", startUs), row.reached == ZM_Tele_Limit);
            EXPECT_EQ(host().savedPositions.size(), stored); // the run that follows stores
            expectSound();
        });
    }
}

TEST(DirectZoom, standing_there_already_moves_nothing_and_the_run_follows_all_the_same) {
    run([] {
        startParked();
        obey(CMD_DZF, 1556, CMD_FOCUS);
        waitIdle();
        const int64_t startUs = vcam::nowUs();
        obey(CMD_DZF, 1556, CMD_FOCUS);
        EXPECT_EQ(countSaid("Has at dstzoomposition 1556"), 1);
        obey(CMD_DZF, 1, CMD_FOCUS); // rounds up to where the lens is
        EXPECT_EQ(countSaid("dstPosition: 10408 ZM_Step_Local: 10408"), 1);
        EXPECT_EQ(countSaid("Already at 10408."), 1);
        EXPECT_TRUE(motorRuns("AB", startUs).empty());
    });
}

TEST(DirectZoom, ends_sharp_with_position_and_ratio_published) {
    run([] {
        startParked();
        send({0x81, 0x01, 0x04, 0x47, 0x03, 0x00, 0x00, 0x01, 0xFF}); // 0x3001 = 12289
        waitIdle();
        EXPECT_EQ(loadWord(&ZM_Step_Local), 14056u);
        EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1);
        EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition), 12422);
        char osd[AF_OSD_TEXT_SIZE] = "";
        EXPECT_EQ(AF_Manager_Get_OSDData_API(osd), 0);
        EXPECT_STREQ(osd, "X06");
        expectSound();
    });
}

// The second one has the code of the first and another argument.
TEST(Presets, command_that_comes_during_a_move_does_not_stop_it_and_is_obeyed_afterwards) {
    const struct {
        AF_CMD_em first;
        unsigned value;
        AF_CMD_em second;
        unsigned secondValue;
    } rows[] = {{CMD_CAPST, 8, CMD_WIDE, 8},
                {CMD_CAPST, 8, CMD_CAPST, 9},
                {CMD_DZF, 12289, CMD_WIDE, 12289},
                {CMD_DZF, 12289, CMD_DZF, 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.first << ", then " << row.second);
        run([&] {
            host().hasPresets = true;
            host().presets.zoom[8] = 14056, host().presets.focus[8] = 11500;
            host().presets.zoom[9] = 10216, host().presets.focus[9] = 12000;
            startParked();
            const int64_t startUs = vcam::nowUs();
            command(row.first, row.value);
            passMs(500);
            command(row.second, row.secondValue);
            waitUntil([] { return loadWord(&ZM_Step_Local) == 14056; }, 60, "it gets there");
            const int64_t thereUs = vcam::nowUs();
            waitUntil([] { return loadWord(&ZM_Step_Local) == 10216; }, 60, "and back");
            waitIdle();
            EXPECT_EQ(runText("AB", startUs).rfind("48 144 19x192 ", 0), 0u);
            EXPECT_LT(vcam::nowUs() - thereUs, 6000000);
            expectSound();
        });
    }
}

// ---- One change at a time, until the host is done with it

static struct {
    int64_t takesUs;
    int inside, most;
    bool hasChanged, mayNest;
    int64_t nestedUs;
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

static int loadNone(PRESET_INF *) {
    return -1;
}

static void *setFirst(void *) {
    EXPECT_EQ(AF_Mamager_SetPreset_API(1), 0);
    return nullptr;
}

TEST(Presets, second_change_waits_a_second_at_most_while_the_host_stores_the_first) {
    for (const int64_t takesUs : {400000, 3000000}) {
        run([&] {
            const bool inTime = takesUs < 1000000;
            startParked();
            AF_Manager_Init_PresetInfo_API(saveSlowly, loadNone);
            slow.takesUs = takesUs;
            pthread_t thread;
            ASSERT_EQ(pthread_create(&thread, nullptr, setFirst, nullptr), 0);
            passMs(100);
            const int64_t startUs = vcam::nowUs();
            EXPECT_EQ(AF_Mamager_SetPreset_API(2), inTime ? 0 : -1);
            const int64_t waitUs = inTime ? takesUs - 100000 + takesUs : 1000000;
            EXPECT_NEAR(double(vcam::nowUs() - startUs), double(waitUs), 1000); // it polls
            EXPECT_EQ(Lens_Clear_Preset(1), inTime ? 0 : -1);
            pthread_join(thread, nullptr);
            EXPECT_EQ(loadWord(&g_APGroupInfo.aZPosition[1]), inTime ? 0 : 10216u);
            EXPECT_EQ(loadWord(&g_APGroupInfo.aZPosition[2]), inTime ? 10216u : 0);
            EXPECT_EQ(loadWord(&g_RPGroupInfo.rFPosition[2]) != 0, inTime);
            EXPECT_EQ(slow.most, 1);
            EXPECT_FALSE(slow.hasChanged);
            EXPECT_FALSE(slow.mayNest);
            EXPECT_EQ(slow.nestedUs, 0);
        });
    }
}
