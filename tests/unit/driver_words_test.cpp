// The words that reach the driver chip, and how long each VD pulse holds its caller.
#include "fixtures.h"

#include "af_ms419xx/ms419xx.h"
#include "af_ms419xx/vd_timing.h"
#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"

#include <cerrno>

namespace {

// The words of the moves are expected where the moves are.
const std::pair<int (*)(), const char *> kRows[] = {
    {[] { return MS419XX_Set_PSUM_ICNT_Register(MS_NONE, 48, LED_NONE); },
     "-1 ---- ---- ---- ----"},
    {[] { return MS419XX_Set_PSUM_ICNT_RegofFocus(MS_Z_TELE, 16); }, "-1 ---- ---- ---- ----"},
    {[] { return MS419XX_Set_PSUM_ICNT_RegSync(1, MS_F_FAR, 8, MS_Z_TELE, 8, LED_ENABLE); },
     "0 0600 ---- 0600 ----"},
    {[] { return MS419XX_Set_PSUM_ICNT_Register(MS_F_NEAR, 0, LED_NONE); },
     "0 ---- ---- 0c00 6e2b"},
    {[] { return MS419XX_Stop_MotorAB(), 0; }, "0 0500 ---- ---- ----"},
    {[] { return MS419XX_Stop_MotorCD(), 0; }, "0 ---- ---- 0500 ----"},
};

} // namespace

TEST(DriverWords, call_writes_these_registers_and_no_others) {
    onPoweredCamera([] {
        MS419XX_Init();
        for (const auto &[program, expected] : kRows) {
            for (const unsigned address : {0x24u, 0x25u, 0x29u, 0x2Au})
                vcam::pokeRegister(address, kUntouched);
            std::string found = std::to_string(program());
            for (const unsigned address : {0x24u, 0x25u, 0x29u, 0x2Au}) {
                char word[8];
                snprintf(word, sizeof word, " %04x", unsigned(vcam::peekRegister(address)));
                found += vcam::peekRegister(address) == kUntouched ? " ----" : word;
            }
            EXPECT_EQ(found, expected);
        }
    });
}

TEST(DriverWords, pulse_holds_its_caller_for_its_period_and_a_failed_one_is_none) {
    onPoweredCamera([&] {
        MS419XX_Init();
        const unsigned periods = countVdPeriods();
        const int64_t startUs = vcam::nowUs();
        MS419XX_VDIR();
        EXPECT_EQ(vcam::nowUs(), startUs + 17000);
        MS419XX_VD_Test(1234);
        EXPECT_EQ(vcam::nowUs(), startUs + 18234);
        EXPECT_EQ(countVdPeriods(), periods + 2);
        vcam::failCalls("ioctl", "/dev/hi_gpio", vcam::kAlways, EIO);
        MS419XX_Wait_MotorAB_Stop();
        MS419XX_Wait_MotorCD_Stop();
        MS419XX_VDF();
        EXPECT_EQ(vcam::nowUs(), startUs + 18234);
        EXPECT_EQ(countVdPeriods(), periods + 2);
    });
}

TEST(VdTiming, smallest_row_that_serves_the_step_is_taken) {
    const int rows[][3] = {{32, 80, 19116},  {38, 96, 22515},  {48, 120, 28203},
                           {52, 129, 29625}, {64, 160, 37524}, {255, 255, 45076}};
    for (int column = 0; column < 2; ++column)
        for (int step = 0, row = 0; step <= 255; ++step) {
            row += step > rows[row][column] ? 1 : 0;
            EXPECT_EQ(PSUMXICNTGet(column, static_cast<unsigned char>(step)), rows[row][2]);
        }
}
