#include "af_interface/statistics/frame_noise.h"

#include "af_interface/statistics/statistics.h"
#include "autofocus/statistics.h"
#include "platform/shared_word.h"

#include <math.h>

static const unsigned int kFramesAtRest = 3; // until the lens and the exposure have settled
static const int kFramesToLearn = 16;
static const float kLearningShare = 1.0f / 16;
static const float kChangeOfScene = 0.1f;       // a larger difference is no noise
static const float kMeanOfDifferences = 1.128f; // mean distance of two values, in deviations
static const float kAssumedCentre = 0.0024f;    // deviations at gain 1: 0.8 % a zone, averaged
static const float kAssumedAll = 0.0014f;
static const float kGainOfOne = 1024;

namespace {
struct Watched {
    float previous;
    float meanDifference;
    float sigma; // shared
    float assumed;
};
} // namespace

static Watched centre = {0, 0, kAssumedCentre, kAssumedCentre};
static Watched all = {0, 0, kAssumedAll, kAssumedAll};
static unsigned int framesAtRest = 0;
static int learned = 0;
static float knownGain = 0;

static float gainOf(const AF_Statistics_Info &record) {
    const float analogue = static_cast<float>(record.AGain) / kGainOfOne;
    const float digital = static_cast<float>(record.DGain) / kGainOfOne;
    return analogue * digital * static_cast<float>(record.ISPGain) / kGainOfOne;
}

static void assume(Watched *watched, float gain) {
    watched->meanDifference = 0;
    storeWord(&watched->sigma, watched->assumed * sqrtf(gain > 1 ? gain : 1));
}

static void learn(Watched *watched, float value) {
    const float difference = value > 0 ? fabsf(value - watched->previous) / value : 0;
    if (difference > kChangeOfScene)
        return;
    const float share =
        learned < kFramesToLearn ? 1.0f / static_cast<float>(learned + 1) : kLearningShare;
    watched->meanDifference += (difference - watched->meanDifference) * share;
    if (learned >= kFramesToLearn)
        storeWord(&watched->sigma, watched->meanDifference / kMeanOfDifferences);
}

void watchNoise(const AF_Statistics_Info &record) {
    const float gain = gainOf(record);
    if (gain != knownGain) {
        knownGain = gain;
        learned = 0;
        assume(&centre, gain);
        assume(&all, gain);
    }
    framesAtRest = loadWord(&g_AutoCheckFlag) != 0 ? framesAtRest + 1 : 0;
    const float centreValue = static_cast<float>(record.vwV1SumHalf);
    const float allValue = static_cast<float>(record.vwV1SumAll);
    if (framesAtRest > kFramesAtRest) {
        learn(&centre, centreValue);
        learn(&all, allValue);
        learned += learned < kFramesToLearn ? 1 : 0;
    }
    centre.previous = centreValue;
    all.previous = allValue;
}

float noiseShareAt(int index1) {
    return loadWord(isJudgedByAll(index1) ? &all.sigma : &centre.sigma);
}
