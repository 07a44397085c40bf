#include "af_lens/model/half_depth.h"

#include "af_lens/model/zoom_grid.h"
#include "platform/arithmetic.h"

#include <string.h>

// F-number times circle of confusion over the image shift of one focus step, for a lens of 4.7 to
// 84.6 mm, f/1.6 to f/4.4 and a circle of one pixel of 2.9 um, between the built-in lines.
static const float kHalfDepths[kTagPoints] = {
    9.24f, 7.40f, 5.36f, 4.16f, 3.41f, 3.04f, 2.69f, 2.58f,
    2.33f, 2.17f, 2.11f, 2.15f, 2.27f, 2.41f, 2.61f, 2.82f,
};

static const float kLearningShare = 0.25f;
static float gains[kTagPoints]; // over 1, learned

float halfDepthSteps(int index1) {
    const int tag = clampBetween(0, index1, kTeleTag);
    return kHalfDepths[tag] * (1 + gains[tag]);
}

void learnHalfDepth(int index1, float factor) {
    const int tag = clampBetween(0, index1, kTeleTag);
    const float measured = clampBetween(0.5f, (1 + gains[tag]) * factor, 2.0f) - 1;
    gains[tag] += (measured - gains[tag]) * kLearningShare;
}

void forgetHalfDepths() {
    memset(gains, 0, sizeof gains);
}
