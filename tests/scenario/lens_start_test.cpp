// What start-up makes of what the host has kept: the position, the infinity curve, and nothing.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

using namespace scenario;

TEST(LensStart, geometry_follows_lens_and_sensor) {
    const struct {
        int lens, sensor;
        unsigned wide, tele, near, far, zoomPi, focusPi, lockStart, focusAtWide;
    } rows[] = {
        {LENS_B, 2, 10216, 20488, 10000, 14868, 16744, 11360, 12533, 12234},
        {LENS_B, 1, 10216, 20488, 10000, 14868, 16744, 11360, 13120, 12320},
        {LENS_A, 2, 10000, 20080, 10000, 13816, 15552, 12192, 12922, 12234},
        {LENS_A, 1, 10000, 20080, 10000, 13816, 15552, 12192, 13288, 12320},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "lens " << row.lens << ", sensor " << row.sensor);
        vcam::CameraOptions options;
        options.lensType = row.lens;
        run(options, [&] {
            g_LensType = row.lens;
            g_SensType = row.sensor;
            startParked();
            EXPECT_EQ(ZM_Wide_Limit, row.wide);
            EXPECT_EQ(ZM_Tele_Limit, row.tele);
            EXPECT_EQ(FM_Near_Limit, row.near);
            EXPECT_EQ(FM_Far_Limit, row.far);
            EXPECT_EQ(ZM_PI_Position, row.zoomPi);
            EXPECT_EQ(FM_PI_Position, row.focusPi);
            EXPECT_EQ(FM_Lock_Start, row.lockStart);
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(row.wide, row.focusAtWide));
            expectSound();
        });
    }
}

TEST(LensStart, stored_position_is_remembered_or_refused_as_a_whole_and_never_driven_to) {
    const struct {
        bool stored;
        unsigned zoom, focus;
        const char *said; // "": accepted
    } rows[] = {
        {false, 15000, 11000, "Lens_Read_ZFLocation Error!"},
        {true, 15000, 11000, ""},
        {true, 10216, 10000, ""},
        {true, 20488, 14868, ""},
        {true, 10215, 11000, "Invaled zp: 10215 fp: 11000."},
        {true, 20489, 11000, "Invaled zp: 20489 fp: 11000."},
        {true, 15000, 9999, "Invaled zp: 15000 fp: 9999."},
        {true, 15000, 14869, "Invaled zp: 15000 fp: 14869."},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.zoom << ", " << row.focus << " " << row.said);
        run([&] {
            host().hasPosition = row.stored;
            host().zoom = row.zoom;
            host().focus = row.focus;
            startParked();
            const bool accepted = *row.said == '\0';
            EXPECT_EQ(ZM_Step_Powoff, accepted ? row.zoom : 20488);
            EXPECT_EQ(FM_Step_Powoff, accepted ? row.focus : 12234);
            EXPECT_EQ(countSaid("Lens_Read_ZFLocation Error!") + countSaid("fp: 11000.") +
                          countSaid("fp: 9999.") + countSaid("fp: 14869."),
                      accepted ? 0 : 1);
            EXPECT_TRUE(accepted || countSaid(row.said) == 1);
            const std::vector<std::pair<unsigned, unsigned>> parked(2, {10216, 12234});
            EXPECT_EQ(host().savedPositions, parked);
            EXPECT_EQ(countSaid("ZM_Local: 10216 FM_Local: 12234"), 1);
            expectSound();
        });
    }
}

TEST(LensStart, curve_that_the_host_left_zero_or_garbage_drives_no_axis_out_of_its_travel) {
    const struct {
        unsigned entry, parkedFocus;
    } rows[] = {{0, 10000}, {0xFFFFFFFF, 14868}, {0x80000000, 14868}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "entries of " << row.entry);
        run([&] {
            host().hasFocusLine = true;
            for (auto &tagPoint : host().focusLine.focus)
                for (unsigned &entry : tagPoint)
                    entry = row.entry;
            startParked();
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, row.parkedFocus));
            EXPECT_EQ(FM_Step_Powoff, row.entry);
            const int64_t pollUs = nextPollUs();
            command(CMD_TELE);
            vcam::sleepUntilUs(pollUs + 100000);
            command(CMD_ZSTOP); // and its autofocus run
            waitIdle();
            EXPECT_EQ(loadWord(&ZM_Step_Local), 10600u);
            expectSound();
        });
    }
}

TEST(LensStart, host_without_callbacks_gets_the_defaults_and_a_message_each_time) {
    run([] {
        ASSERT_EQ(AF_Manager_Start_API(), 0);
        waitUntil([] { return loadWord(&g_AutoCheckFlag) == 1; }, 60, "the first run is over");
        for (const char *name :
             {"fCallbakGetPreset", "Lens_Read_PresetInfo", "fCallbakGetFocusLine",
              "Lens_Read_FLPosition", "fCallbakGetZMPosition", "Lens_Read_ZFLocation"})
            EXPECT_EQ(countSaid(std::string(name) + " Error!"), 1) << name;
        EXPECT_EQ(countSaid("fCallbakSetZMPosition Error!"), 3); // parked, start-up, autofocus
        EXPECT_EQ(g_FLineInfo.tagPosition[0][0], 12234u);
        expectSound();
    });
}
