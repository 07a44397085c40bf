#include "af_lens/model/zoom_ratio.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/zoom_grid.h"
#include "autofocus/osd_text.h"
#include "platform/trace.h"

#include <string.h>

const unsigned short gZRPosition[kMostRatios] = {
    0,     6225,  8894,  10486, 11589, 12422, 13088, 13641, 14110, 14515, 14866, 15170,
    15431, 15653, 15839, 15995, 16123, 16228, 16314, 16384, 16512, 16624, 16768, 20480,
    24576, 27264, 28672, 29440, 30016, 30400, 30720, 30912, 31104, 31232, 31424, 32768,
};

unsigned int gOSDMultipleMax = kFewestRatios;
Lens_Index_Map gOSDMultipleMap[kMostRatios];
int g_Average, g_Remainder;
unsigned short gPositionMap[kTagPoints][kQuarters];

static const unsigned short kOutsideGrid = 65535;

static int multiplesInForce = 0; // count of the maps built last; 0 before the first build
static int multipleOld = 0;      // ratio on the screen
static int building = 0;         // 1 while a thread builds the maps

static bool isValidCount(unsigned int multiple) {
    return multiple >= kFewestRatios && multiple <= kMostRatios;
}

// ---- What follows from a ratio count ----

int quarterPointOfRatio(int m, int count) {
    const int average = kTelePoint / (count - 1);
    const int remainder = kTelePoint % (count - 1);
    const int longGaps = m < remainder ? m : remainder;
    return m * average + longGaps;
}

// The last ratio that starts at or below a quarter point: the long gaps come first.
static int ratioIndexAt(int point, int count) {
    const int average = kTelePoint / (count - 1);
    const int remainder = kTelePoint % (count - 1);
    const int endOfLongGaps = remainder * (average + 1);
    return point < endOfLongGaps ? point / (average + 1)
                                 : remainder + (point - endOfLongGaps) / average;
}

unsigned short position16OfPoint(int point, int count) {
    if (count == 0)
        return 0;
    const int m = ratioIndexAt(point, count);
    const int past = point - quarterPointOfRatio(m, count);
    if (past == 0)
        return gZRPosition[m];
    const int gap = quarterPointOfRatio(m + 1, count) - quarterPointOfRatio(m, count);
    const int rise = gZRPosition[m + 1] - gZRPosition[m];
    return static_cast<unsigned short>(gZRPosition[m] + past * rise / gap);
}

unsigned short position16OfGridPoint(int index1, int index2) {
    return position16OfPoint(index1 * kQuarters + index2, loadWord(&multiplesInForce));
}

int firstPointAtOrAbove(unsigned short rzp) {
    const int count = loadWord(&multiplesInForce);
    int point = 0;
    while (point < kTelePoint && position16OfPoint(point, count) < rzp)
        ++point;
    return point;
}

// The ratio shown at a 16-bit position; 0 when the position is above the last ratio's.
static int ratioAt(unsigned short rzp, int count) {
    for (int m = 0; m < count; ++m) {
        if (rzp == gZRPosition[m])
            return m + 1;
        if (m + 1 < kMostRatios && rzp < gZRPosition[m + 1])
            return m + 1;
    }
    return 0;
}

// ---- The maps ----

static int refuseCount(const char *function, int line, unsigned int multiple) {
    TRACE_PREFIX_OF(function, line);
    printf("Invaled osd multiple %d.\n", static_cast<int>(multiple));
    return -1;
}

int Lens_Init_OSDMultiple(unsigned int multiple) {
    if (!isValidCount(multiple))
        return refuseCount(__func__, __LINE__, multiple);
    storeWord(&gOSDMultipleMax, multiple);
    return 0;
}

void Lens_Init_OSDMULMAP(void) {
    const int count = static_cast<int>(loadWord(&gOSDMultipleMax));
    memset(gOSDMultipleMap, 0, sizeof gOSDMultipleMap);
    g_Average = kTelePoint / (count - 1);
    g_Remainder = kTelePoint % (count - 1);
    TRACE_FORMAT("average: %d remainder: %d\n", g_Average, g_Remainder);
    for (int m = 0; m < count; ++m) {
        const int point = quarterPointOfRatio(m, count);
        gOSDMultipleMap[m] = {point / kQuarters, point % kQuarters, m + 1};
    }
}

void Lens_Init_ZPMAP(void) {
    const int count = static_cast<int>(loadWord(&gOSDMultipleMax));
    for (int point = 0; point <= kTelePoint; ++point)
        gPositionMap[point / kQuarters][point % kQuarters] = position16OfPoint(point, count);
    storeWord(&multiplesInForce, count);
}

// One thread builds at a time, until the maps fit the count; a thread that finds another one
// building leaves its count to it.
void buildRatioMaps() {
    while (exchangeWord(&building, 0, 1)) {
        Lens_Init_OSDMULMAP();
        Lens_Init_ZPMAP();
        storeWord(&building, 0);
        const int count = static_cast<int>(loadWord(&gOSDMultipleMax));
        if (count == loadWord(&multiplesInForce))
            return;
    }
}

int Lens_Reset_OSDMULMAP(unsigned int multiple) {
    if (!isValidCount(multiple))
        return refuseCount(__func__, __LINE__, multiple);
    if (multiple == loadWord(&gOSDMultipleMax))
        return 0;
    storeWord(&gOSDMultipleMax, multiple);
    buildRatioMaps();
    if (!hasRecord())
        return 0; // nowhere to publish to, and before start-up no grid to find the position on
    const unsigned int zoom = zoomPosition();
    Lens_Map_ZPosition(zoom);
    publishZoomFrom(zoom);
    return 0;
}

// ---- Publishing where the lens stands ----

unsigned short Lens_Map_ZPosition(unsigned int azp) {
    int index1, index2;
    if (Lens_Get_ZoomIndex(&index1, &index2, azp) != 0)
        return kOutsideGrid;
    int count;
    unsigned short rzp;
    do { // the host may change the count meanwhile: what it publishes by the new one must stay
        count = loadWord(&multiplesInForce);
        rzp = position16OfPoint(index1 * kQuarters + index2, count);
        if (!hasRecord())
            return rzp;
        publishZoomPosition16(rzp);
        const int ratio = ratioAt(rzp, count);
        if (ratio != 0)
            Lens_Set_Multiple(ratio);
    } while (!exchangeWord(&multiplesInForce, count, count)); // unlike a load, not before the above
    return rzp;
}

void publishZoomFrom(unsigned int published) {
    for (unsigned int zoom; (zoom = zoomPosition()) != published; published = zoom)
        Lens_Map_ZPosition(zoom);
}

void publishFocusFrom(unsigned int published) {
    for (unsigned int focus; (focus = focusPosition()) != published; published = focus)
        Lens_Map_FPosition(focus);
}

int Lens_Set_Multiple(int value) {
    if (value == loadWord(&multipleOld))
        return 0;
    storeWord(&multipleOld, value);
    int shown;
    do { // two threads may change the ratio at once: the text ends as the ratio does
        shown = loadWord(&multipleOld);
        fCallbakSetMultiple(shown);
    } while (shown != loadWord(&multipleOld));
    return 0;
}

// 49152 at the near end of the travel, 4096 at its far end. A counter below the origin, or ranges
// that are not set yet, would give what no unsigned number holds: that is published as 0.
unsigned short Lens_Map_FPosition(unsigned int afp) {
    const float range = static_cast<float>(PI_Near_Range + PI_Far_Range);
    const float share = static_cast<float>(afp - FM_Step_Start) / range;
    const float position = 49152.0f - share * 45056.0f;
    const unsigned short rfp =
        position > 0 ? static_cast<unsigned short>(static_cast<unsigned int>(position)) : 0;
    publishFocusPosition16(rfp);
    return rfp;
}
