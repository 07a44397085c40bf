#include "af_lens/focus/step_choice.h"

#include "af_lens/model/lens_state.h"
#include "autofocus/autofocus_run.h"
#include "autofocus/statistics.h"

#include <math.h>

static const unsigned int kWideRange = 480;
static const unsigned int kMiddleRange = 120;
static const int kLowContrast = 1600;
static const int kNoSlopeYet = 65535;
static const unsigned char kStepFalling = 2;
static const unsigned char kStepSlowing = 4;

// Slopes of the two sums at the previous sample, of the lens-control thread's present pass.
static int afvH1KO = kNoSlopeYet;
static int afvH2KO = kNoSlopeYet;

unsigned char Lens_Get_StepMax(unsigned int nLimit, unsigned int fLimit) {
    const unsigned int range = fLimit - nLimit;
    if (range > kWideRange)
        return Step_Level_Mid;
    return range > kMiddleRange ? Step_Level_Min : Step_Level_Uit;
}

// Rise a step since the reference sample, rounded away from zero.
static int slopeSince(unsigned int reference, unsigned int now, int steps) {
    const int rise = static_cast<int>(now - reference);
    const float slope = static_cast<float>(rise) / static_cast<float>(steps);
    return static_cast<int>(slope >= 0 ? ceilf(slope) : floorf(slope));
}

// The sharper the sums rise, the nearer the peak is still ahead: full steps while the first sum's
// slope grows, short ones once both slow down.
unsigned char Lens_ImageDefinition_Check(AF_Statistics_Info *pOld, AF_Statistics_Info *pNew,
                                         int *xStep, int afvMax, unsigned char stepMax) {
    const unsigned char halfStep = stepMax >> 1;
    const bool firstSample = pOld->vH2SumHalf == 0 && pOld->vV2SumHalf == 0;
    if (firstSample) {
        *xStep = 0;
        afvH1KO = afvH2KO = kNoSlopeYet;
        *pOld = *pNew; // stays the reference for the rest of the pass
        return halfStep;
    }
    const int afvH1K = slopeSince(pOld->vH1SumHalf, pNew->vH1SumHalf, *xStep);
    const int afvH2K = slopeSince(pOld->vH2SumHalf, pNew->vH2SumHalf, *xStep);
    const int previousH1K = afvH1KO;
    const int previousH2K = afvH2KO;
    afvH1KO = afvH1K;
    afvH2KO = afvH2K;

    const bool secondSample = previousH1K == kNoSlopeYet && previousH2K == kNoSlopeYet;
    if (secondSample)
        return halfStep;
    if (afvMax < kLowContrast)
        return stepMax;
    if (afvH1K < 0 && afvH2K < 0)
        return halfStep;
    if (afvH1K >= previousH1K)
        return stepMax;
    if (afvH2K >= previousH2K)
        return afvH2K < 0 ? kStepFalling : kStepSlowing;
    return halfStep;
}

void Lens_Peak_Detect(AF_Statistics_Info *, AF_Statistics_Info *, int *, unsigned char) {}
