#include "lens_models/lens_model.h"

#include "lens_models/curve_table.h"

namespace vcam {

static constexpr int kUsualType = 1;

// The zoom sensor of B still reads 1 at its very edge 6744 when it comes from the wide side, so its
// upper side begins one step later; likewise A's focus.
static constexpr LensModel kModels[] = {
    {"A",
     {{5552 + 4720, 5552, 1, +1}, {2192 + 2192, 2193, 0, -1}},
     10000,
     &kInfinityCurve,
     &kTwoMetreCurve},
    {"B",
     {{6744 + 4296, 6745, 0, -1}, {1360 + 3520, 1360, 1, +1}},
     10216,
     &kInfinityCurve,
     &kTwoMetreCurve},
};
static constexpr int kModelCount = sizeof kModels / sizeof kModels[0];

const LensModel &lensModelOf(int lensType) {
    return kModels[lensType >= 0 && lensType < kModelCount ? lensType : kUsualType];
}

bool findLensType(const std::string &name, int &lensType) {
    for (int type = 0; type < kModelCount; ++type) {
        if (name == kModels[type].name) {
            lensType = type;
            return true;
        }
    }
    return false;
}

std::string nameLensModels() {
    std::string names = kModels[0].name;
    for (int type = 1; type < kModelCount; ++type)
        names += (type + 1 < kModelCount ? ", " : " or ") + std::string(kModels[type].name);
    return names;
}

} // namespace vcam
