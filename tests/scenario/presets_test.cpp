// Presets: stored, called, cleared, kept by the host, and found by direct zoom requests.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

using namespace scenario;

static const unsigned kNoPreset = 0;

/// The lens-control thread takes it, and is done when it leaves another code.
static void obey(AF_CMD_em code, unsigned value, AF_CMD_em after) {
    command(code, value);
    waitUntil([&] { return Lens_Get_Command() != unsigned(code); }, 60, "the command is done");
    EXPECT_EQ(Lens_Get_Command(), unsigned(after)) << "after command " << code << ", " << value;
}

static void expectAt(unsigned zoom, unsigned focus) {
    EXPECT_EQ(loadWord(&ZM_Step_Local), zoom);
    EXPECT_EQ(loadWord(&FM_Step_Local), focus);
    expectSound();
}

static void keepPreset(unsigned number, unsigned zoom, unsigned focus) {
    host().hasPresets = true;
    host().presets.zoom[number] = zoom;
    host().presets.focus[number] = focus;
}

TEST(Presets, position_set_is_called_again_exactly_and_gone_once_cleared) {
    run([] {
        startParked();
        placeLens(13288, 11700);
        obey(CMD_SPST, 5, CMD_NONE);
        EXPECT_EQ(host().presets.zoom[5], 13288u);
        EXPECT_EQ(host().presets.focus[5], 11700u);
        EXPECT_EQ(AF_Mamager_SetPreset_API(254), 0);
        EXPECT_EQ(host().savedPresetTables, 2);
        const int64_t callableUs = vcam::nowUs();
        obey(CMD_CAPST, 254, CMD_NONE); // there already
        EXPECT_TRUE(motorLog(callableUs).empty());

        command(CMD_MFMODE);
        passMs(100);
        placeLens(20264, 10500);
        g_ZoomDir = MS_Z_TELE;
        const int64_t calledUs = vcam::nowUs();
        obey(CMD_CAPST, 5, CMD_NONE);
        expectAt(13288, 11700);
        EXPECT_EQ(g_ZoomDir, MS_Z_TELE); // calling a preset is no zoom of the user's
        EXPECT_EQ(countSaid("______Start______", calledUs), 0);

        const int64_t clearedUs = vcam::nowUs();
        obey(CMD_CLPST, 5, CMD_NONE);
        EXPECT_EQ(host().presets.zoom[5], kNoPreset);
        EXPECT_EQ(host().presets.focus[5], kNoPreset);
        EXPECT_EQ(host().savedPresetTables, 3);
        obey(CMD_CAPST, 5, CMD_NONE);
        EXPECT_EQ(countSaid("__Lens_Goto_Preset Error zp = 0 or fp = 0.", clearedUs), 1);
        EXPECT_TRUE(motorLog(clearedUs).empty());
    });
}

TEST(Presets, table_kept_by_the_host_is_in_force_after_the_start) {
    run([] {
        keepPreset(0, 14056, 11504);
        keepPreset(1, 0, 11504); // half empty
        keepPreset(2, 14056, 0);
        keepPreset(254, 20488, 14868);
        startParked();
        EXPECT_EQ(loadWord(&g_RPGroupInfo.rZPosition[0]), 12422); // ratio 6 sits at tag point 5
        EXPECT_EQ(loadWord(&g_RPGroupInfo.rZPosition[254]), 16228);
        EXPECT_EQ(loadWord(&g_RPGroupInfo.rFPosition[254]),
                  static_cast<unsigned short>(49152.0F - 4868 / 4880.0F * 45056.0F));
        for (unsigned half : {1u, 2u}) {
            EXPECT_EQ(loadWord(&g_RPGroupInfo.rZPosition[half]), 0);
            EXPECT_EQ(loadWord(&g_RPGroupInfo.rFPosition[half]), 0);
        }
        EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition), 0); // where the lens is
        obey(CMD_CAPST, 0, CMD_NONE);
        expectAt(14056, 11504);
    });
}

TEST(Presets, direct_zoom_to_a_presets_position_calls_the_first_such_preset) {
    run([] {
        keepPreset(3, 14150, 11000); // inside the quarter that begins at 14056
        keepPreset(8, 14056, 10500);
        startParked();
        obey(CMD_DZF, 12422, CMD_NONE);
        expectAt(14150, 11000);
        obey(CMD_CLPST, 3, CMD_NONE);
        obey(CMD_DZF, 12422, CMD_NONE);
        expectAt(14056, 10500);
        EXPECT_EQ(AF_Manager_Set_Multiple_API(36), 0); // another map; the presets' copy stays
        obey(CMD_DZF, 12422, CMD_NONE);
        expectAt(14056, 10500);
        obey(CMD_CLPST, 8, CMD_NONE);
        obey(CMD_DZF, 0, CMD_FOCUS); // an empty preset is no match for 0
        EXPECT_EQ(loadWord(&ZM_Step_Local), 10216u);
    });
}

// The 16-bit position of the zoom position before power-off; 15592 is tag point 7, ratio 8.
TEST(Presets, first_direct_zoom_alone_restores_the_position_from_before_power_off) {
    const struct {
        unsigned first;
        AF_CMD_em after;
        unsigned zoom;
    } rows[] = {{13641, CMD_NONE, 15600}, {14110, CMD_FOCUS, 16360}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.first);
        run([&] {
            host().hasPosition = true;
            host().zoom = 15600;
            host().focus = 13000;
            startParked();
            obey(CMD_DZF, row.first, row.after);
            EXPECT_EQ(loadWord(&ZM_Step_Local), row.zoom);
            if (row.after == CMD_NONE) {
                expectAt(15600, 13000);
                EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition), row.first);
            }
            command(CMD_MFMODE);
            passMs(1000);
            EXPECT_EQ(Lens_Direct_ZPosition(0), 0);
            obey(CMD_DZF, 13641, CMD_FOCUS);
            EXPECT_EQ(loadWord(&ZM_Step_Local), 15592u);
        });
    }
}
