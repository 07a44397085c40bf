// What the moves do not show of the driver chip's words and pulses.
#include "fixtures.h"

#include "af_ms419xx/ms419xx.h"
#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"

#include <array>
#include <cerrno>

using Words = std::array<int, 4>;

/// Step word and period of both channels.
static Words words() {
    return {vcam::peekRegister(0x24), vcam::peekRegister(0x25), vcam::peekRegister(0x29),
            vcam::peekRegister(0x2A)};
}

TEST(DriverWords, wrong_axis_is_refused_or_braked_and_a_failed_pulse_is_none) {
    onPoweredCamera([] {
        MS419XX_Init();
        MS419XX_Stop_MotorAB();
        MS419XX_Stop_MotorCD();
        EXPECT_EQ(MS419XX_Set_PSUM_ICNT_Register(MS_NONE, 48, LED_NONE), -1);
        EXPECT_EQ(MS419XX_Set_PSUM_ICNT_RegofFocus(MS_Z_TELE, 16), -1);
        EXPECT_EQ(words(), (Words{0x0500, 0x1AB5, 0x0500, 0x1AB5}));
        MS419XX_Set_PSUM_ICNT_RegSync(1, MS_F_FAR, 8, MS_Z_TELE, 8, LED_ENABLE);
        EXPECT_EQ(words(), (Words{0x0600, 0x1AB5, 0x0600, 0x1AB5}));
        MS419XX_Set_PSUM_ICNT_Register(MS_F_NEAR, 0, LED_NONE); // no step takes the whole period
        EXPECT_EQ(words(), (Words{0x0600, 0x1AB5, 0x0C00, 28203}));
        const unsigned periods = countVdPeriods();
        const int64_t startUs = vcam::nowUs();
        MS419XX_VDIR();
        MS419XX_VD_Test(1234);
        vcam::failCalls("ioctl", "/dev/hi_gpio", vcam::kAlways, EIO);
        MS419XX_Wait_MotorAB_Stop();
        MS419XX_Wait_MotorCD_Stop();
        MS419XX_VDF();
        EXPECT_EQ(vcam::nowUs(), startUs + 17000 + 1234);
        EXPECT_EQ(countVdPeriods(), periods + 2);
    });
}
