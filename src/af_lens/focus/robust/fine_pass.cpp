#include "af_lens/focus/robust/fine_pass.h"

#include "af_interface/statistics/shown_position.h"
#include "af_lens/focus/robust/look.h"
#include "af_lens/focus/verdict/clear_difference.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/motion/motors.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/arithmetic.h"

#include <math.h>

static const int kMostSamples = 48;
static const float kBeside = 1.8f; // units on either side of the peak
static const float kStep = 0.75f;
static const float kStepInNoise = 0.45f;
static const float kMuchNoise = 0.004f;
static const float kLeastEnd = 0.05f; // by which the last two samples are lower
static const float kEndDeviations = 3;
static const float kChangeOfLight = 0.25f;
static const float kFitReach = 2.6f; // units
static const float kFitShare = 0.56f;

namespace {
struct Sample {
    int position;
    unsigned int value; // the judged one
    unsigned int wide;
    float ratio;
};
} // namespace

static Sample samples[kMostSamples];
static int count;

unsigned int judgedValue(const Judging &judging, const Look &look) {
    return judging.isWide ? look.wide : look.narrow;
}

float detailOf(const Look &look) {
    return static_cast<float>(look.narrow) / static_cast<float>(maxOf(look.check, 1u));
}

static int highest() {
    int at = 0;
    for (int i = 1; i < count; ++i)
        if (samples[i].value > samples[at].value)
            at = i;
    return at;
}

// ---- Sampling

static float stepsFrom(const Sample &top, const Sample &sample) {
    return static_cast<float>(sample.position - top.position);
}

// The last two are beyond, and lower.
static bool isPast(const Judging &judging) {
    const Sample &top = samples[highest()];
    const Sample *const last = &samples[count - 1];
    const float fall = clearShare(kLeastEnd, kEndDeviations, judging.noise);
    return count > 2 && stepsFrom(top, *last) >= kBeside * judging.unit &&
           isClearlyLower(last[0].value, top.value, fall) &&
           isClearlyLower(last[-1].value, top.value, fall);
}

// The coarse band changes little from one sample to the next, unless the light has.
static bool isOtherLight(const Look &look) {
    return count > 0 && isClearlyOther(look.wide, samples[count - 1].wide, kChangeOfLight);
}

// What shows the lens before the pass began is no sample of it, nor is a position seen twice, nor
// anything from before the light changed.
static bool sample(const Judging &judging, int *early) {
    Look look;
    const bool goesOn = isDelayKnown() ? lookNow(&look) : lookHere(&look);
    const bool isNew = count == 0 || look.position > samples[count - 1].position;
    if (*early > 0)
        --*early;
    else if (isNew) {
        count = isOtherLight(look) ? 0 : count;
        samples[count++] = {look.position, judgedValue(judging, look), look.wide, detailOf(look)};
    }
    return goesOn;
}

// One group on; false at the end of the range, where nothing moves.
static bool step(int steps) {
    const int room = looking.far - static_cast<int>(focusPosition());
    unsigned char group = static_cast<unsigned char>(minOf(steps, room));
    if (room <= 0)
        return false;
    if (group < steps)
        MS419XX_Set_PSUM_ICNT_RegofFocus(MS_F_FAR, group);
    MS419XX_VDF();
    Lens_Fresh_ZFLocation(MS_F_FAR, group);
    return true;
}

static PassEnd runOver(const Judging &judging) {
    int early = isDelayKnown() ? framesUntilShown() : 0;
    const float share = judging.noise > kMuchNoise ? kStepInNoise : kStep;
    const int steps = maxOf(1, static_cast<int>(lroundf(share * judging.unit)));
    count = 0;
    MS419XX_Set_PSUM_ICNT_RegofFocus(MS_F_FAR, static_cast<unsigned char>(steps));
    for (int idle = 0; count < kMostSamples && idle < kMostSamples;) {
        if (!sample(judging, &early))
            return kPassBroken;
        if (count > 0 && isPast(judging))
            break;
        if (!step(steps))
            ++idle;
        if (count > 0 && samples[count - 1].position >= looking.far)
            break;
    }
    if (count == 0)
        return kPeakBeyond;
    const int top = highest();
    return top == 0 ? kPeakBefore : top == count - 1 ? kPeakBeyond : kPeakInside;
}

// ---- The parabola by least squares: y = a + b x + c x^2, x in units from the highest sample, y as
// share of it

namespace {
struct Sums {
    float s[5]; // of the powers of x
    float t[3]; // of y times them
};
} // namespace

static Sums sumUp(const Judging &judging, int top) {
    Sums sums = {{0, 0, 0, 0, 0}, {0, 0, 0}};
    const float height = static_cast<float>(samples[top].value);
    for (int i = 0; i < count; ++i) {
        const float x = stepsFrom(samples[top], samples[i]) / judging.unit;
        const float y = static_cast<float>(samples[i].value) / height;
        if (fabsf(x) > kFitReach || y < kFitShare)
            continue;
        float power = 1;
        for (int n = 0; n < 5; ++n, power *= x) {
            sums.s[n] += power;
            if (n < 3)
                sums.t[n] += power * y;
        }
    }
    return sums;
}

static float determinant(const float *a, const float *b, const float *c) {
    return a[0] * (b[1] * c[2] - b[2] * c[1]) - b[0] * (a[1] * c[2] - a[2] * c[1]) +
           c[0] * (a[1] * b[2] - a[2] * b[1]);
}

static void fit(const Judging &judging, int top, FinePass *pass) {
    const Sums sums = sumUp(judging, top);
    const float *const s = sums.s;
    const float whole = determinant(s, s + 1, s + 2);
    const float a = determinant(sums.t, s + 1, s + 2) / whole;
    const float b = determinant(s, sums.t, s + 2) / whole;
    const float c = determinant(s, s + 1, sums.t) / whole;
    const float height = static_cast<float>(samples[top].value);
    const bool isHill = whole > 0 && c < 0 && fabsf(b) < -3 * c; // within one and a half units
    const float x = isHill ? -b / (2 * c) : 0;
    pass->vertex = samples[top].position + static_cast<int>(lroundf(x * judging.unit));
    const float peak = isHill ? a + b * x / 2 : 1;
    pass->top = static_cast<unsigned int>(peak * height);
    pass->curvature = isHill ? -c / peak : 0;
}

static unsigned int lowestOf(int from, int to) {
    unsigned int lowest = samples[from].value;
    for (int i = from + 1; i < to; ++i)
        lowest = minOf(lowest, samples[i].value);
    return lowest;
}

static void describe(const Judging &judging, FinePass *pass) {
    const int top = highest();
    fit(judging, top, pass);
    pass->ratio = samples[top].ratio;
    pass->lowestBefore = lowestOf(0, top);
    pass->lowestAfter = lowestOf(top, count);
}

void runFinePassOver(int estimate, int margin, const Judging &judging, FinePass *pass) {
    const int from = estimate - static_cast<int>(kBeside * judging.unit) - margin;
    pass->end = kPassBroken;
    pass->vertex = estimate;
    if (!approach(from))
        return;
    pass->end = runOver(judging);
    brakeFocus();
    if (pass->end != kPassBroken && count > 0)
        describe(judging, pass);
}
