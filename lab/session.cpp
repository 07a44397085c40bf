#include "session.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "camera_options.h"
#include "condition.h"
#include "kind.h"
#include "searches.h"

namespace lab {

static constexpr double kMsPerTick = 10;
static constexpr int64_t kCancelBefore = 40;
static constexpr int64_t kPlaceBefore = 29; // ticks before the order: a run-up and five frames
static constexpr int64_t kLightStepAfter = 40;
static constexpr int64_t kWatchAfter = 200;

static std::string lineAt(int64_t tick, const std::string &input) {
    return std::to_string(tick) + " " + input + "\n";
}

static std::string spellCamera(const Cell &cell, long unit) {
    const vcam::CameraOptions camera = makeUnit(unit);
    std::string text = "option seed " + std::to_string(camera.seed) + "\n";
    if (settingOf(cell, "lens").empty())
        text += std::string("option lens ") + (camera.lensType == 0 ? "A" : "B") + "\n";
    for (const auto &[name, value] : cell.settings)
        if (allConditions()[placeOf(name)].isCameras)
            text.append("option ").append(name).append(" ").append(value).append("\n");
    for (const auto &[setting, value] : librarySettingsOf(cell))
        text += lineAt(0, "setting " + std::to_string(setting) + " " + std::to_string(value));
    return text;
}

static std::string spellRun(const Cell &cell, const UnitRun &run) {
    const auto order = static_cast<int64_t>(std::lround(run.orderedMs / kMsPerTick));
    std::string text = lineAt(order - kCancelBefore, "order cancel"); // the trigger's run, too
    if (settingOf(cell, "distance").empty())
        text +=
            lineAt(order - kPlaceBefore,
                   "set distance " + (run.dioptres > 0 ? std::to_string(1 / run.dioptres) : "inf"));
    text += lineAt(order - kPlaceBefore, "place " + run.place) + lineAt(order, "order autofocus");
    const double step = atof(settingOf(cell, "light-step").c_str());
    const double light = atof(settingOf(cell, "brightness").c_str());
    const auto end = order + static_cast<int64_t>(run.ms / kMsPerTick) + 1;
    if (step != 1 && end > order + kLightStepAfter)
        text += lineAt(order + kLightStepAfter, "set brightness " + std::to_string(light * step)) +
                lineAt(end, "set brightness " + std::to_string(light));
    return text;
}

std::string spellSession(const Cell &cell, long unit, const std::vector<UnitRun> &runs) {
    std::string text = "session 1\npart\n" + spellCamera(cell, unit);
    for (const UnitRun &run : runs)
        text += spellRun(cell, run);
    const double endMs = runs.back().orderedMs + runs.back().ms;
    return text + lineAt(static_cast<int64_t>(endMs / kMsPerTick) + kWatchAfter, "end");
}

} // namespace lab
