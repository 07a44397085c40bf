#include "autofocus/host/settings_table.h"

#include "autofocus_control.h"
#include "platform/shared_word.h"

namespace {
struct SettingRange {
    signed char least;
    signed char most;
    bool isEarly; // only before start
};
} // namespace

static const SettingRange kRanges[] = {
    {0, 2, true},   // AF_SETTING_SERIAL_REPLIES
    {0, 1, false},  // AF_SETTING_RECOVERY
    {0, 1, false},  // AF_SETTING_FOCUS_SEARCH
    {0, 64, false}, // AF_SETTING_FOCUS_BACKLASH
    {-1, 4, false}, // AF_SETTING_STATISTICS_DELAY
    {0, 1, false},  // AF_SETTING_TRACKING
};

static const int kSettingCount = sizeof kRanges / sizeof kRanges[0];
static int values[kSettingCount];
static bool isStarted = false;

static bool isSetting(int setting) {
    return setting >= 0 && setting < kSettingCount;
}

int settingOf(int setting) {
    return loadWord(&values[setting]);
}

void closeEarlySettings() {
    storeWord(&isStarted, true);
}

int AF_Manager_Set_Setting_API(int setting, int value) {
    if (!isSetting(setting))
        return -1;
    const SettingRange range = kRanges[setting];
    if (value < range.least || value > range.most || (range.isEarly && loadWord(&isStarted)))
        return -1;
    storeWord(&values[setting], value);
    return 0;
}

int AF_Manager_Get_Setting_API(int setting, int *value) {
    if (!isSetting(setting) || value == nullptr)
        return -1;
    *value = settingOf(setting);
    return 0;
}
