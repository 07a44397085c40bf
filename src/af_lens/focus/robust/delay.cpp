#include "af_lens/focus/robust/delay.h"

#include "af_interface/statistics/shown_position.h"
#include "af_lens/focus/robust/look.h"
#include "platform/arithmetic.h"

#include <math.h>

static const int kFrames = 7;  // beyond the longest delay
static const float kAside = 3; // half depths
static const float kLeastChange = 0.1f;
static const float kChangeDeviations = 12;
static const int kUnclear = -1;

// The first frame after the move that is nearer to what comes than to what was.
static int findChange(float before, const float *values) {
    const float after = values[kFrames - 1];
    const float least = before * maxOf(kLeastChange, kChangeDeviations * looking.noise);
    if (fabsf(after - before) < least)
        return kUnclear;
    int late = 0;
    while (fabsf(values[late] - before) < fabsf(values[late] - after))
        ++late;
    return late;
}

static bool stepAside(int position, int *late) {
    Look look;
    if (!lookHere(&look) || !driveTo(position))
        return false;
    const float before = look.narrow;
    float values[kFrames];
    for (float &value : values) {
        if (!lookNow(&look))
            return false;
        value = look.narrow;
    }
    *late = findChange(before, values);
    return true;
}

bool measureDelay(int vertex) {
    const int aside = static_cast<int>(kAside * looking.halfDepth);
    int first = kUnclear;
    int second = kUnclear;
    if (!stepAside(vertex + aside, &first) || !stepAside(vertex + 2 * aside, &second))
        return false;
    if (first == second)
        noteDelay(first);
    return true;
}
