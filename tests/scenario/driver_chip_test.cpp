// The driver chip and the lens behind the SPI and GPIO devices: what they complain of, how steps
// spread in time, where the travel ends.
#include "scenario.h"

#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/lens.h"

#include <linux/spi/spidev.h>
#include <sys/ioctl.h>

using namespace scenario;
using vcam::Axis;

static void sendFrame(uint8_t address, unsigned word, int length = 3) {
    uint8_t frame[3] = {address, uint8_t(word & 0xFF), uint8_t(word >> 8)};
    SPI_SendByte(frame, length);
}

static void moveIn(unsigned periodUs, uint8_t address, unsigned word, unsigned units) {
    sendFrame(address, word);
    sendFrame(uint8_t(address + 1), units);
    Hisi_Gpio_SetVDF(46, periodUs);
}

static void setLinkMode(uint8_t mode) {
    EXPECT_EQ(ioctl(g_SPIFd, SPI_IOC_WR_MODE, &mode), 0);
}

TEST(DriverChip, what_hardware_would_not_forgive_is_recorded) {
    const struct {
        void (*act)();
        const char *violations; ///< Each ends with a full stop.
    } rows[] = {
        {[] { moveIn(25000, 0x24, 0x0430, 587), moveIn(25000, 0x29, 0x0D01, 28203); }, ""},
        {[] { vcam::pulseVd(25000), vcam::pulseVd(25000); },
         "chip VD pulse 25000 us before the period had ended."},
        {[] { moveIn(25000, 0x24, 0x0430, 588); },
         "chip channel AB: 48 steps of 588 units do not fit 25000 us."},
        {[] { moveIn(10000, 0x29, 0x0401, 0); },
         "chip channel CD: 1 steps of 0 units do not fit 10000 us."},
        {[] { sendFrame(0x24, 0, 2), sendFrame(0xA2, 2), sendFrame(0x24, 0x1400); },
         "spi frame of 2 bytes.chip bit 7 set in frame 0x0002a2."
         "chip unused bits set in step word 0x1400 of channel AB."},
        {[] { setLinkMode(3), sendFrame(0x24, 0x0600); },
         "spi transfer with mode 3, 8 bits, 1000000 Hz."},
        {[] { Hisi_Gpio_Write(116, 0), sendFrame(0x24, 0), sendFrame(0x64, 0), MS419XX_VDF(); },
         "chip write of register 0x24 while in reset.chip read of register 0x24 while in reset."
         "chip VD pulse while in reset."},
        {[] { Hisi_Gpio_Write(116, 0), Hisi_Gpio_Write(116, 1), MS419XX_VDF(); },
         "chip VD pulse before the chip was set up."},
        {[] { sendFrame(0x21, 0), sendFrame(0x7F, 0); },
         "chip write of unknown register 0x21.chip read of unknown register 0x3f."},
        {[] { moveIn(25000, 0x24, 0x0E00, 1), Hisi_Gpio_Read(4), Hisi_Gpio_Read(3); },
         "gpio zoom photo-interrupter read in the dark."}, // this lights the focus sensor
        {[] { sendFrame(0x24, 0x0E00), Hisi_Gpio_Read(4); },
         "gpio focus photo-interrupter read in the dark."}, // not in force before a pulse
        {[] { moveIn(25000, 0x29, 0x0E00, 1), Hisi_Gpio_Setdir(3, 1), Hisi_Gpio_Read(3); },
         "gpio pin 3 read but not set to input."},
        {[] { Hisi_Gpio_Write(47, 1), Hisi_Gpio_SetVDF(45, 9), Hisi_Gpio_Read(145); },
         "gpio pin 47 driven but not set to output."
         "gpio VD pulse on pin 45, which is no VD output.gpio no line group 18 bit 0."},
    };
    runEach(rows, [&](const auto &row) {
        MS419XX_Init();
        row.act();
        std::string texts;
        for (const std::string &violation : vcam::violations())
            texts += violation.substr(violation.find(' ') + 1) + ".";
        EXPECT_EQ(texts, row.violations);
    });
}

TEST(DriverChip, steps_spread_evenly_in_every_period_and_a_reset_stops_them) {
    run([] {
        MS419XX_Init();
        vcam::placeAt(Axis::Focus, 12000);
        sendFrame(0x29, 0x050A);
        sendFrame(0x2A, 2820); // a step lasts 2499.73 us
        const int64_t startUs = vcam::nowUs();
        vcam::pulseVd(25000);
        const std::pair<int64_t, int> rows[] = {{2499, 12000},  {2500, 12001},  {12498, 12004},
                                                {12499, 12005}, {24997, 12009}, {24998, 12010}};
        for (const auto &[timeUs, focus] : rows) {
            vcam::sleepUntilUs(startUs + timeUs);
            EXPECT_EQ(vcam::truePosition(Axis::Focus), focus) << timeUs;
            EXPECT_EQ(Hisi_Gpio_Read(48), focus < 12010 ? 1 : 0) << timeUs; // whether it runs
        }
        vcam::sleepUntilUs(startUs + 25000);
        vcam::pulseVd(25000);    // again
        sendFrame(0x29, 0x0600); // for the next period
        passMs(5);
        Hisi_Gpio_Write(116, 0);
        passMs(60);
        EXPECT_EQ(vcam::truePosition(Axis::Focus), 12012);
    });
}

TEST(DriverChip, stop_behind_either_end_holds_the_lens_and_steps_into_it_are_lost) {
    const struct {
        int lens, zoom, focus;
        unsigned zoomWord, focusWord; ///< 48 steps.
        Place end;
        int zoomLost, focusLost;
    } rows[] = {{LENS_B, 10010, 10024, 0x0530, 0x0430, {9976, 9976}, 14, 0},
                {LENS_A, 20272, 14384, 0x0530, 0x0430, {20296, 14408}, 24, 24}};
    for (const auto &row : rows) {
        run(startAt(row.zoom, row.focus, row.lens), [&] {
            MS419XX_Init();
            sendFrame(0x24, row.zoomWord);
            sendFrame(0x25, 587);
            for (int periods = 0; periods < 2; ++periods) {
                moveIn(25000, 0x29, row.focusWord, 587);
                EXPECT_EQ(truePlace(), row.end);
                EXPECT_EQ(vcam::lostSteps(Axis::Zoom), row.zoomLost + 48 * periods);
                EXPECT_EQ(vcam::lostSteps(Axis::Focus), row.focusLost + 48 * periods);
            }
        });
    }
}
