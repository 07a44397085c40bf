#include "af_lens/model/zoom_ratio.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/zoom_grid.h"
#include "autofocus/callbacks.h"
#include "autofocus/focus_lines.h"
#include "platform/arithmetic.h"
#include "platform/shared_word.h"
#include "platform/trace.h"
#include "platform/version.h"

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
static const float kNearPosition16 = 49152.0f;
static const float kFocusRange16 = 45056.0f;

static int multipleOld = 0; // ratio on the screen

static unsigned int mapsVersion = 0;

static bool isValidCount(unsigned int multiple) {
    return multiple >= kFewestRatios && multiple <= kMostRatios;
}

// ---- What follows from a ratio count ----

// The gaps between ratios, in quarter points: the first ones are longer by one.
namespace {
struct Gaps {
    unsigned int average;
    unsigned int longOnes;
};
} // namespace

static Gaps gapsBetween(unsigned int count) {
    return {kTelePoint / (count - 1), kTelePoint % (count - 1)};
}

static unsigned int quarterPoint(const Gaps &gaps, unsigned int m) {
    return m * gaps.average + minOf(m, gaps.longOnes);
}

// ---- The maps: built under an odd version, read under an even one that stays ----

// A host may write the exported word; a count outside the range would lead out of the tables.
static unsigned int countOf(unsigned int multiple) {
    return clampBetween<unsigned int>(kFewestRatios, multiple, kMostRatios);
}

// Before the building, as a message may take its time.
static void announce(const Gaps &gaps) {
    TRACE_FORMAT_OF("Lens_Init_OSDMULMAP", "average: %d remainder: %d\n",
                    static_cast<int>(gaps.average), static_cast<int>(gaps.longOnes));
}

static void fillRatioMap(const Gaps &gaps, unsigned int count) {
    storeWord(&g_Average, static_cast<int>(gaps.average));
    storeWord(&g_Remainder, static_cast<int>(gaps.longOnes));
    for (unsigned int m = 0; m < kMostRatios; ++m) {
        const bool isUsed = m < count;
        const unsigned int point = isUsed ? quarterPoint(gaps, m) : 0;
        storeWord(&gOSDMultipleMap[m].index1, static_cast<int>(point / kQuarters));
        storeWord(&gOSDMultipleMap[m].index2, static_cast<int>(point % kQuarters));
        storeWord(&gOSDMultipleMap[m].ratio, isUsed ? static_cast<int>(m + 1) : 0);
    }
}

static unsigned short *mappedPoint(unsigned int point) {
    return &gPositionMap[point / kQuarters][point % kQuarters];
}

// Each ratio's position, and evenly between it and the next one's.
static void Lens_Init_ZPMAP(const Gaps &gaps, unsigned int count) {
    unsigned int point = 0;
    for (unsigned int m = 0; m + 1 < count; ++m) {
        const unsigned int gap = quarterPoint(gaps, m + 1) - point;
        const unsigned int rise = static_cast<unsigned int>(gZRPosition[m + 1] - gZRPosition[m]);
        for (unsigned int past = 0; past < gap; ++past, ++point)
            storeWord(mappedPoint(point),
                      static_cast<unsigned short>(gZRPosition[m] + past * rise / gap));
    }
    storeWord(mappedPoint(point), gZRPosition[count - 1]);
}

// Another thread may set the count meanwhile: the maps end as the count does.
static void build(bool positionsToo) {
    unsigned int asked;
    do {
        asked = loadWord(&gOSDMultipleMax);
        const unsigned int count = countOf(asked);
        const Gaps gaps = gapsBetween(count);
        announce(gaps);
        const unsigned int version = beginChange(&mapsVersion);
        fillRatioMap(gaps, count);
        if (positionsToo)
            Lens_Init_ZPMAP(gaps, count);
        endChange(&mapsVersion, version);
    } while (!exchangeWord(&gOSDMultipleMax, asked, asked));
}

void Lens_Init_OSDMULMAP(void) {
    build(false);
}

void buildRatioMaps() {
    build(true);
}

unsigned short position16OfGridPoint(int index1, int index2) {
    return loadWord(&gPositionMap[index1][index2]);
}

static unsigned short readPoint(int point) {
    return loadWord(mappedPoint(static_cast<unsigned int>(point)));
}

int firstPointAtOrAbove(unsigned short rzp) {
    unsigned int version;
    int point;
    do {
        version = awaitWhole(&mapsVersion);
        point = rzp >= readPoint(kTelePoint) ? kTelePoint : 0;
        while (point < kTelePoint && readPoint(point) < rzp)
            ++point;
    } while (hasChanged(&mapsVersion, version));
    return point;
}

// ---- The count ----

static int refuseCount(const char *function, int line, unsigned int multiple) {
    tracePrefix(function, line);
    printf("Invaled osd multiple %d.\n", static_cast<int>(multiple));
    return -1;
}

int Lens_Init_OSDMultiple(unsigned int multiple) {
    if (!isValidCount(multiple))
        return refuseCount(__func__, __LINE__, multiple);
    replaceWord(&gOSDMultipleMax, multiple);
    return 0;
}

int Lens_Reset_OSDMULMAP(unsigned int multiple) {
    if (!isValidCount(multiple))
        return refuseCount(__func__, __LINE__, multiple);
    if (multiple == loadWord(&gOSDMultipleMax))
        return 0;
    replaceWord(&gOSDMultipleMax, multiple);
    buildRatioMaps();
    if (!hasRecord())
        return 0; // nowhere to publish to, and before start-up no grid to find the position on
    const unsigned int zoom = zoomPosition();
    Lens_Map_ZPosition(zoom);
    publishZoomFrom(zoom);
    return 0;
}

// ---- Publishing where the lens stands ----

// Index of the ratio shown at a 16-bit position; -1 when the position is above the last ratio's.
static int findRatio(unsigned short rzp, unsigned int count) {
    for (unsigned int m = 0; m < count; ++m) {
        const bool isBelowNext = m + 1 < kMostRatios && rzp < gZRPosition[m + 1];
        if (rzp == gZRPosition[m] || isBelowNext)
            return static_cast<int>(m);
    }
    return -1;
}

// An empty entry is one of maps that are just being built for fewer ratios.
static void publishZoom(unsigned short rzp) {
    publishZoomPosition16(rzp);
    const int m = findRatio(rzp, countOf(loadWord(&gOSDMultipleMax)));
    const int ratio = m < 0 ? 0 : loadWord(&gOSDMultipleMap[m].ratio);
    if (ratio != 0)
        Lens_Set_Multiple(ratio);
}

unsigned short Lens_Map_ZPosition(unsigned int azp) {
    int index1, index2;
    if (Lens_Get_ZoomIndex(&index1, &index2, azp) != 0)
        return kOutsideGrid;
    unsigned int version;
    unsigned short rzp;
    do { // the host may change the count meanwhile: what it publishes by the new maps must stay
        version = awaitWhole(&mapsVersion);
        rzp = readPoint(index1 * kQuarters + index2);
        if (hasRecord())
            publishZoom(rzp);
    } while (!exchangeWord(&mapsVersion, version, version)); // unlike a load, not before the above
    return rzp;
}

void publishZoomFrom(unsigned int published) {
    while (!exchangeWord(&ZM_Step_Local, published, published)) {
        published = zoomPosition();
        Lens_Map_ZPosition(published);
    }
}

void publishFocusFrom(unsigned int published) {
    while (!exchangeWord(&FM_Step_Local, published, published)) {
        published = focusPosition();
        Lens_Map_FPosition(published);
    }
}

int Lens_Set_Multiple(int value) {
    if (exchangeWord(&multipleOld, value, value))
        return 0; // asked so, since the position that it belongs to has just been stored
    replaceWord(&multipleOld, value);
    int shown;
    do { // two threads may change the ratio at once: the text ends as the ratio does
        shown = loadWord(&multipleOld);
        fCallbakSetMultiple(shown);
    } while (!exchangeWord(&multipleOld, shown, shown));
    return 0;
}

// 49152 at the near end of the travel, 4096 at its far end. A counter below the origin, or ranges
// that are not set yet, would give what no unsigned number holds: that is published as 0.
unsigned short position16OfFocus(unsigned int focus) {
    const float range = static_cast<float>(PI_Near_Range + PI_Far_Range);
    const float share = static_cast<float>(focus - FM_Step_Start) / range;
    const float position = kNearPosition16 - share * kFocusRange16;
    return position > 0 ? static_cast<unsigned short>(static_cast<unsigned int>(position)) : 0;
}

unsigned short Lens_Map_FPosition(unsigned int afp) {
    const unsigned short rfp = position16OfFocus(afp);
    publishFocusPosition16(rfp);
    return rfp;
}

unsigned int focusOfPosition16(unsigned short rfp) {
    const float range = static_cast<float>(PI_Near_Range + PI_Far_Range);
    const float share = (kNearPosition16 - static_cast<float>(rfp)) / kFocusRange16;
    const float steps = share * range + 0.5f;
    return FM_Step_Start + (steps > 0 ? static_cast<unsigned int>(steps) : 0);
}

unsigned short position16OfZoom(unsigned int zoom) {
    const int section = findZoomSection(zoom);
    if (section < 0)
        return kOutsideGrid;
    const int quarter =
        section == kTeleTag
            ? 0
            : static_cast<int>((zoom - ZM_Step_Run[section]) / quarterLength(section));
    return position16OfGridPoint(section, quarter);
}
