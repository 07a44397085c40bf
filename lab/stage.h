// What every experiment does with its camera: start the library, put the lens somewhere, let it
// settle, have a search run and watch what the lens does meanwhile. On the thread that has powered
// the camera on.
#pragma once

#include <cstdint>
#include <vector>

#include "camera_options.h"
#include "cell.h"
#include "clock/seeded_random.h"
#include "row_text.h"

namespace lab {

/// Start the library under the cell's settings and wait for its first focus; false when it never
/// comes to rest.
bool startCamera(const Cell &cell, const vcam::CameraOptions &camera);

/// Start the camera and play @p count runs from number @p first on; none when it does not start.
std::vector<RowText>
playRuns(const Cell &cell, const vcam::CameraOptions &camera, long first, int count,
         RowText (*playRun)(const Cell &cell, const vcam::CameraOptions &camera, long run));

/// Where a lens stands, and what it looks at.
struct Place {
    int zoom = 0;
    bool isOnGrid = true;
    double dioptres = 0;
    int focus = 0;
    bool comesFromNear = true; ///< The side from which the focus has come there.
    bool zoomedTele = true;    ///< The last direction of the zoom.
};

/// Four of five zooms on the grid; objects evenly in dioptres from infinity to @p nearestM; the
/// focus evenly from somewhat nearer than the nearest object to somewhat beyond infinity.
Place drawPlace(vcam::SeededRandom &random, double nearestM);

/// Put lens and object there, by the back door, and let the statistics show it. The library counts
/// where the lens is and judges nothing meanwhile.
void takePlace(const Place &place, bool isObjectSet);

void passFrames(int frames);

/// A second of rest: fewer frames than the refocus trigger takes to fire.
void rest();

/// Let virtual time pass until no autofocus run is due or under way; false after a minute.
bool awaitIdle();

/// How far the focus truly is off, in half depths; of two objects either may be the one in focus.
double errorHalfDepths();

/// Autofocus runs since start, those of the refocus trigger among them.
unsigned countRuns();

/// What a search was seen to do.
struct Watched {
    int64_t frames = 0; ///< From the order to its end.
    int reversals = 0;  ///< Of the focus motor.
    int64_t steps = 0;  ///< That it took.
    int64_t ms = 0;
    int outcome = 0; ///< AF_Outcome_em; of a rival AF_OUTCOME_DONE, 0 when it never ended.
    unsigned samples = 0;
    bool isFarOut = false; ///< At the start the picture showed next to nothing.
};

/// Have the cell's search focus once.
Watched focusOnce(const Cell &cell);

} // namespace lab
