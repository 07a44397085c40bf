#include "waveform/motor_track.h"

#include <cmath>
#include <cstdlib>

namespace vcam {

void MotorTrack::place(int64_t timeUs, int64_t where) {
    stop(timeUs);
    position = where;
    vcd.changeNumber(signal, timeUs, static_cast<double>(position));
}

void MotorTrack::run(int64_t timeUs, int64_t howMany, double everyUs) {
    stop(timeUs);
    startUs = timeUs;
    steps = std::abs(howMany);
    direction = howMany < 0 ? -1 : 1;
    stepUs = everyUs;
}

// The steps are known only now: the run may have been cut short.
void MotorTrack::stop(int64_t timeUs) {
    for (int64_t step = 1; step <= steps; ++step) {
        const auto afterUs = static_cast<int64_t>(std::ceil(static_cast<double>(step) * stepUs));
        if (startUs + afterUs > timeUs)
            break;
        position += direction;
        vcd.changeNumber(signal, startUs + afterUs, static_cast<double>(position));
    }
    steps = 0;
}

void MotorTrack::takeBack(int64_t timeUs, int64_t lost) {
    position -= direction * lost;
    vcd.changeNumber(signal, timeUs, static_cast<double>(position));
}

} // namespace vcam
