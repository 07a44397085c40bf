#include "af_lens/focus/calibration.h"

#include "af_lens/focus/peak_search.h"
#include "af_lens/model/focus_lines.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/counted_move.h"
#include "af_lens/motion/home_search.h"
#include "af_lens/motion/steps.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "autofocus/types.h"
#include "platform/trace.h"

#include <string.h>
#include <unistd.h>

// Sections 0 to 6 get one measurement each and their quarters follow; sections 7 to 14 are measured
// at all four quarter points, the tele end once.
static const useconds_t kStartUs = 500000;
static const useconds_t kNextPointUs = 100000;
static const useconds_t kPointSettledUs = 200000;
static const int kFallLimit = 2;

static bool isMeasured; // by the last run

static CalibrationRun makeMeasuringRun() {
    CalibrationRun run = {};
    run.name = "Lens_Generate_FocusLine2";
    run.startMaximum = g_AFVDLimit;
    run.startMinimum = g_AFVULimit;
    run.coarseStep = Step_Level_Min;
    run.fallLimit = kFallLimit;
    run.coarseEndFormat = "To %s.\n";
    run.sampleTrace = kTraceDirection;
    run.settleUs = kPointSettledUs;
    run.fType = MS_F_NEAR;
    return run;
}

static void forgetStoredPosition() {
    if (access(fMPosition, F_OK) == 0)
        unlink(fMPosition);
}

// Store the point just measured and tell how far the zoom goes to the next one; 0 at the tele end.
static int storePoint(int index1, int index2, unsigned int tagPosition) {
    if (index1 == kTeleTag) {
        g_FLineInfo.tagPosition[kTeleTag][0] = tagPosition;
        return 0;
    }
    const bool quartered = index1 >= kFirstFullRow;
    g_FLineInfo.tagPosition[index1][quartered ? index2 : 0] = tagPosition;
    return static_cast<int>(quartered ? quarterLength(index1) : sectionLength(index1));
}

// Measure point after point toward tele; false when one yields no peak.
static bool measurePoints() {
    CalibrationRun run = makeMeasuringRun();
    unsigned int previous = FM_Lock_Start;
    int index1 = 0;
    int index2 = 0;
    for (;;) {
        run.tagNumber = index1; // of the last look-up
        if (!findCalibrationPeak(&run))
            return false;
        if (Lens_Get_ZoomIndex(&index1, &index2, zoomPosition()) != 0)
            return false;
        TRACE_FORMAT_OF(run.name, "index1: %d index2: %d\n\n", index1, index2);
        const int zoomSteps = storePoint(index1, index2, run.tagPosition);
        if (zoomSteps == 0)
            return true;
        Lens_Move_NSteps(MS_Z_TELE, zoomSteps, reverseFocus(run.fType),
                         stepsBetween(focusPosition(), run.tagPosition));
        TRACE_FORMAT_OF(run.name, "ZM_Local: %d FM_Local: %d\n", static_cast<int>(zoomPosition()),
                        static_cast<int>(focusPosition()));
        Lens_Map_ZPosition(zoomPosition());
        run.fType = run.tagPosition > previous ? MS_F_FAR : MS_F_NEAR;
        previous = run.tagPosition;
        usleep(kNextPointUs);
    }
}

static void printCurve() {
    for (int i = 0; i < kFirstFullRow; ++i)
        printf("%d\n", static_cast<int>(g_FLineInfo.tagPosition[i][0]));
    for (int i = kFirstFullRow; i < kTagPoints; ++i)
        for (int j = 0; j < kQuarters; ++j)
            printf("%d\n", static_cast<int>(g_FLineInfo.tagPosition[i][j]));
}

// The tables still belong to the former curve, so putting it back is enough.
static void abandonMeasurement(const FLine_Tagposition_ST &former) {
    g_FLineInfo = former;
    if (isCancelled())
        return; // and the lens stands
    TRACE_FORMAT_OF("Lens_Generate_FocusLine2", "No peak at ZP: %d, the former curve stays.\n",
                    static_cast<int>(zoomPosition()));
    parkAtWide();
}

void Lens_Generate_FocusLine2(void) {
    isMeasured = false;
    TRACE_TEXT("Check PI.");
    if (!checkPiTwice())
        return;
    TRACE_TEXT("To Destination.");
    Lens_To_Destination(ZM_Wide_Limit, FM_Lock_Start);
    TRACE_FORMAT("Ready to Test ZP: %d FP: %d.\n", static_cast<int>(zoomPosition()),
                 static_cast<int>(focusPosition()));
    forgetStoredPosition();
    const FLine_Tagposition_ST former = g_FLineInfo;
    memset(&g_FLineInfo, 0, sizeof g_FLineInfo);
    usleep(kStartUs);
    if (!measurePoints() || isCancelled()) {
        abandonMeasurement(former);
        return;
    }
    printCurve();
    fillQuarters(&g_FLineInfo, kMayRise);
    Lens_Init_2MFocusLine();
    Lens_Init_Interpolation();
    Lens_Set_FocusStep();
    Lens_Save_FLPosition();
    isMeasured = true;
    TRACE_FORMAT("ZM_Local: %d FM_Local: %d\n", static_cast<int>(zoomPosition()),
                 static_cast<int>(focusPosition()));
    parkAtWide();
}

bool obeyCalibration(unsigned int seen) {
    Lens_Generate_FocusLine2();
    leaveFollowUpOfCommand(seen, CMD_NONE);
    if (isMeasured && !hasOrderFailed())
        forgetCancelling(); // the line is handed over
    return isMeasured;
}

void lensFocusLine(void) {
    obeyCalibration(Lens_Get_Command());
}
