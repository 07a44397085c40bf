#include "host.h"

#include "autofocus.h"
#include "autofocus_control.h"

#include <algorithm>
#include <atomic>

namespace demo {

static constexpr char kPositionFile[] = "MotorPosition";
static constexpr char kFocusLineFile[] = "MotorFocusline";
static constexpr char kPresetFile[] = "PresetInfo";

static const FileStore *store = nullptr;
static std::atomic<int> savedPositions{0};
static std::atomic<int> dayNightRequest{0};

// ---- Callbacks: 0 is success; they run on the library's threads ----

static int savePosition(unsigned int zoom, unsigned int focus) {
    const unsigned int record[2] = {zoom, focus};
    savedPositions += 1;
    return store->write(kPositionFile, record, sizeof record) ? 0 : -1;
}

static int loadPosition(unsigned int *zoom, unsigned int *focus) {
    unsigned int record[2];
    if (!store->read(kPositionFile, record, sizeof record))
        return -1;
    *zoom = record[0];
    *focus = record[1];
    return 0;
}

static int savePresets(PRESET_INF *presets) {
    return store->write(kPresetFile, presets, sizeof *presets) ? 0 : -1;
}

static int loadPresets(PRESET_INF *presets) {
    return store->read(kPresetFile, presets, sizeof *presets) ? 0 : -1;
}

static int saveFocusLine(FOCUS_POINT *line) {
    return store->write(kFocusLineFile, line, sizeof *line) ? 0 : -1;
}

static int loadFocusLine(FOCUS_POINT *line) {
    return store->read(kFocusLineFile, line, sizeof *line) ? 0 : -1;
}

static int switchDayNight(int mode) {
    dayNightRequest = mode;
    return 0;
}

static bool make(Setting setting) {
    return AF_Manager_Set_Setting_API(setting.first, setting.second) == 0;
}

bool startHost(const FileStore &fileStore, int serialFd, const std::vector<Setting> &settings) {
    store = &fileStore;
    return std::all_of(settings.begin(), settings.end(), make) &&
           AF_Manager_Init_LensPosition_API(savePosition, loadPosition) == 0 &&
           AF_Manager_Init_PresetInfo_API(savePresets, loadPresets) == 0 &&
           AF_Manager_Init_FocusPoint_API(saveFocusLine, loadFocusLine) == 0 &&
           AF_Manager_Init_DayNightModeFun_API(switchDayNight) == 0 &&
           AF_Manager_Init_UsartFd_API(serialFd) == 0 && AF_Manager_Start_API() == 0;
}

int countSavedPositions() {
    return savedPositions;
}

int lastDayNightRequest() {
    return dayNightRequest;
}

} // namespace demo
