#include "af_lens/focus/focus_pass.h"

#include "af_interface/statistics/shown_position.h"
#include "af_interface/statistics/statistics.h"
#include "af_lens/focus/verdict/verdict.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/autofocus_run.h"
#include "autofocus/moves.h"

static const double kFineHillShare = 0.98;

void beginPass(FocusSearch *search, unsigned char step) {
    search->flagU = search->flagD = search->flagH = 0;
    search->afvTmp = 0;
    search->afvMax = 0;
    search->afvMin = kNoMinimumYet;
    search->fStep = step;
    MS419XX_Set_PSUM_ICNT_RegofFocus(search->fType, step);
    search->tagPosition = focusPosition();
    beginJudgedPass();
}

// Move one group and take the record of the frame that follows; false at the end of the range.
static bool takeSample(FocusSearch *search, AF_Statistics_Info *record, unsigned int *afv) {
    const int runRange = focusRunRange(search->fType, search->limitN, search->limitF);
    if (!hasWayOn(runRange, search->fStep))
        return false;
    clipFocusStep(search->fType, runRange, &search->fStep);
    MS419XX_VDF();
    Lens_Fresh_ZFLocation(search->fType, search->fStep);
    search->xStep += search->fStep;
    afStatisticsFresh(record);
    *afv = focusValueAt(search->index1, *record);
    judgeFrame(*afv);
    return true;
}

// A new maximum. The first sample of a pass is one, but no rise; in a coarse pass it still marks
// the peak, in a fine pass the peak stays where the pass began until a later sample beats it.
static void judgeRise(FocusSearch *search, unsigned int afv, bool firstMarksPeak) {
    if (afv <= search->afvMax)
        return;
    const bool firstSample = search->afvMax == 0;
    if (!firstSample)
        search->flagU += 1;
    if (!firstSample || firstMarksPeak)
        search->tagPosition = shownPosition();
    search->flagD = 0;
    search->flagH = 0;
    search->afvMax = afv;
}

// A new minimum before any rise; true when there were too many: the direction is wrong.
static bool judgeFall(FocusSearch *search, unsigned int afv) {
    if (search->flagU != 0 || afv >= search->afvMin)
        return false;
    if (search->afvMin != kNoMinimumYet)
        search->flagD += 1;
    search->afvMin = afv;
    return search->flagD > search->tuning.searchC1;
}

// Once rising: below the previous sample or clearly below the maximum; true when that has been so
// for long enough.
static bool judgeHill(FocusSearch *search, unsigned int afv, bool belowMaximum) {
    if (search->flagU == 0)
        return false;
    if (search->afvTmp != 0) {
        const bool pastPeak = afv < search->afvTmp || belowMaximum;
        search->flagH = pastPeak ? search->flagH + 1 : 0;
    }
    search->afvTmp = afv;
    return search->flagH > search->tuning.searchC2;
}

static void adaptStep(FocusSearch *search, AF_Statistics_Info *record) {
    const unsigned char next =
        Lens_ImageDefinition_Check(&search->reference, record, &search->xStep,
                                   static_cast<int>(search->afvMax), search->stepMax);
    if (next == search->fStep)
        return;
    search->fStep = next;
    MS419XX_Set_PSUM_ICNT_RegofFocus(search->fType, next);
}

void runCoarsePass(FocusSearch *search) {
    AF_Statistics_Info record;
    unsigned int afv;
    while (lensFocusInterrupt() == 0 && takeSample(search, &record, &afv)) {
        judgeRise(search, afv, true);
        if (judgeFall(search, afv))
            return;
        const float threshold = static_cast<float>(search->afvMax) * search->tuning.ratio;
        if (judgeHill(search, afv, static_cast<float>(afv) < threshold))
            return;
        adaptStep(search, &record);
    }
}

void runFinePass(FocusSearch *search) {
    AF_Statistics_Info record;
    unsigned int afv;
    while (lensFocusInterrupt() == 0 && takeSample(search, &record, &afv)) {
        judgeRise(search, afv, false);
        if (judgeFall(search, afv))
            return;
        const double threshold = static_cast<double>(search->afvMax) * kFineHillShare;
        if (judgeHill(search, afv, static_cast<double>(afv) < threshold))
            return;
    }
}
