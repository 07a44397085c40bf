#include "af_lens/model/lens_state.h"

#include "af_lens/model/lens_models.h"
#include "autofocus/host/settings.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"
#include "platform/faults.h"
#include "platform/shared_word.h"
#include "platform/trace.h"

unsigned int ZM_Step_Start, FM_Step_Start;
unsigned int PI_Wide_Range, PI_Tele_Range;
unsigned int PI_Near_Range, PI_Far_Range;
unsigned int ZM_Step_Correct, ZM_Step_Surplus;
unsigned int FM_Step_Correct, FM_Step_Surplus;
unsigned int ZM_PI_Position, FM_PI_Position;
unsigned int ZM_Wide_Limit, ZM_Tele_Limit;
unsigned int FM_Near_Limit, FM_Far_Limit;
unsigned int FM_Lock_Start;
unsigned char Step_Level_Uit, Step_Level_Min, Step_Level_Mid;
unsigned char Step_Level_Max, Step_Level_Hig, Step_Level_Rst;

unsigned int ZM_Step_Local, FM_Step_Local;
unsigned int ZM_Step_Powoff, FM_Step_Powoff;
unsigned int FM_Focus_Flag, FM_Focus_Start;
int g_ZoomDir = MS_Z_TELE;

unsigned int ZM_Step_Total, FM_Step_Total, ZM_Step_Average;
unsigned int ZM_Return_Bad, FM_Return_Bad;

static const unsigned int kOrigin = 10000; // leaves room below, so that no counter passes 0

static void setRanges(const LensModel &model) {
    PI_Wide_Range = model.zoom.rangeBelowEdge;
    PI_Tele_Range = model.zoom.rangeAboveEdge;
    PI_Near_Range = model.focus.rangeBelowEdge;
    PI_Far_Range = model.focus.rangeAboveEdge;
    ZM_Step_Correct = model.zoom.marginBelow;
    ZM_Step_Surplus = model.zoom.marginAbove;
    FM_Step_Correct = model.focus.marginBelow;
    FM_Step_Surplus = model.focus.marginAbove;
}

static void deriveLimits(void) {
    ZM_PI_Position = ZM_Step_Start + PI_Wide_Range;
    FM_PI_Position = FM_Step_Start + PI_Near_Range;
    ZM_Wide_Limit = ZM_Step_Start + ZM_Step_Correct;
    ZM_Tele_Limit = ZM_Step_Start + PI_Wide_Range + PI_Tele_Range - ZM_Step_Surplus;
    FM_Near_Limit = FM_Step_Start + FM_Step_Correct;
    FM_Far_Limit = FM_Step_Start + PI_Near_Range + PI_Far_Range - FM_Step_Surplus;
    FM_Lock_Start =
        FM_PI_Position + (g_SensType == kSensorSingledOut ? PI_Far_Range >> 1 : PI_Far_Range / 3);
}

static void deriveStepLevels(void) {
    Step_Level_Uit = 4;
    Step_Level_Min = static_cast<unsigned char>(2 * Step_Level_Uit);
    Step_Level_Mid = static_cast<unsigned char>(4 * Step_Level_Uit);
    Step_Level_Max = static_cast<unsigned char>(8 * Step_Level_Uit);
    Step_Level_Hig = static_cast<unsigned char>(6 * Step_Level_Uit);
    Step_Level_Rst = static_cast<unsigned char>(Step_Level_Uit << 5);
}

void Lens_Init_GlobalVariable(void) {
    ZM_Step_Start = kOrigin;
    FM_Step_Start = kOrigin;
    setRanges(lensModelOf(g_LensType));
    deriveLimits();
    deriveStepLevels();
    FM_Focus_Flag = 0;
}

unsigned int zoomPosition() {
    return loadWord(&ZM_Step_Local);
}

unsigned int focusPosition() {
    return loadWord(&FM_Step_Local);
}

void setPosition(unsigned int zoom, unsigned int focus) {
    storeWord(&ZM_Step_Local, zoom);
    storeWord(&FM_Step_Local, focus);
}

bool areLimitsKnown() {
    return ZM_Tele_Limit != 0 && FM_Far_Limit != 0;
}

static unsigned int keepBetween(unsigned int low, unsigned int position, unsigned int high) {
    return high == 0 ? position : clampBetween(low, position, high);
}

unsigned int keepZoomInTravel(unsigned int zoom) {
    return keepBetween(ZM_Wide_Limit, zoom, ZM_Tele_Limit);
}

unsigned int keepFocusInTravel(unsigned int focus) {
    return keepBetween(FM_Near_Limit, focus, FM_Far_Limit);
}

bool isInsideLimits(unsigned int zoom, unsigned int focus) {
    const bool zoomInside = zoom >= ZM_Wide_Limit && zoom <= ZM_Tele_Limit;
    const bool focusInside = focus >= FM_Near_Limit && focus <= FM_Far_Limit;
    return zoomInside && focusInside;
}

bool isPositionWorthKeeping() {
    if (isRecovering()) // before it is doubtful for good, too
        return (presentFaults() & (kFaultPosition | kFaultDriver | kFaultGpio)) == 0;
    return settingOf(AF_SETTING_RECOVERY) == 0 || !isPresent(kFaultPosition);
}

int Lens_Get_Location(unsigned int *zLocation, unsigned int *fLocation) {
    if (zLocation == nullptr || fLocation == nullptr)
        return -1;
    *zLocation = zoomPosition();
    *fLocation = focusPosition();
    return 0;
}

void Lens_Print_Location(void) {
    printf("__%s@ Range = [%d, %d] zLocation = %d fLocation = %d\n", __func__,
           static_cast<int>(ZM_Wide_Limit), static_cast<int>(ZM_Tele_Limit),
           static_cast<int>(zoomPosition()), static_cast<int>(focusPosition()));
}
