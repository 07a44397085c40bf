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
    for (const auto &row : rows) {
        SCOPED_TRACE(row.said);
        run([&] {
            startParked();
            placeLens(13000, 11900);
            FM_Focus_Flag = 1; // a return point that the reset drops
            vcam::placeAt(vcam::Axis::Zoom, 13025);
            vcam::placeAt(vcam::Axis::Focus, 11870);
            resetAndRest(row.code);
            EXPECT_EQ(countSaid(row.said), 1);
            EXPECT_EQ(FM_Focus_Flag, 0u);
            EXPECT_EQ(host().savedPositions.size(), 4u);
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(row.zoom, row.focus));
            EXPECT_EQ(loadWord(&ZM_Step_Local), row.zoom);
            unsigned short zoom16 = 1;
            EXPECT_EQ(lensGetZMapPosition(&zoom16), 0);
            EXPECT_EQ(zoom16, row.zoom16);
            expectSound(); // the counters are true again
        });
    }
}

TEST(Reset, autofocus_run_follows_a_reset_from_the_interface) {
    run([] {
        startParked();
        placeLens(13000, 11900);
        AF_Manager_Reset_API();
        waitIdle();
        EXPECT_EQ(countSaid("cmd: 5"), 1);
        EXPECT_EQ(countSaid("______Start______"), 1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_NONE));
        EXPECT_EQ(loadWord(&ZM_Step_Local), 10216u);
        expectSound();
    });
}

TEST(Reset, failed_search_still_moves_by_the_way_from_the_edges_and_stores_clamped_counters) {
    run([] {
        startParked();
        vcam::stickPhotoInterrupter(vcam::Axis::Zoom, 1);
        resetAndRest(CMD_RESET);
        EXPECT_EQ(countSaid("Failure."), 1);
        EXPECT_EQ(countSaid("Error, [11040,11040]."), 1);
        // 10216 - 6528 and 12234 + 874
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, 13108u));
    });
}
