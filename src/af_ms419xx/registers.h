// Registers of the two-channel stepper driver as this system writes them, and the one encoder of
// the step word. A step word stays in force at every VD pulse until it is rewritten.
#pragma once

#include "af_lens/model/lens_models.h"
#include "autofocus/types.h"

enum DriverRegister : unsigned char {
    kRegChip = 0x20,
    kRegSetupAB = 0x22,
    kRegPulseWidthAB = 0x23,
    kRegStepAB = 0x24,
    kRegPeriodAB = 0x25,
    kRegSetupCD = 0x27,
    kRegPulseWidthCD = 0x28,
    kRegStepCD = 0x29,
    kRegPeriodCD = 0x2A,
};

static const unsigned char kRegReadFlag = 0x40;

// Step word: bits 0 to 7 are PSUM, the steps to run in the next VD period.
static const unsigned int kStepDirection = 0x0100;
static const unsigned int kStepBrake = 0x0200;
static const unsigned int kStepEnable = 0x0400;
static const unsigned int kStepLed = 0x0800;

static const unsigned int kBrakeWord = kStepEnable | kStepBrake;
static const unsigned int kStopWord = kStepEnable | kStepDirection;

inline unsigned int encodeDirection(MS_Action_em type, int lensType) {
    const LensModel &model = lensModelOf(lensType);
    return type == model.zoom.setBitMoves || type == model.focus.setBitMoves ? kStepDirection : 0;
}

inline unsigned int encodeLed(MS_LED_em led) {
    return led != LED_DISABLE ? kStepLed : 0;
}

inline unsigned int encodeStepWord(MS_Action_em type, unsigned char steps, MS_LED_em led,
                                   int lensType) {
    return kStepEnable | encodeDirection(type, lensType) | encodeLed(led) | steps;
}

/// Time of one step (INCT) so that @p steps spread evenly over @p total timing units.
inline unsigned int encodeStepPeriod(unsigned int total, unsigned char steps) {
    return steps == 0 ? total : total / steps;
}
