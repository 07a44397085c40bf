// One look of the robust search: drive there, wait until the statistics show it, read two bands.
#pragma once

/// What the statistics show at a focus position.
struct Look {
    int position;
    unsigned int narrow; ///< First focus value, fine detail: a narrow hill.
    unsigned int wide;   ///< Second one of the whole picture, coarser detail: a wide hill.
    unsigned int check;  ///< Second one of the zones of the first.
};

/// What all looks of a run share. Written by beginLooking() only.
struct LookSetting {
    int tag;         ///< Zoom tag point.
    float halfDepth; ///< In focus steps.
    float noise;     ///< Deviation of the narrow value, as a share of it.
    float wideNoise; ///< The same of the wide one.
    int near;        ///< Ends of what is searched.
    int far;
};

extern LookSetting looking;

void beginLooking(int index1, int index2);

/// So many half depths, in whole steps.
int halfDepths(float number);

/// Drive the focus to @p position, kept in the range. @return false when a command interrupts.
bool driveTo(int position);

/// The same, arriving in the direction far with the slack of the gear taken up; the run-up may
/// begin outside the range.
bool approach(int position);

/// Look once the statistics show where the lens stands. @return false when a command interrupts, or
/// no frames come any more.
bool lookHere(Look *look);

/// Look at the next frame, whatever position it shows. @return the same.
bool lookNow(Look *look);
