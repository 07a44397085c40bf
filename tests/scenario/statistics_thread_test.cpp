// From the ISP's frames to the records that focusing reads, with an ISP that fails or falls silent.
#include "scenario.h"

#include "boundary/library_imports.h"
#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/isp.h"
#include "devices/lens.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <unistd.h>

using namespace scenario;
using vcam::IspCall;

static const int64_t kFrameUs = 40000;

static const char kLibrary[] = "libautofocus.so";
static int linkAtClose = 0, failedWaits = 0;

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
        const std::vector<Event> configured = events("isp", "config");
        ASSERT_EQ(configured.size(), 1u);
        EXPECT_EQ(configured[0].keys, "enable=1 grid=8x8 window=1280x720");
        int64_t expectedUs = (configured[0].timeUs + 1000000) / kFrameUs * kFrameUs;
        for (const Event &frame : events("isp", "frame"))
            EXPECT_EQ(frame.timeUs, expectedUs += kFrameUs);
        const int64_t startUs = vcam::nowUs();
        EXPECT_EQ(expectedUs, startUs - kFrameUs / 2);
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
        vcam::replaceImport(kLibrary, "HI_MPI_ISP_GetVDTimeOut",
                            reinterpret_cast<void *>(failAtOnce));
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
        EXPECT_EQ(record.AGain, 1024u);
        const int64_t failedUs = vcam::nowUs() + kFrameUs;
        vcam::failIspCall(IspCall::GetStatistics, 0x2A, 1);
        vcam::replaceImport(kLibrary, "close", reinterpret_cast<void *>(closeLink));
        passMs(100);
        EXPECT_EQ(consoleLines(failedUs),
                  (std::vector<std::string>{"HI_MPI_ISP_GetStatistics error!(s32Ret = 0x2a)",
                                            "__SPI_Release ok."}));
        EXPECT_EQ(loadWord(&g_SPIFd), -1);
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
        const int64_t startUs = vcam::nowUs();
        passMs(12 * 40); // by day frames are counted and nothing is printed
        const int64_t nightUs = vcam::nowUs();
        storeWord(&g_ICUTState, 1);
        passMs(11 * 40);
        remove(file.c_str());
        passMs(800);
        const std::vector<int64_t> expectedUs = {nightUs + kFrameUs / 2,
                                                 nightUs + 10 * kFrameUs + kFrameUs / 2};
        EXPECT_EQ(whenSaid("================"), expectedUs);
        const std::vector<std::string> lines = consoleLines(startUs);
        ASSERT_EQ(lines.size(), 18u); // two grids of a rule and eight rows
        EXPECT_EQ(lines[1].rfind("64000 ", 0), 0u);
        EXPECT_EQ(std::count(lines[8].begin(), lines[8].end(), ' '), 8) << lines[8];
    });
}
