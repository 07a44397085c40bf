// The GPIO lines between the SoC, the motor driver and the lens.
#pragma once

static const unsigned int kPinZoomPi = 3;     ///< Zoom photo-interrupter, input.
static const unsigned int kPinFocusPi = 4;    ///< Focus photo-interrupter, input.
static const unsigned int kPinVdSecond = 41;  ///< Second VD line, output.
static const unsigned int kPinVd = 46;        ///< VD line of both motors, output.
static const unsigned int kPinZoomBusy = 47;  ///< Channel AB moves, input.
static const unsigned int kPinFocusBusy = 48; ///< Channel CD moves, input.
static const unsigned int kPinReset = 116;    ///< Driver reset, output, active low.
