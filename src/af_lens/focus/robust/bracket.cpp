#include "af_lens/focus/robust/bracket.h"

#include "af_lens/focus/robust/look.h"
#include "af_lens/focus/verdict/clear_difference.h"
#include "af_lens/model/lens_state.h"
#include "platform/arithmetic.h"

#include <math.h>
#include <stdlib.h>

// Out of focus the wide value falls with the distance from the peak by a power that the disc of
// blur gives it: the cube root of its square, less the floor's, is inverse to the distance. So two
// looks on both sides say where between them the peak is.

static const int kMostLooks = 24;
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

static Look looks[kMostLooks]; // by position
static int count;

static int best() {
    int highest = 0;
    for (int i = 1; i < count; ++i)
        if (looks[i].wide > looks[highest].wide)
            highest = i;
    return highest;
}

static unsigned int lowest() {
    unsigned int least = looks[0].wide;
    for (int i = 1; i < count; ++i)
        least = minOf(least, looks[i].wide);
    return least;
}

static void insert(const Look &look) {
    int at = count++;
    for (; at > 0 && looks[at - 1].position > look.position; --at)
        looks[at] = looks[at - 1];
    looks[at] = look;
}

static bool lookAt(int position) {
    Look look;
    if (!driveTo(position) || !lookHere(&look))
        return false;
    insert(look);
    return true;
}

// ---- Jumps

// The next look on one side, -1 or 1, of the highest that is clearly lower.
static bool isLowerBeside(int highest, int side) {
    const float fall = clearShare(kLeastFall, kFallDeviations, looking.wideNoise);
    for (int i = highest + side; i >= 0 && i < count; i += side)
        if (isClearlyLower(looks[i].wide, looks[highest].wide, fall))
            return true;
    return false;
}

static bool isAtEnd(int side) {
    return side < 0 ? looks[0].position <= looking.near : looks[count - 1].position >= looking.far;
}

static int longestJump() {
    const float most = looking.noise > kMuchNoise ? kLongestInNoise : kLongestJump;
    return clampBetween(kLeastLongest, halfDepths(most), kMostLongest);
}

// The side to go on, 0 when both are known.
static int chooseSide(int highest, int present) {
    const bool isOpen[2] = {!isLowerBeside(highest, -1) && !isAtEnd(-1),
                            !isLowerBeside(highest, 1) && !isAtEnd(1)};
    if (isOpen[0] && isOpen[1])
        return highest == 0 && count > 1 ? -1 : highest == count - 1 && count > 1 ? 1 : present;
    return isOpen[0] ? -1 : isOpen[1] ? 1 : 0;
}

static bool jump(int side) {
    int length = maxOf(halfDepths(kFirstJump), kLeastFirst);
    while (count < kMostLooks / 2 && (side = chooseSide(best(), side)) != 0) {
        const int from = looks[side < 0 ? 0 : count - 1].position;
        if (!lookAt(clampBetween(looking.near, from + side * length, looking.far)))
            return false;
        length = minOf(length * kGrowthInFifths / 5, longestJump());
    }
    return true;
}

// ---- Narrowing

static float nearness(const Look &look, float floor) {
    const float value = static_cast<float>(look.wide);
    return cbrtf(maxOf(value * value - kFloorShare * floor * floor, 1.0f));
}

static void describe(Bracket *bracket) {
    const int highest = best();
    const Look &left = looks[maxOf(highest - 1, 0)];
    const Look &right = looks[minOf(highest + 1, count - 1)];
    const float floor = static_cast<float>(lowest());
    const float toLeft = nearness(left, floor);
    const float toRight = nearness(right, floor);
    bracket->width = right.position - left.position;
    bracket->estimate = left.position + static_cast<int>(static_cast<float>(bracket->width) *
                                                         toRight / (toLeft + toRight));
    if (highest == 0 || highest == count - 1)
        bracket->estimate = looks[highest].position;
}

// Aside of the best look, on the wider side, when the estimate is too near to it.
static int chooseNext(const Bracket &bracket) {
    const int highest = best();
    const int left = looks[maxOf(highest - 1, 0)].position;
    const int inside = bracket.width * kInsideInTwentieths / 20;
    const int centre = looks[highest].position;
    int next = bracket.estimate;
    if (abs(next - centre) <= halfDepths(kTooNear)) {
        const int aside = halfDepths(kStepAside);
        next = 2 * (centre - left) < bracket.width ? centre + aside : centre - aside;
    }
    return clampBetween(left + inside, next, left + bracket.width - inside);
}

static bool narrow(Bracket *bracket) {
    for (describe(bracket); bracket->width > halfDepths(kNarrowEnough) && count < kMostLooks;
         describe(bracket))
        if (!lookAt(chooseNext(*bracket)))
            return false;
    return true;
}

// ---- Without a bracket: from end to end

static const float kSweepStep = 2.5f; // half depths
static const int kLongestSweepStep = 24;
static const float kRiseDeviations = 8;
static const float kWideRiseDeviations = 5;

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

static bool isClear(const Rise &rise, unsigned int samples, float deviations) {
    return isClearlyHigher(rise.highest * samples, rise.sum, deviations); // than the mean
}

static BracketOutcome sweep(Bracket *bracket) {
    const int step = clampBetween(1, halfDepths(kSweepStep), kLongestSweepStep);
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

BracketOutcome findBracket(Bracket *bracket) {
    count = 0;
    if (!lookAt(static_cast<int>(focusPosition())) || !jump(1))
        return kBracketBroken;
    if (!isClearlyHigher(looks[best()].wide, lowest(), kLeastContrast))
        return sweep(bracket);
    return narrow(bracket) ? kBracketed : kBracketBroken;
}
