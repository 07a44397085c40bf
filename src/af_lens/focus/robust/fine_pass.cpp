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

#include <limits.h>
#include <math.h>

static const int kMostFrames = 128; // also where none of them is a new sample
static const float kBeside = 1.8f;  // units on either side of the peak
static const float kStep = 0.75f;
static const float kStepInNoise = 0.45f;
static const float kMuchNoise = 0.004f;
static const float kLeastEnd = 0.05f; // by which the last two samples are lower
static const float kEndDeviations = 3;
static const float kChangeOfLight = 0.25f;
static const float kFitReach = 2.6f; // units
static const float kFitShare = 0.56f;

unsigned int judgedValue(const Judging &judging, const Look &look) {
    return judging.isWide ? look.wide : look.narrow;
}

float detailOf(const Look &look) {
    return static_cast<float>(look.narrow) / static_cast<float>(maxOf(look.check, 1u));
}

// ---- Sampling

static float stepsFrom(const Sample &top, const Sample &sample) {
    return static_cast<float>(sample.position - top.position);
}

// The last two are beyond, and lower.
static bool isPast(const Judging &judging, const Samples &seen) {
    if (seen.count <= 2)
        return false;
    const Sample &top = seen.at[seen.top];
    const Sample *const last = &seen.at[seen.count - 1];
    const float fall = clearShare(kLeastEnd, kEndDeviations, judging.noise);
    return stepsFrom(top, *last) >= kBeside * judging.unit &&
           isClearlyLower(last[0].value, top.value, fall) &&
           isClearlyLower(last[-1].value, top.value, fall);
}

// A position seen twice is no new sample. The coarse band changes little from one to the next,
// unless the light has: what was seen before that does not count.
static void add(Samples *seen, const Sample &now) {
    if (seen->count > 0) {
        const Sample &last = seen->at[seen->count - 1];
        if (now.position <= last.position)
            return;
        if (isClearlyOther(now.wide, last.wide, kChangeOfLight))
            seen->count = 0;
    }
    if (seen->count == 0 || now.value > seen->at[seen->top].value)
        seen->top = seen->count;
    seen->at[seen->count++] = now;
}

// What shows the lens before the pass began is no sample of it.
static bool sample(const Judging &judging, int *early, Samples *seen) {
    Look look;
    const bool goesOn = isDelayKnown() ? lookNow(&look) : lookHere(&look);
    if (--*early < 0)
        add(seen, {look.position, judgedValue(judging, look), look.wide, detailOf(look)});
    return goesOn;
}

// One group on; at the end of the range nothing moves.
static void step(int steps) {
    const int room = looking.far - static_cast<int>(focusPosition());
    unsigned char group = static_cast<unsigned char>(minOf(steps, room));
    if (room <= 0)
        return;
    if (group < steps)
        MS419XX_Set_PSUM_ICNT_RegofFocus(MS_F_FAR, group);
    MS419XX_VDF();
    Lens_Fresh_ZFLocation(MS_F_FAR, group);
}

static PassEnd runOver(const Judging &judging, Samples *seen) {
    int early = isDelayKnown() ? framesUntilShown() : 0;
    const float share = judging.noise > kMuchNoise ? kStepInNoise : kStep;
    const int steps = maxOf(1, static_cast<int>(lroundf(share * judging.unit)));
    seen->count = 0;
    MS419XX_Set_PSUM_ICNT_RegofFocus(MS_F_FAR, static_cast<unsigned char>(steps));
    for (int frames = 0; seen->count < kMostSamples && frames < kMostFrames; ++frames) {
        if (!sample(judging, &early, seen))
            return kPassBroken;
        if (isPast(judging, *seen))
            break;
        step(steps);
        if (seen->count > 0 && seen->at[seen->count - 1].position >= looking.far)
            break;
    }
    if (seen->count == 0)
        return kPeakBeyond;
    return seen->top == 0 ? kPeakBefore : seen->top == seen->count - 1 ? kPeakBeyond : kPeakInside;
}

// ---- The parabola by least squares: y = a + b x + c x^2, x in units from the highest sample, y as
// share of it

namespace {
struct Sums {
    float s[5]; // of the powers of x
    float t[3]; // of y times them
};
} // namespace

static Sums sumUp(const Judging &judging, const Samples &seen) {
    Sums sums = {{0, 0, 0, 0, 0}, {0, 0, 0}};
    const Sample &top = seen.at[seen.top];
    for (int i = 0; i < seen.count; ++i) {
        const float x = stepsFrom(top, seen.at[i]) / judging.unit;
        const float y = static_cast<float>(seen.at[i].value) / static_cast<float>(top.value);
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

static void fit(const Judging &judging, const Samples &seen, FinePass *pass) {
    const Sample &top = seen.at[seen.top];
    const Sums sums = sumUp(judging, seen);
    const float *const s = sums.s;
    const float whole = determinant(s, s + 1, s + 2);
    const float a = determinant(sums.t, s + 1, s + 2) / whole;
    const float b = determinant(s, sums.t, s + 2) / whole;
    const float c = determinant(s, s + 1, sums.t) / whole;
    pass->vertex = top.position;
    pass->top = top.value;
    pass->curvature = 0;
    if (!(whole > 0 && c < 0 && fabsf(b) < -3 * c)) // a hill, its top within one and a half units
        return;
    const float x = -b / (2 * c);
    const float peak = a + b * x / 2;
    pass->vertex += static_cast<int>(lroundf(x * judging.unit));
    pass->top = static_cast<unsigned int>(peak * static_cast<float>(top.value));
    pass->curvature = -c / peak;
}

static void findLowest(const Samples &seen, FinePass *pass) {
    pass->lowestBefore = pass->lowestAfter = UINT_MAX;
    for (int i = 0; i < seen.count; ++i) {
        unsigned int *const lowest = i < seen.top ? &pass->lowestBefore : &pass->lowestAfter;
        *lowest = minOf(*lowest, seen.at[i].value);
    }
}

void runFinePassOver(int estimate, int margin, const Judging &judging, Samples *seen,
                     FinePass *pass) {
    const int from = estimate - static_cast<int>(kBeside * judging.unit) - margin;
    pass->end = kPassBroken;
    pass->vertex = estimate;
    if (!approach(from))
        return;
    pass->end = runOver(judging, seen);
    brakeFocus();
    if (pass->end == kPassBroken || seen->count == 0)
        return;
    fit(judging, *seen, pass);
    pass->ratio = seen->at[seen->top].ratio;
    findLowest(*seen, pass);
}
