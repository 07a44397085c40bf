#include "af_lens/focus/robust/bracket.h"

#include "af_lens/focus/robust/look.h"
#include "af_lens/focus/verdict/clear_difference.h"
#include "af_lens/model/lens_state.h"
#include "platform/arithmetic.h"

#include <limits.h>
#include <math.h>
#include <stdlib.h>

// Out of focus the wide value falls with the distance from the peak by a power that the disc of
// blur gives it: the cube root of its square, less the floor's, is inverse to the distance. So two
// looks on both sides say where between them the peak is.

static const float kFirstJump = 10; // half depths
static const float kLongestJump = 110;
static const float kLongestInNoise = 40;
static const int kLeastFirst = 16; // steps
static const int kLeastLongest = 24;
static const int kMostLongest = 192;
static const int kGrowthInFifths = 9;
static const float kMuchNoise = 0.004f;
static const float kLeastFall = 0.03f;
static const float kFallDeviations = 5;
static const float kLeastContrast = 1.0f / 7;
static const float kNarrowEnough = 7; // half depths
static const float kTooNear = 2;
static const float kStepAside = 2.5f;
static const int kInsideInTwentieths = 3; // of the bracket
static const float kFloorShare = 0.8f;

static void insert(Looks *looks, const Look &look) {
    int place = looks->count++;
    for (; place > 0 && looks->at[place - 1].position > look.position; --place)
        looks->at[place] = looks->at[place - 1];
    looks->at[place] = look;
}

static int findBest(const Looks &looks) {
    int best = 0;
    for (int i = 1; i < looks.count; ++i)
        if (looks.at[i].wide > looks.at[best].wide)
            best = i;
    return best;
}

static bool lookAt(int position, Looks *looks) {
    Look look;
    if (!driveTo(position) || !lookHere(&look))
        return false;
    insert(looks, look);
    looks->best = findBest(*looks);
    looks->lowest = minOf(looks->lowest, look.wide);
    return true;
}

static int halfDepthsBetween(int least, float number, int most) {
    return clampBetween(least, halfDepths(number), most);
}

// ---- Jumps

// The next look on one side, -1 or 1, of the highest that is clearly lower.
static bool isLowerBeside(const Looks &looks, int side) {
    const float fall = clearShare(kLeastFall, kFallDeviations, looking.wideNoise);
    for (int i = looks.best + side; i >= 0 && i < looks.count; i += side)
        if (isClearlyLower(looks.at[i].wide, looks.at[looks.best].wide, fall))
            return true;
    return false;
}

static int longestJump() {
    const float longest = looking.noise > kMuchNoise ? kLongestInNoise : kLongestJump;
    return halfDepthsBetween(kLeastLongest, longest, kMostLongest);
}

// The side to go on, 0 when both are known.
static int chooseSide(const Looks &looks, int present) {
    const int last = looks.count - 1;
    const bool isNearOpen = looks.at[0].position > looking.near && !isLowerBeside(looks, -1);
    const bool isFarOpen = looks.at[last].position < looking.far && !isLowerBeside(looks, 1);
    if (!isNearOpen || !isFarOpen)
        return isFarOpen ? 1 : isNearOpen ? -1 : 0;
    return looks.best == last ? 1 : looks.best == 0 ? -1 : present;
}

static bool jump(Looks *looks) {
    int length = halfDepthsBetween(kLeastFirst, kFirstJump, kMostLongest);
    int side = 1;
    while (looks->count < kMostLooks / 2 && (side = chooseSide(*looks, side)) != 0) {
        const int from = looks->at[side < 0 ? 0 : looks->count - 1].position;
        if (!lookAt(from + side * length, looks))
            return false;
        length = minOf(length * kGrowthInFifths / 5, longestJump());
    }
    return true;
}

// ---- Narrowing

static float nearness(const Look &look, unsigned int lowest) {
    const float value = static_cast<float>(look.wide);
    const float floor = static_cast<float>(lowest);
    return cbrtf(maxOf(value * value - kFloorShare * floor * floor, 1.0f));
}

static void describe(const Looks &looks, Bracket *bracket) {
    const Look &left = looks.at[maxOf(looks.best - 1, 0)];
    const Look &right = looks.at[minOf(looks.best + 1, looks.count - 1)];
    const float toLeft = nearness(left, looks.lowest);
    const float toRight = nearness(right, looks.lowest);
    bracket->width = right.position - left.position;
    bracket->estimate = left.position + static_cast<int>(static_cast<float>(bracket->width) *
                                                         toRight / (toLeft + toRight));
    if (looks.best == 0 || looks.best == looks.count - 1)
        bracket->estimate = looks.at[looks.best].position;
}

// Aside of the best look, on the wider side, when the estimate is too near to it.
static int chooseNext(const Looks &looks, const Bracket &bracket) {
    const int left = looks.at[maxOf(looks.best - 1, 0)].position;
    const int inside = bracket.width * kInsideInTwentieths / 20;
    const int centre = looks.at[looks.best].position;
    int next = bracket.estimate;
    if (abs(next - centre) <= halfDepths(kTooNear)) {
        const int aside = halfDepths(kStepAside);
        next = 2 * (centre - left) < bracket.width ? centre + aside : centre - aside;
    }
    return clampBetween(left + inside, next, left + bracket.width - inside);
}

static bool narrow(Looks *looks, Bracket *bracket) {
    for (describe(*looks, bracket);
         bracket->width > halfDepths(kNarrowEnough) && looks->count < kMostLooks;
         describe(*looks, bracket))
        if (!lookAt(chooseNext(*looks, *bracket), looks))
            return false;
    return true;
}

// ---- Without a bracket: from end to end

static const float kSweepStep = 2.5f; // half depths
static const int kLongestSweepStep = 24;
static const float kRiseDeviations = 8;
static const float kWideRiseDeviations = 5;
static const unsigned int kRounding = 2;

namespace {
struct Rise {
    unsigned int highest;
    unsigned int sum;
    int at;
};
} // namespace

static void watch(Rise *rise, unsigned int value, int position) {
    rise->sum += value;
    if (value > rise->highest) {
        rise->highest = value;
        rise->at = position;
    }
}

// Higher than the mean, by more than the rounding of the statistics: on a still picture the noise
// is less than that.
static bool isClear(const Rise &rise, unsigned int samples, float deviations) {
    return isClearlyHigher((rise.highest - kRounding) * samples, rise.sum, deviations);
}

static BracketOutcome sweep(Bracket *bracket) {
    const int step = halfDepthsBetween(1, kSweepStep, kLongestSweepStep);
    Rise narrowRise = {0, 0, 0};
    Rise wideRise = {0, 0, 0};
    unsigned int samples = 0;
    for (int position = looking.near; position < looking.far + step; position += step, ++samples) {
        Look look;
        if (!driveTo(position) || !lookHere(&look))
            return kBracketBroken;
        watch(&narrowRise, look.narrow, look.position);
        watch(&wideRise, look.wide, look.position);
    }
    const bool isNarrow = isClear(narrowRise, samples, kRiseDeviations * looking.noise);
    if (!isNarrow && !isClear(wideRise, samples, kWideRiseDeviations * looking.wideNoise))
        return kNothingSeen;
    bracket->estimate = isNarrow ? narrowRise.at : wideRise.at;
    bracket->width = 2 * step;
    return kBracketed;
}

BracketOutcome findBracket(Looks *looks, Bracket *bracket) {
    looks->count = 0;
    looks->lowest = UINT_MAX;
    if (!lookAt(static_cast<int>(focusPosition()), looks) || !jump(looks))
        return kBracketBroken;
    if (!isClearlyHigher(looks->at[looks->best].wide, looks->lowest, kLeastContrast))
        return sweep(bracket);
    return narrow(looks, bracket) ? kBracketed : kBracketBroken;
}
