#include "af_lens/model/object_line.h"

#include "af_lens/model/focus_lines.h"
#include "af_lens/model/half_depth.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "autofocus/host/settings_table.h"
#include "autofocus_control.h"
#include "platform/trace.h"

#include <math.h>

static const float kSameObject = 1;    // half depths beside its line
static const float kMostOffset = 1.5f; // the same, of a measured line

namespace {
struct Sighting {
    unsigned int next; // the grid point after the one it was seen from; 0: not yet
    float behind;      // the measured infinity line, in steps
    float separation;  // of the built-in lines there
};

struct Followed {
    float share;       // of the way from infinity to 2 m
    unsigned int next; // the grid point after the one it is remembered from; 0: unknown
    Sighting last;
    float offsets[kTagPoints]; // of the measured infinity line; 0: not learned
};
} // namespace

static Followed object;

bool isObjectFollowed() {
    return settingOf(AF_SETTING_TRACKING) != 0;
}

static const unsigned int (*separationsToFollow())[kQuarters] {
    return isObjectFollowed() ? measureSeparations() : nullptr;
}

// Of a table over the grid. At the tele end, where no next value is, its share is nothing.
static float valueAt(const unsigned int (*table)[kQuarters], const GridPlace &place) {
    const unsigned int *values = table[0] + place.point;
    const float here = static_cast<float>(values[0]);
    const float share = static_cast<float>(place.way) / static_cast<float>(place.quarter);
    return here + share * (static_cast<float>(values[1]) - here);
}

static bool sight(Sighting *sighting) {
    GridPlace place;
    const unsigned int(*separations)[kQuarters] = separationsToFollow();
    if (separations == nullptr || !findGridPlace(&place))
        return false;
    const float infinity = valueAt(g_FLineInfo.tagPosition, place);
    const float behind = infinity - static_cast<float>(focusPosition());
    *sighting = {place.point + 1, behind, valueAt(separations, place)};
    return sighting->separation >= 1;
}

// Where the measured infinity line is off, by what the same object says further toward tele.
static void learnOffset(const Sighting &last, const Sighting &now) {
    if (last.next == 0 || last.next >= now.next)
        return;
    const unsigned int tag = (last.next - 1) / kQuarters;
    const float miss = last.behind - now.behind / now.separation * last.separation;
    if (fabsf(miss) > kMostOffset * halfDepthSteps(static_cast<int>(tag)))
        return; // another object
    float *const offset = &object.offsets[tag];
    *offset = *offset == 0 ? miss : (*offset + miss) / 2;
}

void noteObjectInFocus() {
    Sighting now;
    if (!sight(&now))
        return;
    learnOffset(object.last, now);
    object.last = now;
    const unsigned int tag = (now.next - 1) / kQuarters;
    const float behind = now.behind - object.offsets[tag];
    const float miss = fabsf(behind - object.share * now.separation);
    if (object.next > now.next && miss < kSameObject * halfDepthSteps(static_cast<int>(tag)))
        return;
    object.share = behind / now.separation;
    object.next = now.next;
}

bool chooseObjectLine() {
    const unsigned int(*separations)[kQuarters] =
        object.next != 0 ? separationsToFollow() : nullptr;
    if (separations == nullptr)
        return false;
    followLineBehind(separations, object.share);
    TRACE_FORMAT("Share: %d\n", static_cast<int>(object.share * 1000));
    return true;
}
