#include "preload/settings.h"

#include "clock/virtual_clock.h"
#include "option_table.h"

#include <cctype>
#include <cstring>
#include <unistd.h>

namespace vcam {

static constexpr int64_t kUsPerMs = 1000;
static constexpr int64_t kAfterScriptUs = 30000 * kUsPerMs;
static constexpr uint64_t kLongestRunMs = INT64_MAX / kUsPerMs;
static const char kPrefix[] = "VIRTUAL_CAMERA";

/// "zoom-start" is VIRTUAL_CAMERA_ZOOM_START.
std::string nameVariable(const Option &option) {
    std::string name = std::string(kPrefix) + "_";
    for (const char letter : option.name)
        name += letter == '-' ? '_' : static_cast<char>(toupper(letter));
    return name;
}

static std::string takeOptionOfCamera(CameraOptions &camera, const std::string &name,
                                      const std::string &value) {
    for (const Option &option : allOptions()) {
        if (nameVariable(option) == name)
            return takeOption(option, value, camera);
    }
    return "there is no such setting";
}

static std::string takeEnd(RunSettings &settings, const std::string &value) {
    uint64_t endMs = 0;
    if (!parseWhole(value, endMs) || endMs > kLongestRunMs)
        return value + " is no whole number of milliseconds";
    settings.endUs = static_cast<int64_t>(endMs) * kUsPerMs;
    return "";
}

static std::string takeForced(RunSettings &settings, const std::string &value) {
    settings.isForced = value == "on";
    return settings.isForced ? "" : value + " is not on";
}

static bool take(RunSettings &settings, const std::string &name, const std::string &value,
                 std::string &error) {
    std::string complaint;
    if (name == kPrefix + std::string("_SCRIPT"))
        return readScript(value, settings.script, error);
    if (name == kPrefix)
        complaint = takeForced(settings, value);
    else if (name == kPrefix + std::string("_END_MS"))
        complaint = takeEnd(settings, value);
    else
        complaint = takeOptionOfCamera(settings.camera, name, value);
    if (!complaint.empty())
        error = name + ": " + complaint;
    return complaint.empty();
}

/// At unlimited pace a run without an end would never be of use; one that people watch may go on.
static int64_t chooseEnd(const RunSettings &settings) {
    if (settings.endUs > 0)
        return settings.endUs;
    if (settings.camera.pace > 0)
        return kForeverUs;
    return (settings.script.empty() ? 0 : settings.script.back().timeUs) + kAfterScriptUs;
}

bool readSettings(RunSettings &settings, std::string &error) {
    settings.camera.consoleFile = "-";
    for (char **entry = environ; *entry != nullptr; ++entry) {
        const char *equals = strchr(*entry, '=');
        if (strncmp(*entry, kPrefix, strlen(kPrefix)) != 0 || equals == nullptr)
            continue;
        const std::string name(*entry, static_cast<size_t>(equals - *entry));
        if (!take(settings, name, equals + 1, error))
            return false;
    }
    settings.endUs = chooseEnd(settings);
    return true;
}

} // namespace vcam
