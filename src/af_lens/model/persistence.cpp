// What survives a restart: lens position and infinity line, handed to the host's callbacks and
// read back through them at start-up. Runs on the thread that drives the motors.
#include "autofocus/persistence.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "autofocus/callbacks.h"
#include "autofocus/focus_lines.h"
#include "platform/trace.h"

#include <string.h>
#include <unistd.h>

char fMPosition[128];
char fMFocusline[128];
char fPresetinfo[128];

static const char kPrintLineSwitch[] = "/tmp/afvprintf"; // its existence prints the loaded line
static const size_t kLongestPath = sizeof fMFocusline - sizeof "MotorFocusline";

int lensSetCfgPath(char *path) {
    if (path == nullptr) {
        printf("_%s path is null.\n", __func__);
        return -1;
    }
    if (strlen(path) > kLongestPath)
        return -1;
    snprintf(fMPosition, sizeof fMPosition, "%s%s", path, "MotorPosition");
    snprintf(fMFocusline, sizeof fMFocusline, "%s%s", path, "MotorFocusline");
    snprintf(fPresetinfo, sizeof fPresetinfo, "%s%s", path, "PresetInfo");
    printf("_%s config name :\n%s\n%s\n%s\n", __func__, fMPosition, fMFocusline, fPresetinfo);
    return 0;
}

// Before start-up there is no position, and the one that the host keeps is not to be lost.
int Lens_Save_ZFLocation(void) {
    if (!areLimitsKnown())
        return -1;
    const unsigned int focus = keepFocusInTravel(focusPosition());
    const unsigned int zoom = keepZoomInTravel(zoomPosition());
    setPosition(zoom, focus);
    return isPositionWorthKeeping() ? fCallbakSetZMPosition(zoom, focus) : -1;
}

int Lens_Read_ZFLocation(void) {
    unsigned int zp = 0;
    unsigned int fp = 0;
    if (fCallbakGetZMPosition(&zp, &fp) != 0) {
        printf("%s Error!\n", __func__);
        return -1;
    }
    if (!isInsideLimits(zp, fp)) {
        printf("Invaled zp: %d fp: %d.\n", static_cast<int>(zp), static_cast<int>(fp));
        return -1;
    }
    setPosition(zp, fp);
    return 0;
}

int Lens_Save_FLPosition(void) {
    return fCallbakSetFocusLine(&g_FLineInfo);
}

int Lens_Read_FLPosition(void) {
    memset(&g_FLineInfo, 0, sizeof g_FLineInfo);
    if (fCallbakGetFocusLine(&g_FLineInfo) != 0) {
        memset(&g_FLineInfo, 0, sizeof g_FLineInfo); // whatever a failing host has left there
        printf("%s Error!\n", __func__);
        Lens_Init_FLineInfo();
        return -1;
    }
    if (access(kPrintLineSwitch, F_OK) == 0)
        for (int i = 0; i < kTagPoints; ++i)
            for (int j = 0; j < kQuarters; ++j)
                printf("g_FLineInfo.tagPosition[%d][%d] = %d\n", i, j,
                       static_cast<int>(g_FLineInfo.tagPosition[i][j]));
    return 0;
}
