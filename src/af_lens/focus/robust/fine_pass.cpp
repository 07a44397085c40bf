#include "af_lens/focus/robust/fine_pass.h"

#include "af_interface/statistics/shown_position.h"
#include "af_lens/focus/robust/look.h"
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
static const float kLeastFall = 0.03f;
static const float kChangeOfLight = 0.25f;
static const float kFitReach = 2.6f; // units
static const float kFitShare = 0.56f;

static Look samples[kMostSamples];
static int count;

float judgedValue(const Judging &judging, const Look &look) {
    return judging.isWide ? look.wide : look.narrow;
}

static int highest(const Judging &judging) {
    int at = 0;
    for (int i = 1; i < count; ++i)
        if (judgedValue(judging, samples[i]) > judgedValue(judging, samples[at]))
            at = i;
    return at;
}

// ---- Sampling

static bool isLower(const Judging &judging, int sample, float top) {
    const float fall = maxOf(kLeastEnd, kEndDeviations * judging.noise);
    return judgedValue(judging, samples[sample]) < top * (1 - fall);
}

static bool isPast(const Judging &judging) {
    const int top = highest(judging);
    const float value = judgedValue(judging, samples[top]);
    const float beyond = static_cast<float>(samples[count - 1].position - samples[top].position);
    return count > 2 && beyond >= kBeside * judging.unit && isLower(judging, count - 1, value) &&
           isLower(judging, count - 2, value);
}

// The coarse band changes little from one sample to the next, unless the light has.
static bool isOtherLight(const Look &look) {
    if (count == 0)
        return false;
    const float before = samples[count - 1].wide;
    return fabsf(look.wide - before) > kChangeOfLight * before;
}

// What shows the lens before the pass began is no sample of it, nor is a position seen twice, nor
// anything from before the light changed.
static bool sample(int *early) {
    Look look;
    const bool goesOn = isDelayKnown() ? lookNow(&look) : lookHere(&look);
    const bool isNew = count == 0 || look.position > samples[count - 1].position;
    if (*early > 0)
        --*early;
    else if (isNew) {
        count = isOtherLight(look) ? 0 : count;
        samples[count++] = look;
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
        if (!sample(&early))
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
    const int top = highest(judging);
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
    for (int i = 0; i < count; ++i) {
        const float x =
            static_cast<float>(samples[i].position - samples[top].position) / judging.unit;
        const float y = judgedValue(judging, samples[i]) / judgedValue(judging, samples[top]);
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
    const float height = judgedValue(judging, samples[top]);
    const bool isHill = whole > 0 && c < 0 && fabsf(b) < -3 * c; // within one and a half units
    const float x = isHill ? -b / (2 * c) : 0;
    pass->vertex = samples[top].position + static_cast<int>(lroundf(x * judging.unit));
    pass->top = isHill ? (a + b * x / 2) * height : height;
    pass->curvature = isHill ? -c / (a + b * x / 2) : 0;
}

static bool hasFallen(const Judging &judging, int from, int to, float top) {
    const float fall = maxOf(kLeastFall, kEndDeviations * judging.noise);
    for (int i = from; i < to; ++i)
        if (judgedValue(judging, samples[i]) < top * (1 - fall))
            return true;
    return false;
}

static void describe(const Judging &judging, FinePass *pass) {
    const int top = highest(judging);
    const float value = judgedValue(judging, samples[top]);
    fit(judging, top, pass);
    pass->ratio = samples[top].narrow / maxOf(samples[top].check, 1.0f);
    pass->lowest = value;
    for (int i = 0; i < count; ++i)
        pass->lowest = minOf(pass->lowest, judgedValue(judging, samples[i]));
    pass->fellBefore = hasFallen(judging, 0, top, value);
    pass->fellAfter = hasFallen(judging, top + 1, count, value);
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
