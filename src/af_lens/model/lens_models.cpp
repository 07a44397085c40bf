#include "af_lens/model/lens_models.h"

#include "autofocus.h"
#include "autofocus/types.h"

static const struct {
    int lensType;
    LensModel model;
} kRows[] = {
    {LENS_B,
     {{6744, 4296, 216, 552, MS_Z_WIDE, MS_Z_TELE}, {1360, 3520, 0, 12, MS_F_FAR, MS_F_NEAR}}},
    {LENS_A,
     {{5552, 4720, 0, 192, MS_Z_TELE, MS_Z_WIDE}, {2192, 2192, 0, 568, MS_F_NEAR, MS_F_FAR}}},
};

const LensModel &lensModelOf(int lensType) {
    for (const auto &row : kRows)
        if (row.lensType == lensType)
            return row.model;
    return kRows[0].model;
}
