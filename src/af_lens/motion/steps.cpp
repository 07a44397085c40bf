#include "af_lens/motion/steps.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/shared_word.h"
#include "platform/trace.h"

// ---- Room before the limits ----

// True when there is room; then *step is at most the room. A counter beyond the limit has negative
// room, hence the signed difference.
static bool clipToRoom(unsigned int ahead, unsigned int behind, unsigned char *step) {
    const int room = static_cast<int>(ahead - behind);
    if (room <= 0) {
        *step = 0;
        return false;
    }
    if (*step > room)
        *step = static_cast<unsigned char>(room);
    return true;
}

// Toward anything but its own two ends an axis stands, for which there is always room.
static bool clipZoom(MS_Action_em type, unsigned char *step) {
    switch (type) {
    case MS_Z_TELE:
        return clipToRoom(ZM_Tele_Limit, zoomPosition(), step);
    case MS_Z_WIDE:
        return clipToRoom(zoomPosition(), ZM_Wide_Limit, step);
    default:
        return true;
    }
}

static bool clipFocus(MS_Action_em type, unsigned char *step) {
    switch (type) {
    case MS_F_FAR:
        return clipToRoom(FM_Far_Limit, focusPosition(), step);
    case MS_F_NEAR:
        return clipToRoom(focusPosition(), FM_Near_Limit, step);
    default:
        return true;
    }
}

int Lens_Check_AllowanceForSteps(MS_Action_em zType, unsigned char *zStep, MS_Action_em fType,
                                 unsigned char *fStep) {
    int blocked = 0;
    if (!clipZoom(zType, zStep))
        blocked |= 1 << kZoomBlocked;
    if (!clipFocus(fType, fStep))
        blocked |= 1 << kFocusBlocked;
    return blocked;
}

// ---- Counters ----

void Lens_Fresh_ZFLocation(MS_Action_em type, unsigned char nStep) {
    switch (type) {
    case MS_Z_WIDE:
        storeWord(&ZM_Step_Local, zoomPosition() - nStep);
        Lens_Map_ZPosition(zoomPosition());
        break;
    case MS_Z_TELE:
        storeWord(&ZM_Step_Local, zoomPosition() + nStep);
        Lens_Map_ZPosition(zoomPosition());
        break;
    case MS_F_NEAR:
        storeWord(&FM_Step_Local, focusPosition() - nStep);
        Lens_Map_FPosition(focusPosition());
        break;
    case MS_F_FAR:
        storeWord(&FM_Step_Local, focusPosition() + nStep);
        Lens_Map_FPosition(focusPosition());
        break;
    default: // a flat stretch of the focus line while zooming
        TRACE_FORMAT("Invaled type: %d\n", static_cast<int>(type));
        break;
    }
}

// ---- Between two samples of the focus ----

MS_Action_em reverseFocus(MS_Action_em fType) {
    return fType == MS_F_NEAR ? MS_F_FAR : MS_F_NEAR;
}

int focusRunRange(MS_Action_em fType, unsigned int limitN, unsigned int limitF) {
    const unsigned int focus = focusPosition();
    return static_cast<int>(fType == MS_F_NEAR ? focus - limitN : limitF - focus);
}

void clipFocusStep(MS_Action_em fType, int runRange, unsigned char *step) {
    if (*step <= runRange)
        return;
    *step = static_cast<unsigned char>(runRange);
    MS419XX_Set_PSUM_ICNT_RegofFocus(fType, *step);
}
