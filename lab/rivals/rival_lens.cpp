#include "rivals/rival_lens.h"

#include <algorithm>
#include <cstdlib>

#include "autofocus/focus_lines.h"
#include "autofocus/lens_state.h"
#include "autofocus/moves.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "optics/lens_curves.h"
#include "platform/shared_word.h"

namespace lab {

static constexpr int kLastCentreTag =
    12;                              // beyond it the whole picture is judged, as by the library
static constexpr int kWidening = 96; // steps, either side

RivalLens::RivalLens(const std::function<void()> &atEachFrame) : lookOn(atEachFrame) {
    Lens_Get_ZoomIndex(&tag, &quarter, loadWord(&ZM_Step_Local));
}

int RivalLens::position() {
    return static_cast<int>(loadWord(&FM_Step_Local));
}

void RivalLens::moveTo(int target) {
    const int to =
        std::clamp(target, static_cast<int>(FM_Near_Limit), static_cast<int>(FM_Far_Limit));
    const int way = to - position();
    if (way == 0)
        return;
    const int heading = way > 0 ? 1 : -1;
    turned += direction != 0 && heading != direction ? 1 : 0;
    direction = heading;
    travelled += std::abs(way);
    lensMotorFocusRunSteps(way > 0 ? MS_F_FAR : MS_F_NEAR, std::abs(way));
}

double RivalLens::look(int frames) {
    double sum = 0;
    for (int frame = 0; frame < frames; ++frame) {
        lookOn();
        AF_Statistics_Info record;
        afStatisticsFresh(&record);
        sum += tag > kLastCentreTag ? record.vwV1SumAll : record.vwV1SumHalf;
        looked += 1;
    }
    return sum / frames;
}

double RivalLens::lookAt(int target, int frames) {
    moveTo(target);
    return look(frames);
}

FocusRange RivalLens::range() const {
    unsigned near = 0;
    unsigned far = 0;
    Lens_Get_SearchRange(tag, quarter, &near, &far);
    return {std::max(static_cast<int>(near) - kWidening, static_cast<int>(FM_Near_Limit)),
            std::min(static_cast<int>(far) + kWidening, static_cast<int>(FM_Far_Limit))};
}

double RivalLens::halfDepth() {
    return vcam::halfDepthStepsAt(loadWord(&ZM_Step_Local));
}

} // namespace lab
