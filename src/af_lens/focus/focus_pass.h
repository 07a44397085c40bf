// One pass of the autofocus search: the focus goes one way, a group of steps and a frame at a time,
// while three counters tell what the focus value does.
#pragma once

#include "autofocus/statistics.h"
#include "autofocus/types.h"

/// How patient a search is, by the IR-cut state at its start.
struct SearchTuning {
    int searchC1; ///< Falls in a pass, and failed passes, that are still tolerated.
    int searchC2; ///< Samples past the peak that are still tolerated.
    float ratio;  ///< Share of the maximum below which a coarse sample counts as past the peak.
};

/// The working state of one autofocus run.
struct FocusSearch {
    SearchTuning tuning;
    int index1;                   ///< Zoom tag point, which selects the focus value.
    unsigned int limitN;          ///< Near end of the range in force.
    unsigned int limitF;          ///< Far end of the range in force.
    MS_Action_em fType;           ///< Present direction.
    unsigned char fStep;          ///< Steps a period now.
    unsigned char stepMax;        ///< Step ceiling.
    int xStep;                    ///< Steps since the reference sample of the coarse pass.
    unsigned int afvMax;          ///< Pass maximum.
    unsigned int afvMin;          ///< Pass minimum.
    unsigned int afvTmp;          ///< Previous sample, once rising.
    unsigned int tagPosition;     ///< Where the maximum was: the peak.
    int flagU;                    ///< Rises.
    int flagD;                    ///< Falls before any rise.
    int flagH;                    ///< Samples past the peak in a row.
    AF_Statistics_Info reference; ///< First record of the coarse pass.
};

static const unsigned int kNoMinimumYet = 0xFFFFFFFFu;
static const unsigned char kFineStep = 2;

/// Begin a pass at the present position with @p step steps a period.
void beginPass(FocusSearch *search, unsigned char step);

/// Run a coarse pass until its range ends, it falls, the peak is passed or a command interrupts.
void runCoarsePass(FocusSearch *search);

/// The same with steps of two and a threshold of its own; goes on where the last one stopped.
void runFinePass(FocusSearch *search);
