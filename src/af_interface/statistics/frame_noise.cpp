#include "af_interface/statistics/frame_noise.h"

#include "af_interface/statistics/statistics.h"
#include "autofocus/statistics.h"
#include "platform/shared_word.h"

#include <math.h>

static const unsigned int kFramesAtRest = 3; // until the lens and the exposure have settled
static const float kLearningShare = 1.0f / 16;
static const float kChangeOfScene = 0.1f;       // a larger difference is no noise
static const float kMeanOfDifferences = 1.128f; // mean distance of two values, in deviations
static const float kGainOfOne = 1024;

namespace {
struct Watched {
    float assumed; // deviation at gain 1: 0.8 % a zone, averaged
    float sigma;   // shared
    float previous;
};
} // namespace

static Watched centre = {0.0024f, 0.0024f, 0};
static Watched all = {0.0014f, 0.0014f, 0};
static unsigned int framesAtRest = 0;
static float knownGain = 0;

static float gainOf(const AF_Statistics_Info &record) {
    const float analogue = static_cast<float>(record.AGain) / kGainOfOne;
    const float digital = static_cast<float>(record.DGain) / kGainOfOne;
    return analogue * digital * static_cast<float>(record.ISPGain) / kGainOfOne;
}

static void watch(Watched *watched, unsigned int afv) {
    const float value = static_cast<float>(afv);
    const float difference = fabsf(value - watched->previous);
    watched->previous = value;
    if (framesAtRest <= kFramesAtRest || difference >= kChangeOfScene * value)
        return;
    const float seen = difference / (value * kMeanOfDifferences);
    storeWord(&watched->sigma, watched->sigma + (seen - watched->sigma) * kLearningShare);
}

void watchNoise(const AF_Statistics_Info &record) {
    const float gain = gainOf(record);
    if (gain != knownGain) {
        const float growth = sqrtf(gain > 1 ? gain : 1);
        storeWord(&centre.sigma, centre.assumed * growth);
        storeWord(&all.sigma, all.assumed * growth);
        knownGain = gain;
    }
    framesAtRest = loadWord(&g_AutoCheckFlag) != 0 ? framesAtRest + 1 : 0;
    watch(&centre, record.vwV1SumHalf);
    watch(&all, record.vwV1SumAll);
}

float noiseShareAt(int index1) {
    return loadWord(isJudgedByAll(index1) ? &all.sigma : &centre.sigma);
}
