// The motor driver chip: turns an action and a step count into register words and issues the VD
// pulses that start each move. It knows nothing of lens positions. Channel AB is the zoom, CD the
// focus. Runs on the thread that drives the motors; nothing here takes a lock.
#pragma once

#include "autofocus/motor_driver.h" // IWYU pragma: export

extern "C" {

/// VD periods that have passed since the library was loaded; wraps.
unsigned int countVdPeriods(void);
}

/// Steps that each motor was told to run since the library was loaded, those toward wide and near
/// counted as negative.
struct DrivenSteps {
    int zoom;
    int focus;
};

DrivenSteps countDrivenSteps();
