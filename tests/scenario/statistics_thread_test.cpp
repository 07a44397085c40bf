// From the ISP's frames to the records that focusing reads, with an ISP that fails or falls silent.
#include "scenario.h"

#include "boundary/library_imports.h"
#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "isp/isp.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <unistd.h>

using namespace scenario;
using vcam::IspCall;

static const int64_t kFrameUs = 40000;

static std::atomic<int> linkAtClose{0}, failedWaits{0}; // counted on the library's thread

static void replace(const char *import, void *function) {
    vcam::replaceImport("libautofocus.so", import, function);
}

static int failAtOnce(int, void *, unsigned) {
    ++failedWaits;
    return -1;
}

static int closeLink(int descriptor) {
    linkAtClose = loadWord(&g_SPIFd);
    return close(descriptor);
}

/// Microseconds that a wait for the next record takes.
static int64_t waitForRecord(AF_Statistics_Info *record) {
    const int64_t startUs = vcam::nowUs();
    afStatisticsFresh(record);
    return vcam::nowUs() - startUs;
}

/// Past the second that the statistics thread sleeps first; 20 ms after a frame.
static void startWithFrames() {
    startParked();
    passMs(2000);
    vcam::sleepUntilUs((vcam::nowUs() / kFrameUs + 1) * kFrameUs + kFrameUs / 2);
}

TEST(StatisticsThread, every_frame_gives_a_record_and_late_or_failing_ones_pass_without_a_word) {
    run([] {
        vcam::setWindow(1280, 720);
        startWithFrames();
        EXPECT_EQ(events("isp", "config").at(0).keys, "enable=1 grid=8x8 window=1280x720");
        const int64_t startUs = vcam::nowUs();
        vcam::failIspCall(IspCall::SetStatisticsConfig, -7, -1);
        vcam::failIspCall(IspCall::QueryExposureInfo, -7, -1);
        vcam::failIspCall(IspCall::GetVdTimeOut, -1, 3); // the wait in progress fails no more
        passMs(380);
        vcam::stallFramesUntilUs(startUs + 2900000); // two time-outs long
        passMs(2600);
        std::vector<int64_t> framesUs;
        for (const Event &frame : events("isp", "frame", startUs))
            framesUs.push_back(frame.timeUs - startUs);
        EXPECT_EQ(framesUs, (std::vector<int64_t>{20000, 180000, 220000, 260000, 300000, 340000,
                                                  380000, 2940000}));
        EXPECT_EQ(events("isp", "fault", startUs).size(), 3 + 2 * framesUs.size()); // each a frame
        EXPECT_TRUE(consoleLines(startUs).empty());
        vcam::sleepUntilUs(startUs + 3000000); // the wait in progress ends 20 ms later
        replace("HI_MPI_ISP_GetVDTimeOut", reinterpret_cast<void *>(failAtOnce));
        vcam::sleepUntilUs(startUs + 3420500);
        EXPECT_EQ(failedWaits, 99 + 401); // the first ones at once, then one a millisecond
    });
}

TEST(StatisticsThread,
     reader_gets_the_next_record_and_the_last_one_once_a_failing_read_has_ended_it) {
    run([] {
        startWithFrames();
        AF_Statistics_Info before, record, stale;
        EXPECT_EQ(waitForRecord(&before), kFrameUs / 2);
        vcam::placeAt(vcam::Axis::Focus, 12000);
        for (int i = 0; i < 3; ++i) // each call comes right after a publication
            EXPECT_EQ(waitForRecord(&record), kFrameUs);
        EXPECT_LT(record.vwV1SumHalf, before.vwV1SumHalf / 2);
        vcam::failIspCall(IspCall::GetStatistics, 0x2A, 1);
        replace("close", reinterpret_cast<void *>(closeLink));
        passMs(100);
        EXPECT_EQ(countSaid("HI_MPI_ISP_GetStatistics error!(s32Ret = 0x2a)"), 1);
        EXPECT_EQ(linkAtClose, -1); // by then no other thread can find it
        EXPECT_EQ(waitForRecord(&stale), 1000000);
        EXPECT_EQ(memcmp(&stale, &record, sizeof stale), 0);
    });
}

TEST(StatisticsThread, luminance_grid_is_printed_on_every_tenth_night_frame_while_its_file_exists) {
    run([] {
        startWithFrames();
        vcam::setNight(true);
        vcam::saturateZones(1);
        const std::string file = vcam::scratchFolder() + "/mnt/flash/printfY";
        std::ofstream(file).flush();
        passMs(12 * 40); // by day frames are counted and nothing is printed
        const int64_t nightUs = vcam::nowUs() + kFrameUs / 2;
        storeWord(&g_ICUTState, 1);
        passMs(11 * 40);
        remove(file.c_str());
        passMs(800);
        const std::vector<int64_t> expectedUs = {nightUs, nightUs + 10 * kFrameUs};
        EXPECT_EQ(whenSaid("================"), expectedUs);
        const std::vector<std::string> lines = consoleLines(nightUs);
        EXPECT_EQ(lines.size(), 18u); // two grids of a rule and eight rows
        EXPECT_EQ(lines.at(1).rfind("64000 ", 0), 0u);
    });
}
