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
static const int kUnknown = -1;

static float share;               // of the way from infinity to 2 m
static int sharePoint = kUnknown; // grid point from which it is remembered

bool isObjectFollowed() {
    return settingOf(AF_SETTING_TRACKING) != 0;
}

namespace {
struct GridPlace {
    int point; // quarter point at or below
    float way; // to the next one
};
} // namespace

static bool findPlace(GridPlace *place) {
    int index1, index2;
    if (Lens_Get_ZoomIndex(&index1, &index2, zoomPosition()) != 0)
        return false;
    place->point = index1 * kQuarters + index2;
    place->way = 0;
    if (index1 < kTeleTag) {
        const unsigned int quarter = quarterLength(index1);
        const unsigned int from = ZM_Step_Run[index1] + static_cast<unsigned int>(index2) * quarter;
        place->way = static_cast<float>(zoomPosition() - from) / static_cast<float>(quarter);
    }
    return true;
}

// Of a table over the grid.
static float valueAt(const unsigned int (*table)[kQuarters], GridPlace place) {
    const unsigned int *values = table[0] + place.point;
    const float here = static_cast<float>(values[0]);
    return place.way == 0 ? here : here + place.way * (static_cast<float>(values[1]) - here);
}

// ---- Where the measured infinity line is off, by what the same object says further toward tele

namespace {
struct Sighting {
    int point;
    float behind;     // the measured infinity line, in steps
    float separation; // of the built-in lines there
};
} // namespace

static Sighting last = {kUnknown, 0, 0};
static float offsets[kTagPoints];
static bool isLearned[kTagPoints];

static void learnOffset(const Sighting &now) {
    if (last.point == kUnknown || last.point >= now.point)
        return;
    const int tag = last.point / kQuarters;
    const float miss = last.behind - now.behind / now.separation * last.separation;
    if (fabsf(miss) > kMostOffset * halfDepthSteps(tag))
        return; // another object
    offsets[tag] += isLearned[tag] ? (miss - offsets[tag]) / 2 : miss;
    isLearned[tag] = true;
}

static bool sight(Sighting *sighting) {
    GridPlace place;
    const unsigned int(*separations)[kQuarters] =
        isObjectFollowed() ? measureSeparations() : nullptr;
    if (separations == nullptr || !findPlace(&place))
        return false;
    const float infinity = valueAt(g_FLineInfo.tagPosition, place);
    const float behind = infinity - static_cast<float>(focusPosition());
    *sighting = {place.point, behind, valueAt(separations, place)};
    return sighting->separation >= 1;
}

void noteObjectInFocus() {
    Sighting now;
    if (!sight(&now))
        return;
    learnOffset(now);
    last = now;
    const int tag = now.point / kQuarters;
    const float behind = now.behind - offsets[tag];
    const float miss = fabsf(behind - share * now.separation);
    if (sharePoint > now.point && miss < kSameObject * halfDepthSteps(tag))
        return;
    share = behind / now.separation;
    sharePoint = now.point;
}

bool chooseObjectLine() {
    const unsigned int(*separations)[kQuarters] =
        isObjectFollowed() && sharePoint != kUnknown ? measureSeparations() : nullptr;
    if (separations == nullptr)
        return false;
    followLineBehind(separations, share);
    TRACE_FORMAT("Share: %d\n", static_cast<int>(share * 1000));
    return true;
}
