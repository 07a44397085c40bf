// From the ISP's frames to the records that focusing reads, with an ISP that fails or falls silent.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/isp.h"
#include "devices/lens.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

using namespace scenario;
using vcam::IspCall;

static const int64_t kFrameUs = 40000;

static bool hasEnded(const char *thread) {
    for (const Event &event : events("clock", "end"))
        if (event.get("thread") == thread)
            return true;
    return false;
}

/// Microseconds that a wait for the next record takes.
static int64_t waitForRecord(AF_Statistics_Info *record) {
    const int64_t startUs = vcam::nowUs();
    afStatisticsFresh(record);
    return vcam::nowUs() - startUs;
}

static AF_Statistics_Info lastRecord() {
    pthread_mutex_lock(&afv_lock);
    const AF_Statistics_Info record = g_AFStatistics;
    pthread_mutex_unlock(&afv_lock);
    return record;
}

static bool isZero(const AF_Statistics_Info &record) {
    const AF_Statistics_Info zero = {};
    return memcmp(&record, &zero, sizeof record) == 0;
}

/// Past the second that the statistics thread sleeps first; 20 ms after a frame.
static void startWithFrames() {
    startParked();
    waitUntil([] { return lastRecord().AGain != 0; }, 10, "the first record is there");
    passMs(59);
    ASSERT_EQ(vcam::nowUs() % kFrameUs, kFrameUs / 2);
}

static void makeFile(const char *path) {
    FILE *file = fopen(path, "w");
    ASSERT_NE(file, nullptr);
    fclose(file);
}

TEST(StatisticsThread,
     configured_at_start_for_the_isps_window_then_a_record_a_frame_after_a_second) {
    run([] {
        vcam::setWindow(1280, 720);
        startParked();
        passMs(2000);
        const std::vector<Event> configured = events("isp", "config");
        ASSERT_EQ(configured.size(), 1u);
        EXPECT_EQ(configured[0].text, "enable=1 grid=8x8 window=1280x720");
        int64_t expectedUs = (configured[0].timeUs + 1000000) / kFrameUs * kFrameUs;
        for (const Event &frame : events("isp", "frame"))
            EXPECT_EQ(frame.timeUs, expectedUs += kFrameUs);
        EXPECT_EQ(expectedUs, vcam::nowUs() / kFrameUs * kFrameUs); // up to the present
        expectSound();
    });
}

TEST(StatisticsThread, configuration_is_sent_again_each_frame_and_its_failure_ignored) {
    run([] {
        startWithFrames();
        const int64_t startUs = vcam::nowUs();
        vcam::failIspCall(IspCall::SetStatisticsConfig, -7, -1);
        vcam::failIspCall(IspCall::QueryExposureInfo, -7, -1);
        passMs(400);
        EXPECT_EQ(events("isp", "frame", startUs).size(), 10u);
        const std::vector<Event> faults = events("isp", "fault", startUs);
        ASSERT_EQ(faults.size(), 20u); // one call of each a frame
        for (size_t i = 0; i < faults.size(); ++i)
            EXPECT_EQ(faults[i].timeUs, startUs + kFrameUs / 2 + kFrameUs * int64_t(i / 2));
        EXPECT_TRUE(consoleLines(startUs).empty());
        EXPECT_EQ(lastRecord().AGain, 1024u); // as last told
    });
}

TEST(StatisticsThread, failing_configuration_ends_the_thread_and_no_record_ever_comes) {
    const struct {
        int getConfig, getWindow, set;
        const char *message;
    } rows[] = {
        {0x10, 0, 0, "HI_MPI_ISP_GetStatisticsConfig error!(s32Ret = 0x10)"},
        {0, 0x04, 0, "HI_MPI_ISP_GetStatisticsConfig error!(s32Ret = 0x4)"},
        {0x10, 0x04, 0, "HI_MPI_ISP_GetStatisticsConfig error!(s32Ret = 0x14)"}, // both are asked
        {0, 0, -2, "HI_MPI_ISP_SetStatisticsConfig error!(s32Ret = 0xfffffffe)"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.message);
        run([&] {
            vcam::failIspCall(IspCall::GetStatisticsConfig, row.getConfig, row.getConfig ? 1 : 0);
            vcam::failIspCall(IspCall::GetPubAttr, row.getWindow, row.getWindow ? 1 : 0);
            vcam::failIspCall(IspCall::SetStatisticsConfig, row.set, row.set ? 1 : 0);
            startParked();
            passMs(3000);
            EXPECT_EQ(count(consoleLines(), row.message), 1);
            EXPECT_TRUE(hasEnded("afvManageThread"));
            EXPECT_TRUE(events("isp", "frame").empty());
            AF_Statistics_Info record;
            memset(&record, 0xFF, sizeof record);
            EXPECT_EQ(waitForRecord(&record), 1000000);
            EXPECT_TRUE(isZero(record));
        });
    }
}

TEST(StatisticsThread, failing_read_releases_the_motor_link_and_ends_the_thread) {
    run([] {
        startWithFrames();
        const AF_Statistics_Info last = lastRecord();
        const int64_t failedUs = vcam::nowUs() + kFrameUs / 2;
        vcam::placeAt(vcam::Axis::Focus, 12000); // would show in any later record
        vcam::failIspCall(IspCall::GetStatistics, 0x2A, 1);
        passMs(1000);
        const std::vector<std::string> said = {"HI_MPI_ISP_GetStatistics error!(s32Ret = 0x2a)",
                                               "__SPI_Release ok."};
        EXPECT_EQ(consoleLines(failedUs), said);
        EXPECT_EQ(events("console", "line", failedUs).front().timeUs, failedUs);
        EXPECT_TRUE(hasEnded("afvManageThread"));
        EXPECT_EQ(loadWord(&g_SPIFd), -1);
        Spi_Write(0x20, 0);
        EXPECT_TRUE(events("spi", "frame", failedUs).empty());
        AF_Statistics_Info record;
        EXPECT_EQ(waitForRecord(&record), 1000000);
        EXPECT_EQ(memcmp(&record, &last, sizeof last), 0);
    });
}

TEST(StatisticsThread, failing_or_late_frames_are_waited_for_without_a_word) {
    run([] {
        startWithFrames();
        const int64_t startUs = vcam::nowUs();
        vcam::failIspCall(IspCall::GetVdTimeOut, -1, 3); // the wait in progress fails no more
        passMs(380);
        vcam::stallFramesUntilUs(startUs + 2900000); // two time-outs long
        passMs(3000);
        std::vector<int64_t> framesUs;
        for (const Event &frame : events("isp", "frame", startUs))
            if (framesUs.size() < 8)
                framesUs.push_back(frame.timeUs - startUs);
        EXPECT_EQ(framesUs, (std::vector<int64_t>{20000, 180000, 220000, 260000, 300000, 340000,
                                                  380000, 2940000}));
        EXPECT_TRUE(consoleLines(startUs).empty());
        EXPECT_FALSE(hasEnded("afvManageThread"));
    });
}

TEST(StatisticsThread, reader_gets_the_next_record_never_the_one_that_is_there) {
    run([] {
        AF_Statistics_Info record;
        memset(&record, 0xFF, sizeof record);
        EXPECT_EQ(waitForRecord(&record), 1000000); // nothing has started
        EXPECT_TRUE(isZero(record));

        startWithFrames();
        const AF_Statistics_Info before = lastRecord();
        vcam::placeAt(vcam::Axis::Focus, 12000);
        EXPECT_EQ(waitForRecord(&record), kFrameUs / 2);
        EXPECT_LT(record.vwV1SumHalf, before.vwV1SumHalf / 2);
        for (int i = 0; i < 3; ++i) // each call comes right after a publication
            EXPECT_EQ(waitForRecord(&record), kFrameUs);

        vcam::stallFramesUntilUs(vcam::nowUs() + 10000000);
        passMs(41); // the statistics thread's wait in progress still ends
        vcam::placeAt(vcam::Axis::Focus, 12234);
        AF_Statistics_Info stale;
        EXPECT_EQ(waitForRecord(&stale), 1000000);
        EXPECT_EQ(memcmp(&stale, &record, sizeof stale), 0);
    });
}

TEST(StatisticsThread, luminance_grid_is_printed_on_every_tenth_night_frame_while_its_file_exists) {
    run([] {
        startWithFrames();
        vcam::setNight(true);
        vcam::saturateZones(1);
        passMs(800);
        EXPECT_EQ(lastRecord().AGain, 16u * 1024u);
        EXPECT_EQ(lastRecord().DGain, 1024u);
        const int64_t startUs = vcam::nowUs();
        makeFile("/mnt/flash/printfY");
        passMs(12 * 40); // by day frames are counted and nothing is printed
        EXPECT_TRUE(consoleLines(startUs).empty());
        const int64_t nightUs = vcam::nowUs();
        storeWord(&g_ICUTState, 1);
        passMs(11 * 40);
        const std::vector<int64_t> expectedUs = {nightUs + kFrameUs / 2,
                                                 nightUs + 10 * kFrameUs + kFrameUs / 2};
        EXPECT_EQ(whenSaid("================"), expectedUs);
        const std::vector<std::string> lines = consoleLines(startUs);
        ASSERT_EQ(lines.size(), 18u); // two grids of a rule and eight rows
        for (size_t i = 1; i < 9; ++i) {
            EXPECT_EQ(std::count(lines[i].begin(), lines[i].end(), ' '), 8) << lines[i];
            EXPECT_EQ(lines[i].rfind("64000 ", 0) == 0, i == 1) << lines[i];
        }
        EXPECT_EQ(remove("/mnt/flash/printfY"), 0);
        passMs(800);
        EXPECT_EQ(consoleLines(startUs).size(), 18u);
    });
}
