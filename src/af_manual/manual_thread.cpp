// A service and test facility that drives the lens step by step, past the command mailbox. The host
// starts the thread and posts requests; the library does neither. A request waits while a lens
// command runs, and a lens command waits while a request does.
#include "af_interface/statistics/statistics.h"
#include "af_lens/focus/calibration.h"
#include "af_lens/model/focus_lines.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/autofocus_run.h"
#include "autofocus/lens_control.h"
#include "autofocus/manual_stepping.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "autofocus/types.h"
#include "platform/library_thread.h"
#include "platform/shared_word.h"
#include "platform/timed_wait.h"
#include "platform/trace.h"

#include <pthread.h>
#include <string.h>
#include <unistd.h>

int g_ManualTest, g_ManualFlag, g_ManualStep, g_ManualVdfz;
pthread_mutex_t man_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t man_ready = PTHREAD_COND_INITIALIZER;

static const useconds_t kClaimPollUs = 50000;

enum ManualAction {
    kZoomWide = 1,
    kZoomTele = 2,
    kFocusNear = 3,
    kFocusFar = 4,
    kReset = 6,
    kMeasureCurve = 7,
    kDrawCurve = 8,
    kCurveService = 9,
    kCheckPi = 10,
};

// Second parameters of kDrawCurve and kCurveService.
enum { kDrawEqualSteps = 1, kDrawQuarterPoints = 2, kToggleLine = 250, kAdvise = 252 };

namespace {
struct ManualRequest {
    int flag;
    int step;
    int vdfz;
};
} // namespace

// ---- The request mailbox ----

void manualCtrlFun(unsigned int flag, unsigned int step, unsigned int vdfz) {
    pthread_mutex_lock(&man_lock);
    g_ManualFlag = static_cast<int>(flag);
    g_ManualStep = static_cast<int>(step);
    g_ManualVdfz = static_cast<int>(vdfz);
    g_ManualTest = 1;
    pthread_cond_signal(&man_ready);
    pthread_mutex_unlock(&man_lock);
}

void manualWaitCtrlFun(void) {
    pthread_mutex_lock(&man_lock);
    waitAtMostOneSecond(&man_ready, &man_lock);
    pthread_mutex_unlock(&man_lock);
}

static bool isRequestPending() {
    pthread_mutex_lock(&man_lock);
    const bool pending = g_ManualTest != 0;
    pthread_mutex_unlock(&man_lock);
    return pending;
}

static ManualRequest takeRequest() {
    pthread_mutex_lock(&man_lock);
    const ManualRequest request = {g_ManualFlag, g_ManualStep, g_ManualVdfz};
    g_ManualTest = 0;
    pthread_mutex_unlock(&man_lock);
    return request;
}

// ---- Actions ----

// Exactly vdfz groups at the VD rate; no travel limit is checked.
static void stepZoom(MS_Action_em type, const ManualRequest &request) {
    const unsigned char zStep = static_cast<unsigned char>(request.step & 0xFF);
    MS419XX_Set_PSUM_ICNT_Register(type, zStep, LED_DISABLE);
    for (int i = 0; i < request.vdfz; ++i) {
        MS419XX_VDFZ();
        Lens_Fresh_ZFLocation(type, zStep);
    }
    brakeBothChannels();
}

// Up to vdfz + 1 groups, one a frame, never beyond the focus limits. A counter beyond a limit has
// no travel left either.
static void stepFocus(MS_Action_em type, const ManualRequest &request) {
    int xStep = 0;
    unsigned char fStep = static_cast<unsigned char>(request.step & 0xFF);
    MS419XX_Set_PSUM_ICNT_RegofFocus(type, fStep);
    AF_Statistics_Info afStatistics;
    AF_Statistics_Info afStatisticsOld;
    memset(&afStatisticsOld, 0, sizeof afStatisticsOld);
    afStatisticsFresh(&afStatistics);
    Lens_Peak_Detect(&afStatisticsOld, &afStatistics, &xStep, fStep);
    for (int i = 0;;) {
        const int range = focusRunRange(type, FM_Near_Limit, FM_Far_Limit);
        if (range <= 0)
            break;
        clipFocusStep(type, range, &fStep);
        MS419XX_VDF();
        Lens_Fresh_ZFLocation(type, fStep);
        xStep += fStep;
        if (++i > request.vdfz)
            break;
        afStatisticsFresh(&afStatistics);
        Lens_Peak_Detect(&afStatisticsOld, &afStatistics, &xStep, fStep);
    }
    brakeFocus();
}

// The line numbers of the traces below are part of their texts.
static const char kThread[] = "manualCtrlThread";

static void adviseInfinity(int line) {
    traceText(kThread, line, "Maybe should use curve of INF.");
}

static void advise2M(int line) {
    traceText(kThread, line, "Maybe should use curve of 2M.");
}

static void toggleLine() {
    g_FLineFlag = g_FLineFlag == kLineInfinity ? kLine2M : kLineInfinity;
    tracePrefix(kThread, 251);
    printf("Skip to %s.\n", g_FLineFlag != kLineInfinity ? "2M Line" : "INF Line");
}

// Diagnostic only. The advice texts name the lines the way tools know them.
static void adviseLine() {
    int index1 = 0;
    int index2 = 0;
    unsigned int nP, fP;
    Lens_Get_ZoomIndex(&index1, &index2, zoomPosition());
    Lens_Get_SearchRange(index1, index2, &nP, &fP);
    const unsigned int focus = focusPosition();
    tracePrefix(kThread, 267);
    printf("[%d,%d], FM: %d\n", static_cast<int>(nP), static_cast<int>(fP),
           static_cast<int>(focus));
    if (focus <= nP) {
        adviseInfinity(271);
        return;
    }
    if (focus >= fP) {
        advise2M(275);
        return;
    }
    nP = focus - nP;
    fP = fP - focus;
    tracePrefix(kThread, 281);
    printf("Update [%d,%d]\n", static_cast<int>(nP), static_cast<int>(fP));
    if (nP >= fP)
        advise2M(285);
    else
        adviseInfinity(288);
}

static void drawCurve(const ManualRequest &request) {
    if (request.vdfz == kDrawEqualSteps)
        Lens_Draw_CurveOfZoomAndFocus();
    else if (request.vdfz == kDrawQuarterPoints)
        Lens_Draw_CurveOfZoomAndFocus2();
}

static void serveCurve(const ManualRequest &request) {
    if (request.step == kToggleLine)
        toggleLine();
    else if (request.step == kAdvise)
        adviseLine();
}

static void performAction(const ManualRequest &request) {
    switch (request.flag) {
    case kZoomWide:
        stepZoom(MS_Z_WIDE, request);
        break;
    case kZoomTele:
        stepZoom(MS_Z_TELE, request);
        break;
    case kFocusNear:
        stepFocus(MS_F_NEAR, request);
        break;
    case kFocusFar:
        stepFocus(MS_F_FAR, request);
        break;
    case kReset:
        Lens_Reset();
        break;
    case kMeasureCurve:
        Lens_Generate_FocusLine2();
        break;
    case kDrawCurve:
        drawCurve(request);
        break;
    case kCurveService:
        serveCurve(request);
        break;
    case kCheckPi:
        Lens_Check_PIPosition();
        break;
    default: // nothing but the position below
        break;
    }
}

void *manualCtrlThread(void *) {
    pthread_detach(pthread_self());
    enterLibraryThread();
    puts("____manualCtrlThread create____");
    for (;;) {
        manualWaitCtrlFun();
        if (!isRequestPending())
            continue;
        while (!claimMotors()) // until then a newer request still replaces this one
            usleep(kClaimPollUs);
        const ManualRequest request = takeRequest();
        storeWord(&g_AutoCheckFlag, 0);
        performAction(request);
        Lens_Print_Location();
        Lens_Save_ZFLocation();
        releaseMotors();
    }
}
