// The service runs that measure where this unit is in focus: the curve for the library itself, and
// the two files for people.
#include "scenario.h"

#include "boundary/faults.h"
#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <unistd.h>

using namespace scenario;

static const double kTooNearM = 0.01; // best focus lies far beyond the near limit at every zoom
static const double kRunLimitS = 1000;

static void expectInFocus(int zoom, int focus) {
    const double off = focus - vcam::inFocusPositionAt(zoom, 0);
    EXPECT_LE(std::fabs(off / vcam::halfDepthStepsAt(zoom)), 1) << "zoom " << zoom;
}

static int gridZoom(int tag, int quarter) {
    const int zoom = int(ZM_Step_Run[tag]);
    return quarter == 0 ? zoom : zoom + quarter * (int(ZM_Step_Run[tag + 1]) - zoom) / 4;
}

/// Whole quarters of the way to the next tag point; the third takes one more for a remainder.
static void expectInterpolated(const unsigned (&row)[4], unsigned next) {
    const int way = int(next) - int(row[0]);
    const int sign = way < 0 ? -1 : 1;
    const int quarter = std::abs(way) / 4;
    const int extra = std::abs(way) % 4 != 0 ? 1 : 0;
    EXPECT_EQ(int(row[1]), int(row[0]) + sign * quarter);
    EXPECT_EQ(int(row[2]), int(row[0]) + sign * 2 * quarter);
    EXPECT_EQ(int(row[3]), int(row[0]) + sign * (3 * quarter + extra));
}

static void waitForRunToEnd() {
    waitUntil([] { return Lens_Get_Command() == CMD_NONE; }, kRunLimitS, "the run is over");
}

static std::string realPath(const char *path) {
    return vcam::scratchFolder() + path;
}

TEST(Calibration, every_grid_point_is_in_focus_and_the_host_gets_the_curve) {
    for (int blur = 0; blur < 2; ++blur) {
        for (uint64_t seed = 1; seed <= 4; ++seed) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", gaussian " << blur);
            vcam::CameraOptions options;
            options.seed = seed;
            options.gaussianBlur = blur != 0;
            run(options, [] {
                startParked();
                char folder[] = "/mnt/flash/data/";
                ASSERT_EQ(lensSetCfgPath(folder), 0);
                std::ofstream(realPath(fMPosition)) << "stale";
                EXPECT_EQ(AF_Manager_LockFocus_API(), 0);
                passMs(20000);
                command(CMD_TELE); // nothing stops the run, and its end forgets this
                waitForRunToEnd();
                EXPECT_EQ(host().savedFocusLines, 1);
                const FOCUS_POINT line = host().focusLine;
                for (int tag = 0; tag < 15; ++tag)
                    for (int quarter = 0; quarter < (tag < 7 ? 1 : 4); ++quarter)
                        expectInFocus(gridZoom(tag, quarter), int(line.focus[tag][quarter]));
                expectInFocus(20488, int(line.focus[15][0]));
                for (int tag = 0; tag < 7; ++tag)
                    expectInterpolated(line.focus[tag], line.focus[tag + 1][0]);
                EXPECT_EQ(memcmp(&g_FLineInfo, &line, sizeof line), 0);
                EXPECT_EQ(FM_Step_Run[0][0], line.focus[0][0] - line.focus[0][1]);
                EXPECT_EQ(loadWord(&ZM_Step_Local), 10216u);
                EXPECT_EQ(loadWord(&FM_Step_Local), line.focus[0][0]);
                const std::string wide = std::to_string(line.focus[0][0]); // back to it on the way
                EXPECT_EQ(countSaid("ZM_Local: 10984 FM_Local: " + wide), 1);
                EXPECT_NE(access(fMPosition, F_OK), 0);
                expectSound();
            });
        }
    }
}

TEST(Calibration, scene_without_a_peak_gives_up_parks_and_keeps_the_former_curve) {
    run([] {
        startParked();
        const FLine_Tagposition_ST former = g_FLineInfo;
        vcam::setObjectDistanceM(kTooNearM);
        const int64_t startUs = vcam::nowUs();
        command(CMD_FLINE);
        passMs(100);
        waitForRunToEnd();
        // Below the limit of 4000 a pass counts nothing: each runs to an end of the travel.
        EXPECT_EQ(countSaid("flagUp: 0 flagHill: 0 flagDown: 0", startUs), 12);
        EXPECT_EQ(countSaid("To Near Limit.", startUs), 6);
        EXPECT_EQ(countSaid("To Far Limit.", startUs), 6);
        EXPECT_EQ(countSaid("No peak at ZP: 10216, the former curve stays.", startUs), 1);
        EXPECT_EQ(memcmp(&g_FLineInfo, &former, sizeof former), 0);
        EXPECT_EQ(host().savedFocusLines, 0);
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, 12234u));
        expectSound();
    });
}

TEST(Calibration, lens_that_does_not_find_home_twice_leaves_the_curve_alone) {
    run([] {
        startParked();
        const FLine_Tagposition_ST former = g_FLineInfo;
        vcam::stickPhotoInterrupter(vcam::Axis::Zoom, 0);
        const int64_t startUs = vcam::nowUs();
        command(CMD_FLINE);
        passMs(100);
        waitForRunToEnd();
        EXPECT_EQ(countSaid("Failure.", startUs), 2);
        EXPECT_EQ(countSaid("To Destination.", startUs), 0);
        EXPECT_EQ(memcmp(&g_FLineInfo, &former, sizeof former), 0);
        EXPECT_EQ(host().savedFocusLines, 0);
    });
}

// ---- Drawing ----

struct CurveLine {
    int zoom, focus, difference;
};

static std::vector<CurveLine> readCurve(const char *path) {
    std::vector<CurveLine> lines;
    std::ifstream file(realPath(path));
    CurveLine line = {};
    char comma = 0;
    while (file >> line.zoom >> comma >> line.focus >> comma >> line.difference)
        lines.push_back(line);
    return lines;
}

static void startWithManualThread() {
    startParked();
    passMs(1500);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, manualCtrlThread, nullptr), 0);
    passMs(1); // it waits for a request now
}

/// Have the manual stepping thread draw; it stores the position once more when it is done.
static void draw(unsigned which) {
    startWithManualThread();
    const size_t saved = host().savedPositions.size();
    manualCtrlFun(8, 0, which);
    waitUntil([&] { return host().savedPositions.size() == saved + 2; }, kRunLimitS, "drawn");
}

TEST(CurveDrawing, equal_steps_are_written_with_the_focus_found_at_each) {
    run([] {
        draw(1);
        const std::vector<CurveLine> lines = readCurve("/mnt/flash/data/ZFCurve.txt");
        ASSERT_EQ(lines.size(), 110u);
        int zoom = 10216;
        int previous = 0; // so the first line repeats its focus
        for (const CurveLine &line : lines) {
            EXPECT_EQ(line.zoom, zoom);
            EXPECT_EQ(line.difference, std::abs(line.focus - previous));
            expectInFocus(line.zoom, line.focus);
            previous = line.focus;
            zoom += zoom < 16744 ? 128 : 64; // shorter from the zoom photo-interrupter on
        }
        EXPECT_EQ(countSaid("OVER"), 1);
    });
}

TEST(CurveDrawing, quarter_points_are_written_relative_to_the_limits) {
    run([] {
        draw(2);
        const std::vector<CurveLine> lines = readCurve("/mnt/flash/data/ZFCurve2.txt");
        ASSERT_EQ(lines.size(), 61u);
        int previous = int(FM_Lock_Start) - 10000;
        for (int point = 0; point < 61; ++point) {
            const CurveLine &line = lines[size_t(point)];
            EXPECT_EQ(line.zoom + 10216, gridZoom(point / 4, point % 4));
            EXPECT_EQ(line.difference, std::abs(line.focus - previous));
            expectInFocus(line.zoom + 10216, line.focus + 10000);
            previous = line.focus;
        }
        EXPECT_EQ(vcam::truePosition(vcam::Axis::Focus), lines.back().focus + 10000);
        expectSound();
    });
}

TEST(CurveDrawing, missing_peak_or_file_ends_it) {
    const struct {
        unsigned which;
        const char *file;
    } rows[] = {{1, "/mnt/flash/data/ZFCurve.txt"}, {2, "/mnt/flash/data/ZFCurve2.txt"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.file);
        run([&] {
            vcam::setObjectDistanceM(kTooNearM);
            startWithManualThread();
            vcam::failCalls("open", row.file, 1, EACCES);
            const int64_t startUs = vcam::nowUs();
            manualCtrlFun(8, 0, row.which);
            passMs(100);
            EXPECT_EQ(countSaid(std::string("fopen ") + row.file + " error.", startUs), 1);
            EXPECT_TRUE(motorLog(startUs).empty());

            const size_t saved = host().savedPositions.size();
            manualCtrlFun(8, 0, row.which);
            waitUntil([&] { return host().savedPositions.size() == saved + 3; }, kRunLimitS, "end");
            EXPECT_EQ(countSaid("No peak at ZP: 10216.", startUs), 1);
            EXPECT_EQ(countSaid("OVER", startUs), 1);
            EXPECT_TRUE(readCurve(row.file).empty());
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, 12234u));
            expectSound();
        });
    }
}
