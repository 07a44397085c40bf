// The fine pass of the robust search: over the peak in the direction far, and a parabola through
// what it has seen.
#pragma once

#include "af_lens/focus/robust/look.h"

/// Which values a run trusts.
struct Judging {
    bool isWide; ///< The wide value: the narrow one does not stand out of the noise.
    float unit;  ///< In steps: what the widths of the hill are counted in.
    float noise;
};

enum PassEnd {
    kPeakInside,
    kPeakBefore, ///< It fell from the first sample on.
    kPeakBeyond, ///< It rose up to the end of the range.
    kPassBroken, ///< A command interrupted.
};

struct FinePass {
    PassEnd end;
    int vertex;                ///< Of the parabola.
    unsigned int top;          ///< Its value there.
    float curvature;           ///< Share of the top by which it falls one unit away.
    float ratio;               ///< Narrow over check value at the highest sample.
    unsigned int lowestBefore; ///< Sample on this side of the highest,
    unsigned int lowestAfter;  ///< and on that.
};

/// The value that is judged, and the ratio to the coarser band, which no change of the light
/// touches.
unsigned int judgedValue(const Judging &judging, const Look &look);
float detailOf(const Look &look);

static const int kMostSamples = 48;

struct Sample {
    int position;
    unsigned int value; ///< The judged one.
    unsigned int wide;
    float ratio; ///< Narrow over check value.
};

/// Room for what is seen meanwhile, which a thread's stack has not.
struct Samples {
    int count;
    int top; ///< The first of the highest.
    Sample at[kMostSamples];
};

/// Run over @p estimate, which may be off by @p margin steps.
void runFinePassOver(int estimate, int margin, const Judging &judging, Samples *seen,
                     FinePass *pass);
