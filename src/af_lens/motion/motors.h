// Both motors: who drives them, and how they come to stand. The start-up, lens-control and manual
// stepping threads claim them one at a time; nothing waits inside. One that ends in the middle of a
// move, because its host has cancelled it, gives them back with its end.
#pragma once

/// True when nobody else drove the motors; then releaseMotors() is due.
bool claimMotors();

void releaseMotors();

/// Brake both channels, LEDs off, and let a 25 ms period pass.
void brakeBothChannels();

/// Brake the focus channel, LED off, and let a 10 ms period pass.
void brakeFocus();
