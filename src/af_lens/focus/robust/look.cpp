#include "af_lens/focus/robust/look.h"

#include "af_interface/statistics/frame_noise.h"
#include "af_interface/statistics/shown_position.h"
#include "af_interface/statistics/statistics.h"
#include "af_lens/focus/verdict/verdict.h"
#include "af_lens/model/half_depth.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/motion/slack.h"
#include "autofocus/focus_lines.h"
#include "autofocus/mailbox.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/arithmetic.h"

#include <stdlib.h>

static const float kWideNoise = 0.55f; // of the narrow one: more zones, coarser detail
static const int kNearShare = 3;       // of its width, by which the range is widened
static const int kFarShare = 6;
static const int kUnitMargin = 48; // at least: how far a unit's lines may lie off the built-in ones

LookSetting looking;

// Off the grid the object may be in focus in the range of either neighbour.
static void takeRange(int index1, int index2) {
    unsigned int near, far;
    Lens_Get_SearchRange(index1, index2, &near, &far);
    if (index1 < kTeleTag) {
        unsigned int nextNear, nextFar;
        const int next = index1 * kQuarters + index2 + 1;
        Lens_Get_SearchRange(next / kQuarters, next % kQuarters, &nextNear, &nextFar);
        near = minOf(near, nextNear);
        far = maxOf(far, nextFar);
    }
    const int width = static_cast<int>(far - near);
    const int margin = kUnitMargin + focusBacklash();
    const int nearMargin = maxOf(width / kNearShare, margin);
    const int farMargin = maxOf(width / kFarShare, margin);
    looking.near =
        static_cast<int>(keepFocusInTravel(near - static_cast<unsigned int>(nearMargin)));
    looking.far = static_cast<int>(keepFocusInTravel(far + static_cast<unsigned int>(farMargin)));
}

void beginLooking(int index1, int index2) {
    looking.tag = index1;
    looking.halfDepth = halfDepthSteps(index1);
    looking.noise = noiseShareAt(index1);
    looking.wideNoise = looking.noise * (isJudgedByAll(index1) ? 1 : kWideNoise);
    takeRange(index1, index2);
}

int halfDepths(float number) {
    return static_cast<int>(number * looking.halfDepth);
}

bool driveTo(int position) {
    const int target = clampBetween(looking.near, position, looking.far);
    const int steps = target - static_cast<int>(focusPosition());
    if (steps == 0)
        return lensFocusInterrupt() == 0;
    return lensMotorFocusRun(steps > 0 ? MS_F_FAR : MS_F_NEAR, abs(steps)) == 0;
}

bool approach(int position) {
    const int target = clampBetween(looking.near, position, looking.far);
    return approachFocus(MS_F_FAR, static_cast<unsigned int>(target)) == 0;
}

bool lookNow(Look *look) {
    AF_Statistics_Info record;
    afStatisticsFresh(&record);
    const unsigned int value = focusValueAt(looking.tag, record);
    judgeFrame(value);
    *look = {static_cast<int>(shownPosition()), value, record.vwV2SumAll,
             secondFocusValueAt(looking.tag, record)};
    return lensFocusInterrupt() == 0 && !isRunBlind();
}

bool lookHere(Look *look) {
    for (int frames = framesUntilShown(); frames > 0; --frames)
        if (!lookNow(look))
            return false;
    const bool goesOn = lookNow(look);
    look->position = static_cast<int>(focusPosition());
    return goesOn;
}
