#include "kind.h"

#include "focus_kind.h"
#include "refocus_kinds.h"
#include "tracking_kind.h"

namespace lab {

vcam::CameraOptions makeUnit(long unit) {
    vcam::CameraOptions options;
    options.seed = static_cast<uint64_t>(unit) + 1;
    options.lensType = static_cast<int>(unit % 2);
    return options;
}

const std::vector<Kind> &allKinds() {
    static const std::vector<Kind> kinds = {makeFocusKind(), makeStillKind(), makeChangeKind(),
                                            makeDriftKind(), makeTrackingKind()};
    return kinds;
}

const Kind *findKind(const std::string &name) {
    for (const Kind &kind : allKinds()) {
        if (name == kind.name)
            return &kind;
    }
    return nullptr;
}

} // namespace lab
