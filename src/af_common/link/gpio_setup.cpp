#include "af_common/link/gpio_setup.h"

#include "autofocus/gpio.h"
#include "autofocus/spi.h"

#include <stdlib.h>
#include <unistd.h>

static const unsigned int kInput = 0;
static const unsigned int kOutput = 1;

// Switches the reset line's pad to GPIO. Another board puts its own pin multiplexing here.
static const char kPinMultiplexing[] = "himm 0x200f0158 0x1";
static const useconds_t kPinMultiplexingUs = 500000;

void Af_Gpio_Init(void) {
    // No result is checked: a line that cannot be set up shows when it is used.
    const int ignored = system(kPinMultiplexing);
    (void)ignored;
    usleep(kPinMultiplexingUs);
    Hisi_Gpio_Setdir(kPinFocusPi, kInput);
    Hisi_Gpio_Setdir(kPinZoomPi, kInput);
    Hisi_Gpio_Setdir(kPinZoomBusy, kInput);
    Hisi_Gpio_Setdir(kPinFocusBusy, kInput);
    Hisi_Gpio_Setdir(kPinReset, kOutput);
    Hisi_Gpio_Setdir(kPinVd, kOutput);
    Hisi_Gpio_Setdir(kPinVdSecond, kOutput);
    Hisi_Gpio_Write(kPinReset, 1);
    Hisi_Gpio_Write(kPinVd, 0);
    Hisi_Gpio_Write(kPinVdSecond, 0);
}
