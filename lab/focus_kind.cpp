// A unit's camera has a seed, curves and a lens model of its own. Its runs follow one another with
// a second of rest between them, in which the library learns how much the picture flickers.
#include "focus_kind.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "camera_options.h"
#include "cell.h"
#include "clock/seeded_random.h"
#include "clock/virtual_clock.h"
#include "optics/lens_curves.h"
#include "row_text.h"
#include "stage.h"

namespace lab {

static constexpr int kRunsPerUnit = 20;
static constexpr uint64_t kRunPurpose = 91;
static constexpr int64_t kUsPerMs = 1000;

static RowText playRun(const Cell &cell, const vcam::CameraOptions &camera, long run) {
    vcam::SeededRandom random(static_cast<uint64_t>(run), kRunPurpose);
    const Place place = drawPlace(random, atof(settingOf(cell, "nearest").c_str()));
    takePlace(place, settingOf(cell, "distance").empty());
    const double startError = errorHalfDepths();
    const int64_t orderedMs = vcam::nowUs() / kUsPerMs;
    const Watched watched = focusOnce(cell);
    char row[200];
    snprintf(row, sizeof row, "%ld,%s,%d,%d,%.3f,%d,%.3f,%.1f,%.3f,%ld,%u,%d,%ld,%ld,%d,%d,%ld",
             run, camera.lensType == 0 ? "A" : "B", place.zoom, place.isOnGrid ? 0 : 1,
             place.dioptres, place.focus, roundTo(vcam::halfDepthStepsAt(place.zoom), 0.001),
             roundTo(startError, 0.1), roundTo(errorHalfDepths(), 0.001),
             static_cast<long>(watched.frames), watched.samples, watched.reversals,
             static_cast<long>(watched.steps), static_cast<long>(watched.ms), watched.outcome,
             watched.isFarOut ? 1 : 0, static_cast<long>(orderedMs));
    rest();
    return row;
}

static std::vector<RowText> playUnit(const Cell &cell, const vcam::CameraOptions &camera,
                                     long unit) {
    return playRuns(cell, camera, unit * kRunsPerUnit, kRunsPerUnit, playRun);
}

Kind makeFocusKind() {
    return {"focus",
            "one autofocus from anywhere, at any zoom, on an object anywhere",
            kRunsPerUnit,
            {{"run", "INTEGER"},
             {"lens", "TEXT"},
             {"zoom", "INTEGER"},
             {"off_grid", "INTEGER"},
             {"dioptres", "REAL"},
             {"start", "INTEGER"},
             {"half_depth", "REAL"},
             {"start_error", "REAL"},
             {"error", "REAL"},
             {"frames", "INTEGER"},
             {"samples", "INTEGER"},
             {"reversals", "INTEGER"},
             {"steps", "INTEGER"},
             {"ms", "INTEGER"},
             {"verdict", "INTEGER"},
             {"far_out", "INTEGER"},
             {"at_ms", "INTEGER"}},
            nullptr,
            playUnit};
}

} // namespace lab
