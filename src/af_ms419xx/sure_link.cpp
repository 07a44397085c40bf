#include "af_ms419xx/sure_link.h"

#include "af_lens/model/orders.h"
#include "af_ms419xx/registers.h"
#include "autofocus/spi.h"
#include "hisi_gpio/hisi_gpio.h"
#include "platform/faults.h"

#include <unistd.h>

static const unsigned int kPatienceUs = 1000000;
static const unsigned int kFirstRegister = kRegChip;
static const unsigned int kRegisters = kRegPeriodCD - kRegChip + 1;

static unsigned short words[kRegisters];
static unsigned int missing = 0; // a bit for each word that is not known to be in the chip
static bool isChipUp = false;
static bool isSearching = false;

void setChipUp(bool isUp) {
    isChipUp = isUp;
}

void setSearching(bool isOn) {
    isSearching = isOn;
}

static bool hasTaken(DriverRegister reg, unsigned int word) {
    if (isRecovering() && !isChipUp)
        return false;
    Spi_Write(reg, word);
    return !isPresent(kFaultDriver);
}

void writeRegister(DriverRegister reg, unsigned int word) {
    const unsigned int index = reg - kFirstRegister;
    words[index] = static_cast<unsigned short>(word);
    missing |= 1u << index;
    if (hasTaken(reg, word))
        missing &= ~(1u << index);
}

static bool areWordsInChip() {
    for (unsigned int index = 0; index < kRegisters && missing != 0; ++index) {
        if ((missing >> index & 1) != 0)
            writeRegister(static_cast<DriverRegister>(kFirstRegister + index), words[index]);
    }
    return missing == 0;
}

void giveUpOrder() {
    noteCall(kFaultPosition, false);
    failOrder();
}

// @return what requestGpio() does; kNotRequested too while a word is missing.
static int pulseOnce(unsigned int pin, unsigned int periodUs) {
    if (!isChipUp || !areWordsInChip())
        return kNotRequested;
    return requestGpio(pin, GPIO_G_VDF, periodUs);
}

static int pulseOrRest(unsigned int pin, unsigned int periodUs) {
    const int result = pulseOnce(pin, periodUs);
    if (result < 0)
        usleep(periodUs);
    return result;
}

// Repeated, unless it may have come and has run a motor: a search looks where it is now, nobody
// else can.
static bool passSurely(unsigned int pin, unsigned int periodUs, bool runsMotor) {
    for (unsigned int waitedUs = 0; waitedUs < kPatienceUs; waitedUs += periodUs) {
        const int result = pulseOrRest(pin, periodUs);
        if (result >= 0)
            return true;
        if (result != kNotRequested && runsMotor)
            return isSearching;
    }
    return false;
}

static bool passWatched(unsigned int pin, unsigned int periodUs, bool runsMotor) {
    const bool mayPass = !runsMotor || isSearching || !isPresent(kFaultPosition);
    if (mayPass && passSurely(pin, periodUs, runsMotor))
        return true;
    giveUpOrder();
    return false;
}

bool passPeriod(unsigned int pin, unsigned int periodUs, bool runsMotor) {
    if (!isRecovering())
        return Hisi_Gpio_SetVDF(pin, periodUs) != -1;
    if (!hasOrderFailed())
        return passWatched(pin, periodUs, runsMotor);
    pulseOrRest(pin, periodUs); // of brakes: whoever pulses has seen to that
    return false;
}
