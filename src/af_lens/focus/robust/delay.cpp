#include "af_lens/focus/robust/delay.h"

#include "af_interface/statistics/shown_position.h"
#include "af_lens/focus/robust/look.h"
#include "af_lens/focus/verdict/clear_difference.h"

#include <stdlib.h>

static const int kFrames = 7;  // beyond the longest delay
static const float kAside = 3; // half depths
static const float kLeastChange = 0.1f;
static const float kChangeDeviations = 12;
static const int kUnclear = -1;

static int distance(unsigned int a, unsigned int b) {
    return abs(static_cast<int>(a - b));
}

// The first frame after the move that is nearer to what comes than to what was.
static int findChange(unsigned int before, const unsigned int *values) {
    const unsigned int after = values[kFrames - 1];
    if (!isClearlyOther(after, before, clearShare(kLeastChange, kChangeDeviations, looking.noise)))
        return kUnclear;
    int late = 0;
    while (distance(values[late], before) < distance(values[late], after))
        ++late;
    return late;
}

static bool stepAside(int position, int *late) {
    Look look;
    if (!lookHere(&look) || !driveTo(position))
        return false;
    const unsigned int before = look.narrow;
    unsigned int values[kFrames];
    for (unsigned int &value : values) {
        if (!lookNow(&look))
            return false;
        value = look.narrow;
    }
    *late = findChange(before, values);
    return true;
}

bool measureDelay(int vertex) {
    const int aside = halfDepths(kAside);
    int first = kUnclear;
    int second = kUnclear;
    if (!stepAside(vertex + aside, &first) || !stepAside(vertex + 2 * aside, &second))
        return false;
    if (first == second)
        noteDelay(first);
    return true;
}
