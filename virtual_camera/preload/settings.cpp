#include "preload/settings.h"

#include "clock/virtual_clock.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace vcam {

static constexpr int64_t kUsPerMs = 1000;
static constexpr int64_t kAfterScriptUs = 30000 * kUsPerMs;
static constexpr int kDecimal = 10;
static const char kPrefix[] = "VIRTUAL_CAMERA";

static bool parseNumber(const std::string &text, int64_t &number) {
    char *end = nullptr;
    number = strtoll(text.c_str(), &end, kDecimal);
    return !text.empty() && *end == '\0' && number >= 0;
}

static bool parsePace(const std::string &text, double &pace) {
    char *end = nullptr;
    pace = strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && std::isfinite(pace) && pace >= 0;
}

static bool parseLens(const std::string &text, int &lensType) {
    lensType = text == "A" ? 0 : 1;
    return text == "A" || text == "B";
}

static bool takeNumber(RunSettings &settings, const std::string &name, const std::string &value,
                       bool &isGood) {
    int64_t number = 0;
    if (name.empty()) {
        settings.isForced = isGood = value == "on";
    } else if (name == "_SEED") {
        isGood = parseNumber(value, number);
        settings.camera.seed = static_cast<uint64_t>(number);
    } else if (name == "_TIES") {
        isGood = parseNumber(value, number);
        settings.camera.tieSeed = static_cast<uint64_t>(number);
    } else if (name == "_END_MS") {
        isGood = parseNumber(value, number);
        settings.endUs = number * kUsPerMs;
    } else if (name == "_PACE") {
        isGood = parsePace(value, settings.camera.pace);
    } else if (name == "_LENS") {
        isGood = parseLens(value, settings.camera.lensType);
    } else {
        return false;
    }
    return true;
}

static bool takePath(CameraOptions &camera, const std::string &name, const std::string &value) {
    const struct {
        const char *name;
        std::string &path;
    } paths[] = {{"_PICTURE", camera.picture},     {"_SCRATCH", camera.scratch},
                 {"_TRACE", camera.traceFile},     {"_VCD", camera.vcdFile},
                 {"_CONSOLE", camera.consoleFile}, {"_SERIAL", camera.serialPath}};
    for (const auto &entry : paths) {
        if (name == entry.name) {
            entry.path = value;
            return true;
        }
    }
    return false;
}

static bool take(RunSettings &settings, const std::string &name, const std::string &value,
                 std::string &error) {
    if (name == "_SCRIPT")
        return readScript(value, settings.script, error);
    if (takePath(settings.camera, name, value))
        return true;
    bool isGood = false;
    if (!takeNumber(settings, name, value, isGood))
        error = kPrefix + name + ": there is no such setting";
    else if (!isGood)
        error = kPrefix + name + "=" + value + ": not a value that it can have";
    return error.empty();
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
        const char *const nameStart = *entry + strlen(kPrefix);
        const std::string name(nameStart, static_cast<size_t>(equals - nameStart));
        if (!take(settings, name, equals + 1, error))
            return false;
    }
    settings.endUs = chooseEnd(settings);
    return true;
}

} // namespace vcam
