#include "af_ms419xx/ms419xx.h"

#include "af_common/link/gpio_setup.h"
#include "af_lens/model/orders.h"
#include "af_ms419xx/registers.h"
#include "af_ms419xx/sure_link.h"
#include "af_ms419xx/vd_timing.h"
#include "autofocus/gpio.h"
#include "autofocus/host/settings.h"
#include "autofocus/spi.h"
#include "autofocus/types.h"
#include "platform/arithmetic.h"
#include "platform/faults.h"
#include "platform/shared_word.h"

#include <stdio.h>
#include <unistd.h>

static const unsigned int kPeriodVdfzUs = 25000;
static const unsigned int kPeriodVdfUs = 10000;
static const unsigned int kPeriodVdirUs = 17000;

// Period totals in the chip's timing units; 28203 of them last one 25000 us period.
static const unsigned int kTotalVdfz = 28203;
static const unsigned int kTotalVdf = 11280;

static const useconds_t kResetUs = 10000;
static const useconds_t kBusyPollUs = 100;

static const unsigned int kChipSetup = 0x0F02;
static const unsigned int kChannelSetup = 0x0002;
static const unsigned int kPulseWidth = 0x6C6C;
static const unsigned int kStartPeriod = 0x1AB5;

static unsigned int g_vdPeriods = 0;

unsigned int countVdPeriods(void) {
    return loadWord(&g_vdPeriods);
}

// The step words in force: each pulse runs them again.
static DrivenSteps stepsAPeriod = {0, 0};
static DrivenSteps driven = {0, 0};

DrivenSteps countDrivenSteps() {
    return driven;
}

static void brakeBoth() {
    MS419XX_Break_MotorAB(LED_DISABLE);
    MS419XX_Break_MotorCD(LED_DISABLE);
}

static void pulseVd(unsigned int pin, unsigned int periodUs) {
    if (hasOrderFailed())
        brakeBoth();
    const bool runsMotor = pin == kPinVd && (stepsAPeriod.zoom != 0 || stepsAPeriod.focus != 0);
    if (!passPeriod(pin, periodUs, runsMotor))
        return;
    storeWord(&g_vdPeriods, g_vdPeriods + 1);
    if (pin == kPinVd) {
        driven.zoom += stepsAPeriod.zoom;
        driven.focus += stepsAPeriod.focus;
    }
}

static bool isZoom(MS_Action_em type) {
    return type == MS_Z_WIDE || type == MS_Z_TELE;
}

static bool isFocus(MS_Action_em type) {
    return type == MS_F_NEAR || type == MS_F_FAR;
}

void MS419XX_Init(void) {
    if (isRecovering() && loadWord(&g_SPIFd) > 0)
        SPI_Release(); // not for the first time
    SPI_Init();
    Af_Gpio_Init();
    MS419XX_Rest();
    setChipUp(!isPresent(kFaultGpio) && !isPresent(kFaultDriver)); // in reset it loses every word
    MS419XX_Init_Register();
    if (!hasOrderFailed())
        MS419XX_Printf_Register();
}

void MS419XX_Rest(void) {
    Hisi_Gpio_Write(kPinReset, 1);
    usleep(kResetUs);
    Hisi_Gpio_Write(kPinReset, 0);
    usleep(kResetUs);
    Hisi_Gpio_Write(kPinReset, 1);
    printf("__%s ok.\n", __func__);
}

void MS419XX_Init_Register(void) {
    writeRegister(kRegChip, kChipSetup);
    writeRegister(kRegPulseWidthAB, kPulseWidth);
    writeRegister(kRegPulseWidthCD, kPulseWidth);
    writeRegister(kRegSetupAB, kChannelSetup);
    stepsAPeriod = {0, 0};
    writeRegister(kRegStepAB, kBrakeWord);
    writeRegister(kRegPeriodAB, kStartPeriod);
    writeRegister(kRegSetupCD, kChannelSetup);
    writeRegister(kRegStepCD, kBrakeWord);
    writeRegister(kRegPeriodCD, kStartPeriod);
    MS419XX_VDFZ(); // puts the words in force
    printf("__%s ok.\n", __func__);
}

void MS419XX_Printf_Register(void) {
    static const unsigned char kRegisters[] = {
        kRegChip,    kRegSetupAB,      kRegPulseWidthAB, kRegStepAB,   kRegPeriodAB,
        kRegSetupCD, kRegPulseWidthCD, kRegStepCD,       kRegPeriodCD,
    };
    for (unsigned char reg : kRegisters)
        Spi_Read(static_cast<unsigned char>(reg | kRegReadFlag));
}

static void programZoom(MS_Action_em type, unsigned char steps, unsigned int total, MS_LED_em led) {
    stepsAPeriod.zoom = type == MS_Z_TELE ? steps : -steps;
    writeRegister(kRegStepAB, encodeStepWord(type, steps, led, g_LensType));
    writeRegister(kRegPeriodAB, encodeStepPeriod(total, steps));
}

static void programFocus(MS_Action_em type, unsigned char steps, unsigned int total,
                         MS_LED_em led) {
    stepsAPeriod.focus = type == MS_F_FAR ? steps : -steps;
    writeRegister(kRegStepCD, encodeStepWord(type, steps, led, g_LensType));
    writeRegister(kRegPeriodCD, encodeStepPeriod(total, steps));
}

int MS419XX_Set_PSUM_ICNT_Register(MS_Action_em type, unsigned char nStep, MS_LED_em emLed) {
    if (isZoom(type)) {
        programZoom(type, nStep, kTotalVdfz, emLed);
    } else if (isFocus(type)) {
        programFocus(type, nStep, kTotalVdfz, emLed);
    } else {
        printf("__%s@ Set type %d step %d failure.\n", __func__, static_cast<int>(type), nStep);
        return -1;
    }
    return 0;
}

int MS419XX_Set_PSUM_ICNT_RegSync(int flag, MS_Action_em zType, unsigned char zStep,
                                  MS_Action_em fType, unsigned char fStep, MS_LED_em emLed) {
    if (!isTimingColumn(flag))
        return -1;
    const unsigned int total = static_cast<unsigned int>(PSUMXICNTGet(flag, maxOf(zStep, fStep)));
    if (isZoom(zType))
        programZoom(zType, zStep, total, emLed);
    else
        MS419XX_Break_MotorAB(LED_DISABLE);
    if (isFocus(fType))
        programFocus(fType, fStep, total, emLed);
    else
        MS419XX_Break_MotorCD(LED_DISABLE);
    return 0;
}

int MS419XX_Set_PSUM_ICNT_RegofFocus(MS_Action_em type, unsigned char nStep) {
    if (!isFocus(type)) {
        printf("__%s@ Set type %d step %d failure.\n", __func__, static_cast<int>(type), nStep);
        return -1;
    }
    programFocus(type, nStep, kTotalVdf, LED_DISABLE);
    return 0;
}

void MS419XX_Break_MotorAB(MS_LED_em emLed) {
    stepsAPeriod.zoom = 0;
    writeRegister(kRegStepAB, kBrakeWord | encodeLed(emLed));
}

void MS419XX_Break_MotorCD(MS_LED_em emLed) {
    stepsAPeriod.focus = 0;
    writeRegister(kRegStepCD, kBrakeWord | encodeLed(emLed));
}

void MS419XX_Stop_MotorAB(void) {
    stepsAPeriod.zoom = 0;
    writeRegister(kRegStepAB, kStopWord);
}

void MS419XX_Stop_MotorCD(void) {
    stepsAPeriod.focus = 0;
    writeRegister(kRegStepCD, kStopWord);
}

void MS419XX_VDFZ(void) {
    pulseVd(kPinVd, kPeriodVdfzUs);
}

void MS419XX_VDF(void) {
    pulseVd(kPinVd, kPeriodVdfUs);
}

void MS419XX_VDZ(int flag, unsigned char zStep, unsigned char fStep) {
    if (isTimingColumn(flag))
        pulseVd(kPinVd, static_cast<unsigned int>(PSUMXICNTGet(flag, maxOf(zStep, fStep))));
}

void MS419XX_VDIR(void) {
    pulseVd(kPinVdSecond, kPeriodVdirUs);
}

void MS419XX_VD_Test(int delay) {
    pulseVd(kPinVd, static_cast<unsigned int>(delay));
}

// A line that cannot be read (-1) ends the wait too: nobody would ever see it fall.
static void waitWhileBusy(unsigned int pin) {
    while (Hisi_Gpio_Read(pin) > 0)
        usleep(kBusyPollUs);
}

void MS419XX_Wait_Motor_Stop(void) {
    waitWhileBusy(kPinZoomBusy);
}

void MS419XX_Wait_MotorAB_Stop(void) {
    waitWhileBusy(kPinZoomBusy);
}

void MS419XX_Wait_MotorCD_Stop(void) {
    waitWhileBusy(kPinFocusBusy);
}

void MS419XX_Set_PPWAB_Register(unsigned int ppw) {
    writeRegister(kRegPulseWidthAB, ppw);
}

void MS419XX_Set_PPWCD_Register(unsigned int ppw) {
    writeRegister(kRegPulseWidthCD, ppw);
}
