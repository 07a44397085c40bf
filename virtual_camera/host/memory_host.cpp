#include "host/memory_host.h"

#include "clock/unobserved.h"
#include "devices/serial_port.h"

namespace vcam {

Host &host() {
    static Host theHost;
    return theHost;
}

static int savePosition(unsigned zoom, unsigned focus) {
    const Unobserved unobserved; // who reads along does so on another thread
    host().savedPositions.emplace_back(zoom, focus);
    return host().storeResult;
}

static int loadPosition(unsigned *zoom, unsigned *focus) {
    *zoom = host().zoom;
    *focus = host().focus;
    return host().hasPosition ? 0 : -1;
}

static int savePresets(PRESET_INF *presets) {
    const Unobserved unobserved; // who reads along does so on another thread
    host().presets = *presets;
    host().savedPresetTables += 1;
    return host().storeResult;
}

static int loadPresets(PRESET_INF *presets) {
    *presets = host().presets;
    return host().hasPresets ? 0 : -1;
}

static int saveFocusLine(FOCUS_POINT *line) {
    const Unobserved unobserved; // who reads along does so on another thread
    host().focusLine = *line;
    host().savedFocusLines += 1;
    return host().storeResult;
}

static int loadFocusLine(FOCUS_POINT *line) {
    *line = host().focusLine;
    return host().hasFocusLine ? 0 : -1;
}

static int switchDayNight(int mode) {
    const Unobserved unobserved; // who reads along does so on another thread
    host().dayNightRequests.push_back(mode);
    return 0;
}

void introduceHost() {
    AF_Manager_Init_LensPosition_API(savePosition, loadPosition);
    AF_Manager_Init_PresetInfo_API(savePresets, loadPresets);
    AF_Manager_Init_FocusPoint_API(saveFocusLine, loadFocusLine);
    AF_Manager_Init_DayNightModeFun_API(switchDayNight);
    AF_Manager_Init_UsartFd_API(serialDescriptor());
}

} // namespace vcam
