// The SPI link to the motor driver: 24-bit register frames over spidev, low bit first.
// One thread at a time uses it, the one that drives the motors.
#pragma once

#include "autofocus_service.h"
