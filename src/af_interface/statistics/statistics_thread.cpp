// The statistics thread: one focus record a frame from the ISP's zone metrics, then the refocus
// trigger. It runs for the life of the process, or until the ISP fails.
#include "af_interface/statistics/focus_filters.h"
#include "af_interface/statistics/frame_noise.h"
#include "af_interface/statistics/statistics.h"
#include "af_interface/statistics/zone_reduction.h"
#include "autofocus/host/settings.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/spi.h"
#include "autofocus_control.h"
#include "platform/faults.h"
#include "platform/isp.h"
#include "platform/library_thread.h"
#include "platform/shared_word.h"

#include <pthread.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

static const ISP_DEV kIspDevice = 0;
static const HI_U32 kFrameWaitMs = 1000;
static const useconds_t kRetryUs = 1000;
static const int kPromptRetries = 100;
static const char kPrintGridSwitch[] = "/mnt/flash/printfY"; // its existence prints the luminance
static const unsigned int kFramesPerGrid = 9;

// The platform's records are large and this thread is the only one of its kind.
static ISP_STATISTICS_CFG_S stIspStaticsCfg;
static ISP_STATISTICS_S stIspStatics;

// With recovery a call that has failed is made again, at most once a second. The first time that is
// at once: one frame is lost.
static bool mayRetry() {
    static time_t lastS = -1;
    if (settingOf(AF_SETTING_RECOVERY) == 0)
        return false;
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (now.tv_sec == lastS) {
        sleep(1);
        now.tv_sec += 1;
    }
    lastS = now.tv_sec;
    return true;
}

static bool configureIsp() {
    ISP_FOCUS_STATISTICS_CFG_S stFocusCfg = makeFocusConfiguration();
    ISP_PUB_ATTR_S stPubattr = {};
    HI_S32 s32Ret = HI_MPI_ISP_GetStatisticsConfig(kIspDevice, &stIspStaticsCfg);
    s32Ret |= HI_MPI_ISP_GetPubAttr(kIspDevice, &stPubattr);
    stFocusCfg.stConfig.u16Hsize = static_cast<HI_U16>(stPubattr.stWndRect.u32Width & 0xFFFF);
    stFocusCfg.stConfig.u16Vsize = static_cast<HI_U16>(stPubattr.stWndRect.u32Height & 0xFFFF);
    noteCall(kFaultIsp, s32Ret == 0);
    if (s32Ret != 0) {
        printf("HI_MPI_ISP_GetStatisticsConfig error!(s32Ret = 0x%x)\n",
               static_cast<unsigned int>(s32Ret));
        return false;
    }
    stIspStaticsCfg.stFocusCfg = stFocusCfg;
    s32Ret = HI_MPI_ISP_SetStatisticsConfig(kIspDevice, &stIspStaticsCfg);
    noteCall(kFaultIsp, s32Ret == 0);
    if (s32Ret != 0) {
        printf("HI_MPI_ISP_SetStatisticsConfig error!(s32Ret = 0x%x)\n",
               static_cast<unsigned int>(s32Ret));
        return false;
    }
    return true;
}

static void printLuminance(const ISP_FOCUS_STATISTICS_S &zones) {
    puts("================");
    for (int i = 0; i < kZoneRows; ++i) {
        for (int j = 0; j < kZoneColumns; ++j)
            printf("%d ", zones.stZoneMetrics[i][j].u16y);
        putchar('\n');
    }
}

// At night every tenth frame, while the switch file exists; by day only the frames are counted.
static void serveDiagnosticGrid(unsigned int *frames) {
    if (access(kPrintGridSwitch, F_OK) != 0)
        return;
    *frames += 1;
    if (loadWord(&g_ICUTState) != kIcutNight || *frames <= kFramesPerGrid)
        return;
    printLuminance(stIspStatics.stFocusStat);
    *frames = 0;
}

// A timeout or an error is simply retried; but an ISP that goes on failing, at once as likely as
// not, must not take the processor with it.
static void waitForFrame() {
    ISP_VD_INFO_S stVdInfo;
    int failures = 0;
    while (HI_MPI_ISP_GetVDTimeOut(kIspDevice, &stVdInfo, kFrameWaitMs) != 0) {
        failures += failures < kPromptRetries ? 1 : 0;
        noteCall(kFaultIsp, false);
        if (!mayRetry() && failures == kPromptRetries)
            usleep(kRetryUs);
    }
}

static bool configureIspAtLast() {
    while (!configureIsp()) {
        if (!mayRetry())
            return false;
    }
    return true;
}

void *afvManageThread(void *) {
    pthread_detach(pthread_self());
    enterLibraryThread();
    if (!configureIspAtLast())
        return nullptr;
    sleep(1);
    unsigned int gridFrames = 0;
    AF_Statistics_Info record = {};
    ISP_EXP_INFO_S stExpInfo = {};
    for (;;) {
        waitForFrame();
        const HI_S32 s32Ret = HI_MPI_ISP_GetStatistics(kIspDevice, &stIspStatics);
        noteCall(kFaultIsp, s32Ret == 0);
        if (s32Ret != 0) {
            printf("HI_MPI_ISP_GetStatistics error!(s32Ret = 0x%x)\n",
                   static_cast<unsigned int>(s32Ret));
            if (mayRetry())
                continue;
            SPI_Release();
            return nullptr;
        }
        serveDiagnosticGrid(&gridFrames);
        reduceZones(stIspStatics.stFocusStat, &record);
        HI_S32 result = HI_MPI_ISP_QueryExposureInfo(kIspDevice, &stExpInfo);
        result |= HI_MPI_ISP_SetStatisticsConfig(kIspDevice, &stIspStaticsCfg);
        noteCall(kFaultIsp, result == 0);
        record.AGain = stExpInfo.u32AGain;
        record.DGain = stExpInfo.u32DGain;
        record.ISPGain = stExpInfo.u32ISPDGain;
        publishStatistics(record);
        watchNoise(record);
        lensAutoFocusCheck(record.vwV1SumHalf, record.vwV1SumAll);
    }
}
