// The service runs that measure where this unit is in focus: the curve for the library itself, and
// the two files for people.
#include "scenario.h"

#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <unistd.h>

using namespace scenario;

static const double kTooNearM = 0.01; // best focus lies far beyond the near limit at every zoom
static const double kRunLimitS = 1000;

static void expectInFocus(int zoom, int focus) {
    const double off = focus - vcam::inFocusPositionAt(zoom, 0);
    EXPECT_LE(std::fabs(off), vcam::halfDepthStepsAt(zoom)) << "zoom " << zoom;
}

static int gridZoom(int tag, int quarter) {
    const int zoom = int(ZM_Step_Run[tag]);
    return quarter == 0 ? zoom : zoom + quarter * (int(ZM_Step_Run[tag + 1]) - zoom) / 4;
}

static void waitForRunToEnd() {
    passMs(100);
    waitUntil([] { return Lens_Get_Command() == CMD_NONE; }, kRunLimitS, "the run is over");
}

TEST(Calibration, every_grid_point_is_in_focus_and_the_host_gets_the_curve) {
    for (unsigned kind = 0; kind < 8; ++kind) {
        vcam::CameraOptions options;
        options.seed = 1 + kind % 4;
        options.gaussianBlur = kind >= 4;
        run(options, [] {
            startParked();
            lensSetCfgPath(const_cast<char *>("/mnt/flash/data/"));
            std::ofstream(vcam::scratchFolder() + fMPosition) << "stale";
            EXPECT_EQ(AF_Manager_LockFocus_API(), 0);
            passMs(20000);
            command(CMD_MFMODE); // nothing stops the run, and its end leaves this
            waitUntil([] { return host().savedFocusLines == 1; }, kRunLimitS, "the run is over");
            passMs(20000);
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
            expectSound(); // and takes over what the other thread has stored
            const FOCUS_POINT line = host().focusLine;
            for (int tag = 0; tag < 16; ++tag)
                for (int quarter = 0; quarter < (tag < 7 || tag == 15 ? 1 : 4); ++quarter)
                    expectInFocus(gridZoom(tag, quarter), int(line.focus[tag][quarter]));
            EXPECT_EQ(memcmp(&g_FLineInfo, &line, sizeof line), 0);
            EXPECT_EQ(FM_Step_Run[0][0], line.focus[0][0] - line.focus[0][1]);
            const unsigned wide = line.focus[0][0];
            EXPECT_EQ(host().savedPositions.back(), Place(10216, wide));
            EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition), 0);
            const unsigned short shown = loadWord(&loadWord(&g_ShaPosInfo)->shRFPosition);
            EXPECT_EQ(shown, Lens_Map_FPosition(wide));
            char osd[AF_OSD_TEXT_SIZE] = "";
            AF_Manager_Get_OSDData_API(osd);
            EXPECT_STREQ(osd, "X01");
            EXPECT_NE(access(fMPosition, F_OK), 0);
        });
    }
}

TEST(Calibration, without_a_peak_or_without_home_the_former_curve_stays) {
    run([] {
        startParked();
        const FLine_Tagposition_ST former = g_FLineInfo;
        vcam::setObjectDistanceM(kTooNearM);
        command(CMD_FLINE);
        waitForRunToEnd();
        // Below the limit of 4000 a pass counts nothing: each runs to an end of the travel.
        EXPECT_EQ(countSaid("To Near Limit.") + countSaid("To Far Limit."), 12);
        EXPECT_EQ(countSaid("No peak at ZP: 10216, the former curve stays."), 1);
        EXPECT_EQ(memcmp(&g_FLineInfo, &former, sizeof former), 0);
        EXPECT_EQ(host().savedPositions.back(), Place(10216, 12234));
        expectSound();
        vcam::stickPhotoInterrupter(vcam::Axis::Zoom, 0);
        command(CMD_FLINE);
        waitForRunToEnd();
        EXPECT_EQ(countSaid("Failure."), 2);
        EXPECT_EQ(memcmp(&g_FLineInfo, &former, sizeof former), 0);
        EXPECT_EQ(host().savedFocusLines, 0);
    });
}

/// Of each line zoom, focus and how far that is from the line before.
static std::vector<std::array<int, 3>> readCurve(const std::string &path) {
    std::vector<std::array<int, 3>> lines;
    std::ifstream file(vcam::scratchFolder() + path);
    std::array<int, 3> line;
    for (char comma; file >> line[0] >> comma >> line[1] >> comma >> line[2];)
        lines.push_back(line);
    return lines;
}

/// Have the manual stepping thread draw; it stores the position so many times by then.
static void draw(unsigned which, size_t stores) {
    const size_t saved = host().savedPositions.size();
    manualCtrlFun(8, 0, which);
    waitUntil([&] { return host().savedPositions.size() == saved + stores; }, kRunLimitS, "drawn");
}

TEST(CurveDrawing, each_point_is_written_with_the_focus_found_there_until_one_has_no_peak) {
    for (unsigned which : {1u, 2u}) { // equal zoom steps; quarter points, relative to the limits
        SCOPED_TRACE(which);
        run([&] {
            const std::string file =
                which == 1 ? "/mnt/flash/data/ZFCurve.txt" : "/mnt/flash/data/ZFCurve2.txt";
            startParked();
            startManualThread();
            draw(which, 2);
            const auto lines = readCurve(file);
            ASSERT_EQ(lines.size(), which == 1 ? 110u : 61u);
            int previous = which == 1 ? 0 : int(FM_Lock_Start) - 10000;
            for (int point = 0; point < int(lines.size()); ++point) {
                const auto [zoomThere, focus, difference] = lines[size_t(point)];
                const int half = std::max(0, point - 51); // from the zoom photo-interrupter on
                const int equalSteps = 10216 + 128 * point - 64 * half;
                const int zoom = zoomThere + (which == 1 ? 0 : 10216);
                EXPECT_EQ(zoom, which == 1 ? equalSteps : gridZoom(point / 4, point % 4));
                EXPECT_EQ(difference, std::abs(focus - previous));
                expectInFocus(zoom, focus + (which == 1 ? 0 : 10000));
                previous = focus;
            }

            vcam::setObjectDistanceM(kTooNearM);
            draw(which, 3);
            EXPECT_EQ(countSaid("No peak at ZP: 10216."), 1);
            EXPECT_TRUE(readCurve(file).empty());
            expectSound();
        });
    }
}
