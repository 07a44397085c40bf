// Single-purpose calls on the SoC's GPIO device. The device is opened for each call and closed
// again, so nothing is held between calls. Pins count from 1.
#pragma once

#include "autofocus/gpio.h" // IWYU pragma: export

extern "C" {

/// Argument of every request of the GPIO device.
typedef struct {
    unsigned int groupnumber;
    unsigned int bitnumber; ///< 0 to 7.
    unsigned int value;     ///< In: direction, level or VD period (us). Out: what the device says.
} GPIO_GroupBit_Info;

/// Requests of the GPIO device, passed to ioctl as they stand.
typedef enum {
    GPIO_G_DIR = 16,
    GPIO_S_DIR = 17,
    GPIO_R_BIT = 18,
    GPIO_W_BIT = 19,
    GPIO_G_VDF = 48, ///< One VD pulse; blocks for the period.
    GPIO_C_PLS = 49,
} GPIO_CMD_EM;

/// Make one request for a pin; the record's value afterwards, or -1 after a message. While
/// recovering, what may be repeated without harm is, for up to a second.
int Hisi_Gpio_Option(unsigned int num, GPIO_CMD_EM cmd, unsigned int value);
}

static const int kNotRequested = -2; ///< The device could not even be opened.

/// The same, once; tells a request that was not made, kNotRequested, from one that has failed.
int requestGpio(unsigned int num, GPIO_CMD_EM cmd, unsigned int value);
