#include "lens_models/lens_model.h"

#include "lens_models/curve_table.h"

namespace vcam {

// The zoom sensor of B still reads 1 at its very edge 6744 when it comes from the wide side, so its
// upper side begins one step later; likewise A's focus.
static constexpr LensModel kModels[] = {
    {0,
     "A",
     {{5552 + 4720, 5552, 1, +1}, {2192 + 2192, 2193, 0, -1}},
     10000,
     &kInfinityCurve,
     &kTwoMetreCurve},
    {1,
     "B",
     {{6744 + 4296, 6745, 0, -1}, {1360 + 3520, 1360, 1, +1}},
     10216,
     &kInfinityCurve,
     &kTwoMetreCurve},
};
static constexpr int kModelCount = sizeof kModels / sizeof kModels[0];
static constexpr const LensModel &kUsualModel = kModels[1];

const LensModel &lensModelOf(int lensType) {
    for (const LensModel &model : kModels)
        if (model.lensType == lensType)
            return model;
    return kUsualModel;
}

bool findLensType(const std::string &name, int &lensType) {
    for (const LensModel &model : kModels) {
        if (name == model.name) {
            lensType = model.lensType;
            return true;
        }
    }
    return false;
}

std::string nameLensModels() {
    std::string names = kModels[0].name;
    for (int row = 1; row < kModelCount; ++row)
        names += (row + 1 < kModelCount ? ", " : " or ") + std::string(kModels[row].name);
    return names;
}

} // namespace vcam
