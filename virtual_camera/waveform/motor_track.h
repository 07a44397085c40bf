// Where an axis of the lens stands, step by step, from what the trace says about its runs.
#pragma once

#include "waveform/vcd_file.h"

namespace vcam {

class MotorTrack {
public:
    MotorTrack(VcdFile &vcdFile, VcdFile::Signal positionSignal)
        : vcd(vcdFile), signal(positionSignal) {}

    /// Somewhere by hand, or at power-on.
    void place(int64_t timeUs, int64_t where);

    /// So many steps from now on, negative toward wide and near, one every @p everyUs.
    void run(int64_t timeUs, int64_t howMany, double everyUs);

    /// The run in hand, which may not be over, ends now. Steps later than that were never made.
    void stop(int64_t timeUs);

    /// So many of the last run's steps went against a stop of the lens.
    void takeBack(int64_t timeUs, int64_t lost);

private:
    VcdFile &vcd;
    VcdFile::Signal signal;
    int64_t position = 0;
    int64_t startUs = 0;
    int64_t steps = 0;
    double stepUs = 1;
    int direction = 1;
};

} // namespace vcam
