// What real lenses, sensors and scenes do and a perfect camera does not. All of it is off by
// default; whoever has the part looks here, so that each can be changed while the camera runs.
//
// Models: slack in the gear of each axis, statistics that come late, motor steps that are lost in
// mid-travel, lamps that flicker, light that changes, a picture of little contrast, a second object
// at another distance, an object that comes nearer, curves that drift with temperature, and a frame
// that sees the lens over its whole exposure. The heads of the parts say how.
// Does not model: wear, a slack that depends on the place, resonance, rolling shutter.
#pragma once

#include <cstdint>

namespace vcam {

struct Flaws {
    int backlashZoom = 0;       ///< Slack between motor and lens group, in steps: devices/lens.h.
    int backlashFocus = 0;      ///< The same.
    int delay = 0;              ///< Frames by which the focus statistics are late: isp/isp.h.
    double exposure = 0;        ///< Share of its period in which a frame sees the lens; 0: its end.
    double slip = 0;            ///< Share of a motor's periods that lose one to four steps.
    double flicker = 0;         ///< Share by which lamps make the light rise and fall,
    double flickerHz = 1.7;     ///< at the beat between them and the frames.
    double brightness = 1;      ///< Factor on the light, too short for the exposure to follow.
    double contrast = 1;        ///< Factor on the picture's; 0: nothing to see.
    double secondDistanceM = 0; ///< A second object at this distance in `secondZones`; 0: none.
    uint64_t secondZones = 0x0F0F0F0F0F0F0F0F; ///< Bit row * 8 + column: the left half.
    double approach = 0; ///< Dioptres a second by which the object comes nearer: optics/scene.h.
    double drift = 0;    ///< Steps by which both curves have moved toward far: a warm barrel.
};

const Flaws &flaws();

/// From the next frame, and the next run of a motor, on.
void setFlaws(const Flaws &flaws);

/// Without a word in the trace.
void powerOnFlaws(const Flaws &flaws);

/// Light of an instant over that of a scene without flaws.
double lightAt(int64_t timeUs);

} // namespace vcam
