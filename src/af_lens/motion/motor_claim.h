// Who drives the motors. The start-up, lens-control and manual stepping threads claim them one at a
// time; nothing waits inside. One that ends in the middle of a move, because its host has cancelled
// it, gives them back with its end.
#pragma once

/// True when nobody else drove the motors; then releaseMotors() is due.
bool claimMotors();

void releaseMotors();
