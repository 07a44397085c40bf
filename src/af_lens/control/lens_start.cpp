// Start-up of the lens and its re-homing: tables, home search, park at the wide end.
#include "af_lens/model/focus_lines.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "af_lens/model/preset_table.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"
#include "autofocus/lens_control.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "autofocus/types.h"
#include "autofocus/utilities.h"
#include "platform/faults.h"
#include "platform/trace.h"

static unsigned int infinityFocusAtWide() {
    return g_FLineInfo.tagPosition[0][0];
}

static void assumePositionUnknown() {
    setPosition(ZM_Tele_Limit, FM_Near_Limit);
}

// The position before power-off is taken before the home search; it is not driven to here.
static void rememberPowerOffPosition() {
    const bool known = Lens_Read_ZFLocation() >= 0;
    if (!known)
        assumePositionUnknown();
    FM_Step_Powoff = known ? focusPosition() : infinityFocusAtWide();
    ZM_Step_Powoff = zoomPosition();
}

static bool findHome() {
    if (Lens_Check_PIPosition() == 0)
        return true;
    assumePositionUnknown();
    return Lens_Check_PIPosition() == 0;
}

void Lens_Init(void) {
    Lens_Init_GlobalVariable();
    Lens_Init_ZoomStep();
    buildRatioMaps();
    Lens_Init_PresetInfo();
    Lens_Read_FLPosition();
    Lens_Init_2MFocusLine();
    Lens_Init_Interpolation();
    Lens_Set_FocusStep();
    rememberPowerOffPosition();
    if (!findHome()) {
        char line[] = "PI check error !\n";
        aflog(line);
        if (isRecovering()) // the next search goes where this one would have
            setPosition(ZM_Wide_Limit, infinityFocusAtWide());
        return;
    }
    Lens_To_Destination(ZM_Wide_Limit, infinityFocusAtWide());
    Lens_Save_ZFLocation();
    TRACE_FORMAT("ZM_Local: %d FM_Local: %d\n", static_cast<int>(zoomPosition()),
                 static_cast<int>(focusPosition()));
    Lens_Map_ZPosition(zoomPosition());
}

// The destination is reckoned from the edges even when the search has failed.
static void homeAndGoTo(unsigned int zoom, unsigned int focus) {
    Lens_Check_PIPosition();
    Lens_To_Destination(zoom, focus);
    Lens_Map_ZPosition(zoomPosition());
}

void lensMotorReset(AF_CMD_em emCmd) {
    TRACE_FORMAT("cmd: %d\n", static_cast<int>(emCmd));
    FM_Focus_Flag = 0;
    unsigned int zoom = ZM_Wide_Limit;
    unsigned int focus = infinityFocusAtWide();
    if (emCmd != CMD_RESET)
        Lens_Get_Location(&zoom, &focus);
    homeAndGoTo(zoom, focus);
    leaveFollowUp(CMD_FOCUS);
}

void Lens_Reset(void) {
    FM_Focus_Flag = 0;
    homeAndGoTo(ZM_Wide_Limit, infinityFocusAtWide());
}
