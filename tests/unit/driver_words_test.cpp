// The words that reach the driver chip, and how long each VD pulse holds its caller.
#include "fixtures.h"

#include "af_ms419xx/ms419xx.h"
#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"

#include <cerrno>

namespace {

constexpr int kUntouched = 0x0AAA;

struct Words {
    int stepAB, periodAB, stepCD, periodCD;
};

void pokeWords() {
    for (const unsigned address : {0x24u, 0x25u, 0x29u, 0x2Au})
        vcam::pokeRegister(address, kUntouched);
}

void expectWords(const Words &expected) {
    EXPECT_EQ(vcam::peekRegister(0x24), expected.stepAB);
    EXPECT_EQ(vcam::peekRegister(0x25), expected.periodAB);
    EXPECT_EQ(vcam::peekRegister(0x29), expected.stepCD);
    EXPECT_EQ(vcam::peekRegister(0x2A), expected.periodCD);
}

struct Programming {
    int lens;
    int (*program)();
    int result;
    Words words;
};

constexpr int kNo = kUntouched;

const Programming kRows[] = {
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_Register(MS_Z_TELE, 48, LED_DISABLE); },
     0,
     {0x0430, 587, kNo, kNo}},
    {LENS_A,
     [] { return MS419XX_Set_PSUM_ICNT_Register(MS_Z_TELE, 48, LED_DISABLE); },
     0,
     {0x0530, 587, kNo, kNo}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_Register(MS_F_NEAR, 0, LED_NONE); },
     0,
     {kNo, kNo, 0x0C00, 28203}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_Register(MS_NONE, 48, LED_ENABLE); },
     -1,
     {kNo, kNo, kNo, kNo}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_RegSync(1, MS_Z_TELE, 120, MS_F_FAR, 30, LED_DISABLE); },
     0,
     {0x0478, 235, 0x051E, 940}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_RegSync(0, MS_Z_WIDE, 8, MS_F_NEAR, 33, LED_ENABLE); },
     0,
     {0x0D08, 2814, 0x0C21, 682}},
    {LENS_A,
     [] { return MS419XX_Set_PSUM_ICNT_RegSync(1, MS_Z_WIDE, 0, MS_F_NEAR, 0, LED_DISABLE); },
     0,
     {0x0400, 19116, 0x0500, 19116}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_RegSync(1, MS_NONE, 8, MS_F_FAR, 8, LED_ENABLE); },
     0,
     {0x0600, kNo, 0x0D08, 2389}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_RegSync(1, MS_F_FAR, 8, MS_Z_TELE, 8, LED_ENABLE); },
     0,
     {0x0600, kNo, 0x0600, kNo}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_RegofFocus(MS_F_NEAR, 7); },
     0,
     {kNo, kNo, 0x0407, 1611}},
    {LENS_B,
     [] { return MS419XX_Set_PSUM_ICNT_RegofFocus(MS_Z_TELE, 16); },
     -1,
     {kNo, kNo, kNo, kNo}},
    {LENS_B,
     [] { return MS419XX_Break_MotorAB(LED_NONE), MS419XX_Break_MotorCD(LED_DISABLE), 0; },
     0,
     {0x0E00, kNo, 0x0600, kNo}},
    {LENS_B,
     [] { return MS419XX_Break_MotorAB(LED_DISABLE), MS419XX_Break_MotorCD(LED_ENABLE), 0; },
     0,
     {0x0600, kNo, 0x0E00, kNo}},
    {LENS_B, [] { return MS419XX_Stop_MotorAB(), 0; }, 0, {0x0500, kNo, kNo, kNo}},
    {LENS_B, [] { return MS419XX_Stop_MotorCD(), 0; }, 0, {kNo, kNo, 0x0500, kNo}},
};

} // namespace

TEST(DriverWords, call_writes_these_registers_and_no_others) {
    const std::string console = onPoweredCamera([] {
        MS419XX_Init();
        for (const Programming &row : kRows) {
            SCOPED_TRACE(testing::Message() << "row " << &row - kRows);
            g_LensType = row.lens;
            pokeWords();
            EXPECT_EQ(row.program(), row.result);
            expectWords(row.words);
        }
        MS419XX_Set_PPWAB_Register(0x1234);
        MS419XX_Set_PPWCD_Register(0x5678);
        EXPECT_EQ(vcam::peekRegister(0x23), 0x1234);
        EXPECT_EQ(vcam::peekRegister(0x28), 0x5678);
    });
    const std::string refusals =
        "__MS419XX_Set_PSUM_ICNT_Register@ Set type 4 step 48 failure.\n"
        "__MS419XX_Set_PSUM_ICNT_RegofFocus@ Set type 1 step 16 failure.\n";
    EXPECT_EQ(console.substr(console.find("__MS419XX_Set")), refusals);
}

TEST(DriverWords, pulse_holds_its_caller_for_the_period_of_its_steps) {
    const struct {
        void (*pulse)();
        int periodUs;
    } rows[] = {
        {MS419XX_VDFZ, 25000},
        {MS419XX_VDF, 10000},
        {MS419XX_VDIR, 17000},
        {[] { MS419XX_VD_Test(1234); }, 1234},
        {[] { MS419XX_VDZ(0, 33, 10); }, 22515},
        {[] { MS419XX_VDZ(1, 33, 121); }, 29625},
        {[] { MS419XX_VDZ(1, 192, 193); }, 45076},
    };
    onPoweredCamera([&] {
        MS419XX_Init();
        unsigned periods = countVdPeriods();
        for (const auto &row : rows) {
            const int64_t beforeUs = vcam::nowUs();
            row.pulse();
            EXPECT_EQ(vcam::nowUs() - beforeUs, row.periodUs) << "row " << &row - rows;
            EXPECT_EQ(countVdPeriods(), ++periods);
        }
    });
}

TEST(DriverWords, line_that_cannot_be_read_ends_the_wait_and_a_failed_pulse_is_no_period) {
    onPoweredCamera([] {
        MS419XX_Init();
        vcam::failCalls("ioctl", "/dev/hi_gpio", vcam::kAlways, EIO);
        const unsigned periods = countVdPeriods();
        const int64_t beforeUs = vcam::nowUs();
        MS419XX_Wait_Motor_Stop();
        MS419XX_Wait_MotorAB_Stop();
        MS419XX_Wait_MotorCD_Stop();
        MS419XX_VDF();
        EXPECT_EQ(vcam::nowUs(), beforeUs);
        EXPECT_EQ(countVdPeriods(), periods);
    });
}
