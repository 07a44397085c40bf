// The peak search at one zoom position that the three calibration runs share.
#pragma once

#include "autofocus/types.h"

#include <sys/types.h>

/// How a run traces a sample.
enum SampleTrace { kTraceDirection, kTracePosition, kTraceValue };

/// What tells the runs apart, and the state of the search. One run at a time.
struct CalibrationRun {
    const char *name;          ///< Function name for the traces.
    unsigned int startMaximum; ///< A rise counts only above it.
    unsigned int startMinimum; ///< Also marks that no minimum has been taken yet.
    unsigned char coarseStep;
    int fallLimit;               ///< More falls than this end a coarse pass.
    const char *coarseEndFormat; ///< Message at a travel limit, with the limit's name.
    SampleTrace sampleTrace;
    useconds_t settleUs; ///< Wait after the fine pass.
    int tagNumber;       ///< Second value of the peak message.

    MS_Action_em fType;       ///< In: first direction. Out: direction of the fine pass.
    unsigned int tagPosition; ///< Out: the in-focus position.
};

/**
 * Find the in-focus position at the present zoom position.
 *
 * The lens ends a little beyond it in the direction of the fine pass.
 *
 * @return false when no pass of a bounded number has passed a peak.
 */
bool findCalibrationPeak(CalibrationRun *run);
