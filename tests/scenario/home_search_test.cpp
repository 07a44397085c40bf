// The search for the photo-interrupters: the sensors that fail it, and the search on command.
#include "scenario.h"
#include "temporary_folder.h"

#include <numeric>

#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

using namespace scenario;

static const int64_t kSearchUs = 545000; // the driver is set up

// ---- Sensors that fail ----

static void waitUntilSaid(const char *text, int times) {
    for (int polls = 0; countSaid(text) < times && polls < 600; ++polls)
        passMs(200);
}

TEST(HomeSearch, stuck_sensor_ends_each_of_two_searches_at_the_whole_travel_and_is_logged) {
    const struct {
        vcam::Axis axis;
        int level, steps;
    } rows[] = {{vcam::Axis::Zoom, 0, -11040},
                {vcam::Axis::Zoom, 1, 11040},
                {vcam::Axis::Focus, 0, 4880},
                {vcam::Axis::Focus, 1, -4880}};
    for (const auto &row : rows) {
        const bool isZoom = row.axis == vcam::Axis::Zoom;
        run(startAt(isZoom ? 15000 : 16744, 11000), [&] {
            host().hasPosition = true; // the second search forgets it
            host().zoom = host().focus = 12000;
            vcam::stickPhotoInterrupter(row.axis, row.level);
            startLibrary();
            waitUntilSaid("Failure.", 2);
            ASSERT_EQ(countSaid("Failure."), 2);
            const std::vector<int> runs = motorRuns(isZoom ? "AB" : "CD", kSearchUs);
            EXPECT_EQ(std::accumulate(runs.begin(), runs.end(), 0), 2 * row.steps);
            EXPECT_EQ(vcam::peekRegister(isZoom ? 0x24 : 0x29), 0x0600); // braked
            EXPECT_TRUE(host().savedPositions.empty());
            const std::string logged = readAll(vcam::scratchFolder() + "/tmp/aflog");
            EXPECT_EQ(logged.substr(0, 17), "2024-01-01 00:00:");
            EXPECT_EQ(logged.substr(19), " PI check error !\n"); // one line
        });
    }
}

TEST(HomeSearch, edge_lost_in_a_later_pass_fails_at_its_bound_and_the_second_search_heals) {
    const struct {
        uint16_t pass; // its step word
        int stuck;
        int step;
        size_t periods;              // that end with such a step
    } rows[] = {{0x0510, 0, -24, 1}, // of 11040 steps 720 were in the first pass
                {0x0408, 1, 8, 33},
                {0x0501, 0, -1, 129}};
    for (const auto &row : rows) {
        run(startAt(16000, 11000), [&] {
            startLibrary();
            waitUntil([&] { return vcam::peekRegister(0x24) == row.pass; }, 10, "the pass");
            vcam::stickPhotoInterrupter(vcam::Axis::Zoom, row.stuck);
            waitUntilSaid("Failure.", 1);
            const std::vector<int> runs = motorRuns("AB", kSearchUs);
            const auto last = runs.end() - int(row.periods);
            EXPECT_EQ(std::vector<int>(last, runs.end()), std::vector<int>(row.periods, row.step));
            EXPECT_NE(*(last - 1), row.step);
            vcam::stickPhotoInterrupter(vcam::Axis::Zoom, -1);
            waitUntilSaid("ZM_Local: 10216 FM_Local: 12234", 1);
            EXPECT_EQ(countSaid("Failure."), 1);
            EXPECT_EQ(truePlace(), Place(10216, 12234));
        });
    }
}

// ---- On command ----

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
        Place reached;
        int zoom16;
    } rows[] = {{CMD_RESET, {10216, 12234}, 0}, {CMD_RST, {13000, 11900}, 11037}};
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(row.code);
            placeLens(13000, 11900);
            FM_Focus_Flag = 1; // a return point that the reset drops
            vcam::placeAt(vcam::Axis::Zoom, 13025);
            vcam::placeAt(vcam::Axis::Focus, 11870);
            resetAndRest(row.code);
            EXPECT_EQ(FM_Focus_Flag, 0u);
            EXPECT_EQ(host().savedPositions.back(), row.reached);
            EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition), row.zoom16);
            expectSound(); // the counters are true again
        }
        FM_Focus_Flag = 1;
        Lens_Reset();
        EXPECT_EQ(FM_Focus_Flag, 0u);
        placeLens(13000, 11900);
        vcam::stickPhotoInterrupter(vcam::Axis::Zoom, 1);
        resetAndRest(CMD_RESET);
        EXPECT_EQ(countSaid("Failure."), 1);
        // The way to park, added to where the counters stood: 13000 - 6528 and 11900 + 874.
        EXPECT_EQ(host().savedPositions.back(), Place(10216, 12774));
    });
}
