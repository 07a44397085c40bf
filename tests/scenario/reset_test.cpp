// Finding home again on command: where the lens goes afterwards, and what a search that fails
// leaves behind.
#include "scenario.h"

#include "devices/lens.h"
#include "platform/shared_word.h"

using namespace scenario;

/// Run a reset to its end and keep the autofocus run that it asks for from starting.
static void resetAndRest(AF_CMD_em code) {
    command(code);
    waitUntil([] { return Lens_Get_Command() == CMD_FOCUS; }, 60, "the reset asks for a run");
    command(CMD_MFMODE);
    passMs(60);
}

TEST(Reset, lens_parks_or_goes_back_to_where_its_counters_stood) {
    const struct {
        AF_CMD_em code;
        const char *said;
        unsigned zoom, focus;
        int zoom16;
    } rows[] = {{CMD_RESET, "cmd: 5", 10216, 12234, 0}, {CMD_RST, "cmd: 12", 13000, 11900, 11037}};
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(row.said);
            placeLens(13000, 11900);
            FM_Focus_Flag = 1; // a return point that the reset drops
            vcam::placeAt(vcam::Axis::Zoom, 13025);
            vcam::placeAt(vcam::Axis::Focus, 11870);
            resetAndRest(row.code);
            EXPECT_EQ(countSaid(row.said), 1);
            EXPECT_EQ(FM_Focus_Flag, 0u);
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(row.zoom, row.focus));
            unsigned short zoom16 = 1;
            EXPECT_EQ(lensGetZMapPosition(&zoom16), 0);
            EXPECT_EQ(zoom16, row.zoom16);
            expectSound(); // the counters are true again
        }
        FM_Focus_Flag = 1;
        Lens_Reset();
        EXPECT_EQ(FM_Focus_Flag, 0u);
        expectSound();
        placeLens(13000, 11900);
        vcam::stickPhotoInterrupter(vcam::Axis::Zoom, 1);
        resetAndRest(CMD_RESET);
        EXPECT_EQ(countSaid("Failure."), 1);
        // The way to park, added to where the counters stood: 13000 - 6528 and 11900 + 874.
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, 12774u));
    });
}
