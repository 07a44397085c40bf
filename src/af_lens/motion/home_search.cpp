#include "af_lens/motion/home_search.h"

#include "af_common/link/gpio_setup.h"
#include "af_lens/model/lens_models.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/motors.h"
#include "af_ms419xx/ms419xx.h"
#include "af_ms419xx/sure_link.h"
#include "autofocus/focus_lines.h"
#include "autofocus/moves.h"
#include "autofocus/settings.h"
#include "autofocus/types.h"
#include "autofocus/zoom_ratio.h"
#include "hisi_gpio/hisi_gpio.h"
#include "platform/faults.h"
#include "platform/shared_word.h"
#include "platform/trace.h"

#include <unistd.h>

// An axis is searched in up to four passes. Pass 1, only where the sensor reads non-zero, leaves
// that side; pass 2 crosses the edge fast from the zero side; pass 3 crosses back at 8 steps a
// period; pass 4 crosses again at one step a period and stops on the first period after which the
// level has changed. So the edge is always approached in pass 2's direction. The fast passes share
// a travel counter bounded by the axis's whole travel, the slow ones have a bound of periods. A
// sensor that cannot be read yields -1, which counts as a level of its own; while recovering it
// ends the search.
//
// Each sensor is lit by the LED output of the other channel, which stays as it is set while only
// the searched channel is programmed.

static const char kSearchName[] = "Lens_Search_PI"; // for the traces of its passes
static const useconds_t kSettleUs = 500000;
static const useconds_t kBetweenAxesUs = 200000;
static const unsigned char kFastRampStep = 8;

namespace {
struct SearchedAxis {
    bool isZoom;
    unsigned int pin;
    unsigned int travel;
    MS_Action_em edgeWhenSet; // direction toward the edge where the sensor reads non-zero
};
} // namespace

static SearchedAxis describeZoom() {
    return {true, kPinZoomPi, PI_Wide_Range + PI_Tele_Range,
            lensModelOf(g_LensType).zoom.edgeWhenSet};
}

static SearchedAxis describeFocus() {
    return {false, kPinFocusPi, PI_Near_Range + PI_Far_Range,
            lensModelOf(g_LensType).focus.edgeWhenSet};
}

static void brake(const SearchedAxis &axis) {
    if (axis.isZoom)
        MS419XX_Break_MotorAB(LED_DISABLE);
    else
        MS419XX_Break_MotorCD(LED_DISABLE);
}

// Once the order has failed nobody knows whether its light is on.
static int readSensor(const SearchedAxis &axis) {
    return hasOrderFailed() ? -1 : Hisi_Gpio_Read(axis.pin);
}

static bool isBlind(int level) {
    return isRecovering() && level < 0;
}

static MS_Action_em opposite(MS_Action_em direction) {
    switch (direction) {
    case MS_Z_WIDE:
        return MS_Z_TELE;
    case MS_Z_TELE:
        return MS_Z_WIDE;
    case MS_F_NEAR:
        return MS_F_FAR;
    default:
        return MS_F_NEAR;
    }
}

static MS_Action_em towardEdge(const SearchedAxis &axis, int level) {
    return level != 0 ? axis.edgeWhenSet : opposite(axis.edgeWhenSet);
}

static bool runFastPass(const SearchedAxis &axis, MS_Action_em direction, int *level,
                        unsigned int *travelled) {
    unsigned char step = Step_Level_Mid;
    MS419XX_Set_PSUM_ICNT_Register(direction, step, LED_DISABLE);
    for (;;) {
        MS419XX_VDFZ();
        const int now = readSensor(axis);
        if (isBlind(now)) {
            brakeBothChannels();
            return false;
        }
        if (now != *level) {
            *level = now;
            brake(axis);
            MS419XX_VDFZ();
            usleep(kSettleUs);
            return true;
        }
        *travelled += step;
        if (*travelled >= axis.travel) {
            TRACE_FORMAT_OF(kSearchName, "Error, [%d,%d].\n", static_cast<int>(*travelled),
                            static_cast<int>(axis.travel));
            brakeBothChannels();
            return false;
        }
        bool changed = false;
        if (step < Step_Level_Rst) {
            step = static_cast<unsigned char>(step + kFastRampStep);
            changed = true;
        }
        if (step + *travelled >= axis.travel) {
            step = static_cast<unsigned char>(axis.travel - *travelled);
            changed = true;
        }
        if (changed)
            MS419XX_Set_PSUM_ICNT_Register(direction, step, LED_DISABLE);
    }
}

static bool runSlowPass(const SearchedAxis &axis, MS_Action_em direction, unsigned char step,
                        unsigned int mostPeriods, bool finalPass, int *level) {
    MS419XX_Set_PSUM_ICNT_Register(direction, step, LED_DISABLE);
    for (unsigned int periods = 0; periods <= mostPeriods; ++periods) {
        const int now = readSensor(axis);
        if (isBlind(now))
            break;
        if (now != *level) {
            *level = now;
            brake(axis);
            if (finalPass && !axis.isZoom) // the last axis: its light, channel AB's LED, goes out
                MS419XX_Break_MotorAB(LED_DISABLE);
            MS419XX_VDFZ();
            return true;
        }
        MS419XX_VDFZ();
    }
    TRACE_TEXT_OF(kSearchName, "Error, Return here.");
    brakeBothChannels();
    return false;
}

static bool searchAxis(const SearchedAxis &axis) {
    int level = readSensor(axis);
    unsigned int travelled = 0;
    if (isBlind(level))
        return false;
    if (level != 0 && !runFastPass(axis, towardEdge(axis, level), &level, &travelled))
        return false;
    const MS_Action_em approach = towardEdge(axis, level);
    if (!runFastPass(axis, approach, &level, &travelled))
        return false;
    const unsigned int mostBackPeriods = 2u * Step_Level_Rst / Step_Level_Min;
    if (!runSlowPass(axis, opposite(approach), Step_Level_Min, mostBackPeriods, false, &level))
        return false;
    usleep(kSettleUs);
    return runSlowPass(axis, approach, 1, Step_Level_Rst, true, &level);
}

int Lens_Search_PI(void) {
    const bool areStepsKnown = Step_Level_Min != 0 && Step_Level_Mid != 0;
    if (!areStepsKnown)
        return -1; // before start-up: no pass would come to an end
    MS419XX_Break_MotorCD(LED_ENABLE);
    MS419XX_VDFZ();
    usleep(kSettleUs);
    if (!searchAxis(describeZoom()))
        return -1;
    TRACE_TEXT("Check ZPI Success.");

    MS419XX_Break_MotorCD(LED_DISABLE);
    MS419XX_VDFZ();
    usleep(kBetweenAxesUs);
    MS419XX_Break_MotorAB(LED_ENABLE);
    MS419XX_VDFZ();
    usleep(kSettleUs);
    if (!searchAxis(describeFocus()))
        return -1;
    TRACE_TEXT("Check FPI Success.");
    return 0;
}

// ---- What the search finds the counters short of, by the steps that it has driven itself

static int lostZoom = 0;
static int lostFocus = 0;
static bool isHomeKnown = false;

static int shortfall(unsigned int edge, unsigned int counter, int drivenSteps) {
    return static_cast<int>(edge - counter) - drivenSteps;
}

static void noteLostSteps(DrivenSteps before) {
    const DrivenSteps now = countDrivenSteps();
    if (isHomeKnown) {
        storeWord(&lostZoom, shortfall(ZM_PI_Position, zoomPosition(), now.zoom - before.zoom));
        storeWord(&lostFocus, shortfall(FM_PI_Position, focusPosition(), now.focus - before.focus));
    }
    isHomeKnown = true;
}

int lostZoomSteps() {
    return loadWord(&lostZoom);
}

int lostFocusSteps() {
    return loadWord(&lostFocus);
}

static unsigned int failedSearches = 0;

unsigned int countFailedSearches() {
    return failedSearches;
}

void noteFailedSearch() {
    failedSearches += 1;
    noteCall(kFaultHoming, false);
}

int Lens_Check_PIPosition(void) {
    const DrivenSteps before = countDrivenSteps();
    setSearching(true);
    const bool isFound = Lens_Search_PI() == 0;
    setSearching(false);
    if (isFound)
        noteCall(kFaultHoming, true);
    else
        noteFailedSearch();
    noteCall(kFaultPosition, isFound);
    if (!isFound) {
        TRACE_TEXT("Failure.");
        return -1;
    }
    noteLostSteps(before);
    setPosition(ZM_PI_Position, FM_PI_Position);
    return 0;
}

bool checkPiTwice() {
    return Lens_Check_PIPosition() == 0 || Lens_Check_PIPosition() == 0;
}

void parkAtWide() {
    checkPiTwice();
    Lens_To_Destination(ZM_Wide_Limit, g_FLineInfo.tagPosition[0][0]);
    Lens_Map_ZPosition(zoomPosition());
    Lens_Map_FPosition(focusPosition());
}

bool regainPosition() {
    const unsigned int zoom = zoomPosition();
    const unsigned int focus = focusPosition();
    if (Lens_Check_PIPosition() != 0)
        return false;
    Lens_To_Destination(zoom, focus);
    return true;
}
