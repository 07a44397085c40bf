// Continuous autofocus: a picture that stays clearly different from the last peak for 26 frames
// asks for a new run. Judged once a frame on the statistics thread; armed and disarmed by the
// lens-control thread, which keeps it disarmed while it drives the lens.
#include "af_interface/statistics/statistics.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "autofocus/focus_lines.h"
#include "autofocus/types.h"
#include "platform/shared_word.h"

int g_AutoCheckEnable = 1;
int g_AutoCheckFlag = 0;
int g_AFVClearMax = 0;
float g_AFRatio = 0.2f;

static const int kFramesToFire = 25; // exceeded by the 26th frame in a row

static int checkCnt = 0;

// Size of the two's complement difference; the one value without a positive counterpart stays
// negative and so never exceeds the tolerance.
static int distanceOf(int reference, unsigned int value) {
    const unsigned int difference = static_cast<unsigned int>(reference) - value;
    const bool negative = static_cast<int>(difference) < 0;
    return static_cast<int>(negative ? 0u - difference : difference);
}

static bool isOutOfTolerance(unsigned int afv) {
    const int reference = loadWord(&g_AFVClearMax);
    const float tolerance = static_cast<float>(reference) * g_AFRatio;
    return static_cast<float>(distanceOf(reference, afv)) > tolerance;
}

// Both arguments are in the published record too, which is what is judged.
void lensAutoFocusCheck(unsigned int, unsigned int) {
    if (loadWord(&g_AutoCheckEnable) == 0)
        return; // the count is frozen
    if (loadWord(&g_AutoCheckFlag) == 0) {
        checkCnt = 0;
        return;
    }
    int index1, index2;
    if (Lens_Get_ZoomIndex(&index1, &index2, zoomPosition()) != 0)
        return; // nobody can say which value to judge: the frame is skipped
    if (!isOutOfTolerance(focusValueAt(index1, g_AFStatistics))) {
        checkCnt = 0;
        return;
    }
    checkCnt += 1;
    if (checkCnt > kFramesToFire) {
        checkCnt = 0;
        storeWord(&g_AutoCheckFlag, 0);
        leaveFollowUp(CMD_FOCUS); // an order that waits comes first
    }
}

void lensFocusMode(AF_CMD_em emCmd) {
    storeWord(&g_AutoCheckFlag, emCmd == CMD_MFMODE ? 0 : 1);
}
