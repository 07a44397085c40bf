// Who drives the motors. The start-up, lens-control and manual stepping threads claim them one at a
// time through one word; nothing waits inside.
#pragma once

/// True when nobody else drove the motors; then releaseMotors() is due.
bool claimMotors();

void releaseMotors();
