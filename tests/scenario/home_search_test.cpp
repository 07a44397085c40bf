// The search for the photo-interrupters: each pass word by word, and the sensors that fail it.
#include "scenario.h"

#include <fstream>
#include <numeric>
#include <sstream>
#include <unistd.h>

#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

using namespace scenario;

static const int64_t kSearchUs = 545000; // the driver is set up

static std::string repeat(const char *line, int times) {
    std::string text;
    for (int i = 0; i < times; ++i)
        text += line;
    return text;
}

static int sum(const std::vector<int> &steps) {
    return std::accumulate(steps.begin(), steps.end(), 0);
}

static vcam::CameraOptions startAt(int zoom, int focus, int lens = LENS_B) {
    vcam::CameraOptions options;
    options.lensType = lens;
    options.zoomStart = zoom;
    options.focusStart = focus;
    return options;
}

static const std::string kZoomLit = "29=0e00 VD 25000\nwait 500000\n";
static const std::string kFocusLit =
    "29=0600 VD 25000\nwait 200000\n24=0e00 VD 25000\nwait 500000\n";
static const std::string kZoomStops = "24=0600 VD 25000\n";
static const std::string kFocusStops = "29=0600 VD 25000\n";
static const std::string kBothStop = "29=0600 24=0600 VD 25000\n"; // the zoom's LED goes out
static const std::string kPause = "wait 500000\n";
static const std::string kPark = "24=0520 25=0371 29=0520 2a=0371 VD 25000\n";
static const char kPeriod[] = "VD 25000\n";

TEST(HomeSearch, edges_are_approached_from_the_zero_side_ever_more_slowly) {
    const struct {
        int zoom, focus;
        std::string text;
    } rows[] = {
        {16753, 11352,                                                         // both read 0
         kZoomLit + "24=0510 25=06e2 VD 25000\n" + kZoomStops + kPause +       // 16 wide, to 16737
             "24=0408 25=0dc5 VD 25000\n" + kZoomStops + kPause +              // 8 tele, to 16745
             "24=0501 25=6e2b VD 25000\n" + kZoomStops +                       // 1 wide, to 16744
             kFocusLit + "29=0510 2a=06e2 VD 25000\n" + kFocusStops + kPause + // 16 far, to 11368
             "29=0408 2a=0dc5 VD 25000\nVD 25000\n" + kFocusStops + kPause +   // to 11352
             "29=0501 2a=6e2b " + repeat(kPeriod, 8) + kBothStop + kPark},
        {16740, 11362, // both read 1: that side is left first
         kZoomLit + "24=0410 25=06e2 VD 25000\n" + kZoomStops + kPause + // 16 tele, to 16756
             "24=0510 25=06e2 VD 25000\n" + kZoomStops + kPause +        // 16 wide, to 16740
             "24=0408 25=0dc5 VD 25000\n" + kZoomStops + kPause +        // 8 tele, to 16748
             "24=0501 25=6e2b " + repeat(kPeriod, 4) + kZoomStops + kFocusLit +
             "29=0410 2a=06e2 VD 25000\n" + kFocusStops + kPause + // 16 near, to 11346
             "29=0510 2a=06e2 VD 25000\n" + kFocusStops + kPause + // 16 far, to 11362
             "29=0408 2a=0dc5 VD 25000\n" + kFocusStops + kPause + // 8 near, to 11354
             "29=0501 2a=6e2b " + repeat(kPeriod, 6) + kBothStop + kPark},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "from " << row.zoom << ", " << row.focus);
        run(startAt(row.zoom, row.focus), [&] {
            startParked();
            EXPECT_EQ(motorText(kSearchUs).substr(0, row.text.size()), row.text);
            EXPECT_EQ(countSaid("Check ZPI Success."), 1);
            EXPECT_EQ(countSaid("Check FPI Success."), 1);
            expectSound();
        });
    }
}

TEST(HomeSearch, fast_pass_ramps_by_8_to_128_and_direction_follows_lens_and_level) {
    const struct {
        int lens, zoom, focus;
        std::vector<int> zoomRuns, focusRuns; // up to the edge of the first pass
    } rows[] = {
        {LENS_B,
         17500,
         11000, // reads 0 and 0
         {-16, -24, -32, -40, -48, -56, -64, -72, -80, -88, -96, -104, -112, 8},
         {16, 24, 32, 40, 48, 56, 64, 72, 80, -8}},
        {LENS_B,
         15300,
         11800, // reads 1 and 1
         {16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 96, 104, 112, 120, 128, 128, 128, 128, -16},
         {-16, -24, -32, -40, -48, -56, -64, -72, -80, -88, 16}},
        {LENS_A,
         16000,
         12300, // reads 1 and 0
         {-16, -24, -32, -40, -48, -56, -64, -72, -80, -88, 16},
         {-16, -24, -32, -40, 8}},
        {LENS_A,
         15500,
         12100, // reads 0 and 1
         {16, 24, 32, -8},
         {16, 24, 32, 40, -16}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "lens " << row.lens << " from " << row.zoom);
        run(startAt(row.zoom, row.focus, row.lens), [&] {
            g_LensType = row.lens;
            startParked();
            std::vector<int> zoomRuns = motorRuns("AB", kSearchUs);
            std::vector<int> focusRuns = motorRuns("CD", kSearchUs);
            zoomRuns.resize(row.zoomRuns.size());
            focusRuns.resize(row.focusRuns.size());
            EXPECT_EQ(zoomRuns, row.zoomRuns);
            EXPECT_EQ(focusRuns, row.focusRuns);
            expectSound();
        });
    }
}

// ---- Sensors that fail ----

static std::string logFile() {
    std::stringstream text;
    text << std::ifstream(vcam::scratchFolder() + "/tmp/aflog").rdbuf();
    return text.str();
}

static void waitForMarker() {
    waitUntil([] { return access("/tmp/afstartok", F_OK) == 0; }, 120, "start-up is over");
}

static void waitForFailure() {
    for (int polls = 0; countSaid("Failure.") == 0 && polls < 100; ++polls)
        passMs(200);
}

TEST(HomeSearch, stuck_sensor_ends_each_of_two_searches_at_the_whole_travel_and_is_logged) {
    const struct {
        vcam::Axis axis;
        int level, zoom;
        const char *said;
        int zoomSteps, focusSteps, lastStep; // of one search
    } rows[] = {
        {vcam::Axis::Zoom, 0, 15000, "Error, [11040,11040].", -11040, 0, -104},
        {vcam::Axis::Zoom, 1, 15000, "Error, [11040,11040].", 11040, 0, 104},
        {vcam::Axis::Focus, 0, 16744, "Error, [4880,4880].", 0, 4880, 88},
        {vcam::Axis::Focus, 1, 16744, "Error, [4880,4880].", 0, -4880, -88},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.said << " at level " << row.level);
        run(startAt(row.zoom, 11000), [&] {
            host().hasPosition = true; // the retry forgets it
            host().zoom = 15000;
            host().focus = 12000;
            vcam::stickPhotoInterrupter(row.axis, row.level);
            startLibrary();
            waitForMarker();
            EXPECT_EQ(countSaid(row.said), 2);
            EXPECT_EQ(countSaid("Failure."), 2);
            const bool zoomFails = row.axis == vcam::Axis::Zoom;
            const std::vector<int> runs = motorRuns(zoomFails ? "AB" : "CD", kSearchUs);
            ASSERT_FALSE(runs.empty());
            EXPECT_EQ(sum(runs), 2 * (zoomFails ? row.zoomSteps : row.focusSteps));
            EXPECT_EQ(runs.back(), row.lastStep); // 1080 of the ramp, 128 a period, the rest
            EXPECT_EQ(motorRuns("CD", kSearchUs).empty(), zoomFails);
            const std::string text = motorText(kSearchUs);
            const std::string brakes = "24=0600 29=0600 VD 25000\n";
            EXPECT_EQ(text.substr(text.size() - brakes.size()), brakes);
            unsigned zoom, focus;
            Lens_Get_Location(&zoom, &focus);
            EXPECT_EQ(zoom, 20488u);
            EXPECT_EQ(focus, 10000u);
            EXPECT_TRUE(host().savedPositions.empty());
            const std::string log = logFile(); // one line
            EXPECT_EQ(log.substr(0, 17), "2024-01-01 00:00:");
            EXPECT_EQ(log.substr(log.find(' ', 17)), " PI check error !\n");
        });
    }
}

TEST(HomeSearch, travel_of_the_first_pass_counts_against_the_second) {
    run(startAt(16000, 11000), [] {
        startLibrary();
        waitUntil([] { return vcam::peekRegister(0x24) == 0x0510; }, 10, "the second pass");
        vcam::stickPhotoInterrupter(vcam::Axis::Zoom, 0);
        waitForFailure();
        EXPECT_EQ(countSaid("Error, [11040,11040]."), 1);
        std::vector<int> back;
        for (int steps : motorRuns("AB", kSearchUs))
            if (steps < 0)
                back.push_back(steps);
        EXPECT_EQ(sum(back), 720 - 11040); // 16 to 104 toward tele before the edge's period
    });
}

TEST(HomeSearch, edge_lost_in_a_slow_pass_fails_after_its_periods_and_the_second_search_heals) {
    const struct {
        uint16_t pass; // its step word
        int stuck;
        int step;
        size_t periods;
    } rows[] = {{0x0408, 1, 8, 33}, {0x0501, 0, -1, 129}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "steps of " << row.step);
        run(startAt(17000, 11000), [&] {
            startLibrary();
            waitUntil([&] { return vcam::peekRegister(0x24) == row.pass; }, 10, "the pass");
            vcam::stickPhotoInterrupter(vcam::Axis::Zoom, row.stuck);
            waitForFailure();
            EXPECT_EQ(countSaid("Error, Return here."), 1);
            std::vector<int> runs = motorRuns("AB", kSearchUs);
            ASSERT_GT(runs.size(), row.periods);
            EXPECT_EQ(std::vector<int>(runs.end() - int(row.periods), runs.end()),
                      std::vector<int>(row.periods, row.step));
            EXPECT_NE(runs[runs.size() - row.periods - 1], row.step);
            vcam::stickPhotoInterrupter(vcam::Axis::Zoom, -1);
            waitForMarker();
            EXPECT_EQ(countSaid("Failure."), 1);
            EXPECT_EQ(host().savedPositions.front(), std::make_pair(10216u, 12234u));
            EXPECT_EQ(logFile(), "");
            expectSound();
        });
    }
}
