// Direct zoom to a 16-bit position: to which quarter point it goes, and how the focus comes along.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "optics/lens_curves.h"
#include "platform/shared_word.h"

#include <cmath>

using namespace scenario;

TEST(DirectZoom, request_between_two_quarter_points_goes_to_the_next_one) {
    const struct {
        unsigned short position;
        unsigned zoom;
    } rows[] = {
        {1, 10408},     {1557, 10600},  {3112, 10600},  {6225, 10984},  {6226, 11176},
        {15170, 18280}, {16123, 20320}, {16124, 20376}, {16193, 20432}, {16194, 20488},
        {16227, 20488}, {16228, 20488}, {65535, 20488}, {16192, 20432}, {0, 10216},
    };
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(row.position);
            EXPECT_EQ(Lens_Direct_ZPosition(row.position), 0);
            EXPECT_EQ(loadWord(&ZM_Step_Local), row.zoom);
            expectSound();
        }
    });
}

TEST(DirectZoom, standing_there_already_moves_nothing) {
    run([] {
        startParked();
        EXPECT_EQ(Lens_Direct_ZPosition(1556), 0);
        const int64_t startUs = vcam::nowUs();
        EXPECT_EQ(Lens_Direct_ZPosition(1556), 0);
        EXPECT_EQ(countSaid("Has at dstzoomposition 1556", startUs), 1);
        EXPECT_EQ(Lens_Direct_ZPosition(1), 0); // rounds up to where the lens is
        EXPECT_EQ(countSaid("dstPosition: 10408 ZM_Step_Local: 10408", startUs), 1);
        EXPECT_EQ(countSaid("Already at 10408.", startUs), 1);
        EXPECT_TRUE(motorLog(startUs).empty());
        command(CMD_DZF, 1556);
        passMs(100);
        EXPECT_EQ(countSaid("Has at dstzoomposition 1556", startUs), 2);
        waitIdle();
        EXPECT_EQ(countSaid("______Start______", startUs), 1); // the run follows all the same
    });
}

TEST(DirectZoom, focus_follows_the_line_and_start_ramp_and_brakes_are_those_of_a_zoom) {
    run([] {
        startParked();
        int64_t startUs = vcam::nowUs();
        EXPECT_EQ(Lens_Direct_ZPosition(3112), 0); // two quarters, 32 focus steps each
        EXPECT_EQ(motorRuns("AB", startUs), (std::vector<int>{48, 144, 192}));
        EXPECT_EQ(motorRuns("CD", startUs), (std::vector<int>{-8, -24, -32}));
        const std::string text = motorText(startUs);
        const std::string end = "24=0600 29=0600 VD 25000\n";
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
        EXPECT_EQ(g_ZoomDir, MS_Z_TELE);
        EXPECT_EQ(host().savedPositions.size(), 2u); // the run that follows stores

        EXPECT_EQ(Lens_Direct_ZPosition(15170), 0);
        EXPECT_EQ(loadWord(&FM_Step_Local), 10830u); // the line at tag point 10, half way
        startUs = vcam::nowUs();
        EXPECT_EQ(Lens_Direct_ZPosition(0), 0);
        EXPECT_EQ(g_ZoomDir, MS_Z_WIDE);
        EXPECT_EQ(loadWord(&FM_Step_Local), 12234u);
        EXPECT_EQ(g_FLineFlag, 0);
        expectSound();
    });
}

TEST(DirectZoom, start_off_the_grid_still_ends_on_the_target) {
    for (unsigned zoom : {10300u, 10599u, 15000u}) {
        SCOPED_TRACE(zoom);
        run([&] {
            startParked();
            placeLens(zoom, 11900);
            EXPECT_EQ(Lens_Direct_ZPosition(3112), 0);
            EXPECT_EQ(loadWord(&ZM_Step_Local), 10600u);
            expectSound();
        });
    }
}

TEST(DirectZoom, limit_short_of_the_target_ends_it) {
    vcam::CameraOptions options;
    options.lensType = LENS_A;
    run(options, [] {
        g_LensType = LENS_A;
        startParked();
        const int64_t startUs = vcam::nowUs();
        EXPECT_EQ(Lens_Direct_ZPosition(16123), 0); // 20104, the limit being 20080
        EXPECT_EQ(countSaid("To Tele limit, Break.", startUs), 1);
        EXPECT_EQ(loadWord(&ZM_Step_Local), 20080u);
        expectSound();
    });
}

TEST(DirectZoom, no_command_stops_it_and_an_autofocus_run_follows) {
    run([] {
        startParked();
        const std::vector<uint8_t> ask = {0x81, 0x09, 0x04, 0x47, 0xFF};
        send({0x81, 0x01, 0x04, 0x47, 0x03, 0x00, 0x00, 0x01, 0xFF}); // 0x3001 = 12289
        passMs(500);
        command(CMD_WIDE);
        waitIdle();
        EXPECT_EQ(loadWord(&ZM_Step_Local), 14056u);
        EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1);
        vcam::cameraSent();
        send(ask);
        passMs(1);
        EXPECT_EQ(vcam::cameraSent(), (std::vector<uint8_t>{0x90, 0x50, 3, 0, 8, 6, 0xFF}));
        char osd[AF_OSD_TEXT_SIZE] = "";
        EXPECT_EQ(AF_Manager_Get_OSDData_API(osd), 0);
        EXPECT_STREQ(osd, "X06");
        expectSound();
    });
}
