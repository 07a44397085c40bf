#include "af_lens/model/preset_table.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/zoom_ratio.h"
#include "autofocus.h"
#include "autofocus/callbacks.h"
#include "platform/claim.h"
#include "platform/shared_word.h"
#include "platform/trace.h"
#include "platform/version.h"

#include <string.h>

Lens_AP_ST g_APGroupInfo;
Lens_RP_ST g_RPGroupInfo;

static_assert(sizeof(Lens_AP_ST) == sizeof(PRESET_INF), "the host gets the table itself");
static_assert(sizeof(Lens_AP_ST) == 2040, "the host's record is 2040 bytes");

bool isPresetNumber(int pst) {
    return pst >= 0 && pst < AF_PRESET_COUNT;
}

// Whoever changes the table or hands it to the host holds it until the host is done: the host is
// never called twice at once, and what it is handed does not change under its eyes.
static Claim table;
static const int kMostWaitMs = 1000;

// Odd while a pair is being stored: tells a reader whether the pair has changed under its eyes.
static unsigned int tableVersion = 0;

// Holding the table.
static void storePreset(int pst, unsigned int zoom, unsigned int focus) {
    const unsigned int version = beginChange(&tableVersion);
    storeWord(&g_APGroupInfo.aZPosition[pst], zoom);
    storeWord(&g_APGroupInfo.aFPosition[pst], focus);
    endChange(&tableVersion, version);
}

void readPreset(int pst, unsigned int *zoom, unsigned int *focus) {
    unsigned int version;
    do {
        version = awaitWhole(&tableVersion);
        *zoom = loadWord(&g_APGroupInfo.aZPosition[pst]);
        *focus = loadWord(&g_APGroupInfo.aFPosition[pst]);
    } while (hasChanged(&tableVersion, version));
}

static int loadPresets() {
    if (Lens_Read_PresetInfo() != 0)
        return -1;
    for (int pst = 0; pst < AF_PRESET_COUNT; ++pst) {
        unsigned int zoom, focus;
        readPreset(pst, &zoom, &focus);
        if (zoom == 0 || focus == 0)
            continue;
        if (Lens_Map_PstPosition(static_cast<unsigned char>(pst), zoom, focus) != 0)
            return -1;
    }
    return 0;
}

// With the record there are presets to set, but not before those that the host keeps are loaded. A
// host that clears one before the start holds the start up until its callback returns.
int Lens_Init_PresetInfo(void) {
    if (holdsClaim(&table))
        return -1; // called from inside a preset callback
    while (!awaitClaim(&table, kMostWaitMs)) {
    }
    const bool isCreated = createRecord();
    const int result = isCreated ? loadPresets() : -1;
    giveBackClaim(&table);
    if (!isCreated)
        printf("__%s____Failure____\n", __func__);
    return result;
}

int Lens_Read_PresetInfo(void) {
    memset(&g_APGroupInfo, 0, sizeof g_APGroupInfo);
    if (fCallbakGetPreset(&g_APGroupInfo) != 0) {
        memset(&g_APGroupInfo, 0, sizeof g_APGroupInfo); // whatever a failing host has left there
        printf("%s Error!\n", __func__);
        return -1;
    }
    return 0;
}

int Lens_Write_PresetInfo(int pst, unsigned int azp, unsigned int afp) {
    if (!isPresetNumber(pst)) {
        printf("__%s Error pst = %d.\n", __func__, pst);
        return -1;
    }
    storePreset(pst, azp, afp);
    return fCallbakSetPreset(&g_APGroupInfo);
}

int Lens_Map_PstPosition(unsigned char pst, unsigned int azp, unsigned int afp) {
    if (!isPresetNumber(pst)) {
        printf("__%s Error pst = %d.\n", __func__, pst);
        return -1;
    }
    storeWord(&g_RPGroupInfo.rZPosition[pst], Lens_Map_ZPosition(azp));
    storeWord(&g_RPGroupInfo.rFPosition[pst], Lens_Map_FPosition(afp));
    return 0;
}

int Lens_Set_Preset(int pst) {
    if (!hasRecord()) {
        printf("__%s__af share buffer is null__\n", __func__);
        return -1;
    }
    if (!isPresetNumber(pst)) {
        printf("__%s__Invaled preset %d__\n", __func__, pst);
        return -1;
    }
    const unsigned int zoom = zoomPosition();
    const unsigned int focus = focusPosition();
    TRACE_FORMAT("zLocation = %d fLocation = %d pst = %d__\n", static_cast<int>(zoom),
                 static_cast<int>(focus), pst);
    if (!isPositionWorthKeeping())
        return -1;
    if (!isInsideLimits(zoom, focus)) {
        printf("__%s Error zp = %d or fp = %d.\n", __func__, static_cast<int>(zoom),
               static_cast<int>(focus));
        return -1;
    }
    if (!awaitClaim(&table, kMostWaitMs))
        return -1;
    Lens_Map_PstPosition(static_cast<unsigned char>(pst), zoom, focus);
    publishZoomFrom(zoom);
    publishFocusFrom(focus);
    const int result = Lens_Write_PresetInfo(pst, zoom, focus);
    giveBackClaim(&table);
    return result != 0 ? -1 : 0;
}

int Lens_Clear_Preset(int pst) {
    if (!isPresetNumber(pst)) {
        printf("__%s__Invaled preset %d__\n", __func__, pst);
        return -1;
    }
    if (!awaitClaim(&table, kMostWaitMs))
        return -1;
    storeWord(&g_RPGroupInfo.rZPosition[pst], 0);
    storeWord(&g_RPGroupInfo.rFPosition[pst], 0);
    const int result = Lens_Write_PresetInfo(pst, 0, 0);
    giveBackClaim(&table);
    return result;
}

int findPresetAtPosition16(unsigned short rzp) {
    for (int pst = 0; pst < AF_PRESET_COUNT; ++pst) {
        unsigned int zoom, focus;
        readPreset(pst, &zoom, &focus);
        const bool set = zoom != 0 && focus != 0;
        if (set && loadWord(&g_RPGroupInfo.rZPosition[pst]) == rzp)
            return pst;
    }
    return -1;
}
