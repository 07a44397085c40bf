// The driver chip and the lens behind the SPI and GPIO devices, without the library in between.
#include "scenario.h"

#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/gpio.h"
#include "devices/lens.h"
#include "platform/isp_interface.h"

#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

using namespace scenario;
using vcam::Axis;

namespace {

using Bytes = std::vector<uint8_t>;

enum Request : unsigned long { kSetDirection = 17, kRead = 18, kWrite = 19, kPulse = 48 };

constexpr unsigned kResetPin = 116;
constexpr unsigned kVdPin = 46;

/// The two devices as a driver program uses them.
class Board {
public:
    void setUpLink(uint8_t mode = 11, uint8_t bits = 8, uint32_t hz = 1000000) const {
        EXPECT_EQ(ioctl(spi, SPI_IOC_WR_MODE, &mode), 0);
        EXPECT_EQ(ioctl(spi, SPI_IOC_WR_BITS_PER_WORD, &bits), 0);
        EXPECT_EQ(ioctl(spi, SPI_IOC_WR_MAX_SPEED_HZ, &hz), 0);
    }

    void setUpPins() const {
        for (const unsigned pin : {3U, 4U})
            request(kSetDirection, pin, 0);
        for (const unsigned pin : {kResetPin, kVdPin, 41U})
            request(kSetDirection, pin, 1);
    }

    void setUp() const {
        setUpLink();
        setUpPins();
        request(kWrite, kResetPin, 1);
        for (const unsigned address : {0x20U, 0x22U, 0x23U, 0x27U, 0x28U})
            write(address, 0x6C6C);
    }

    /// What the chip shifts out meanwhile.
    Bytes exchange(const Bytes &bytes) const {
        Bytes answer(bytes.size());
        spi_ioc_transfer transfer = {};
        transfer.tx_buf = reinterpret_cast<uintptr_t>(bytes.data());
        transfer.rx_buf = reinterpret_cast<uintptr_t>(answer.data());
        transfer.len = static_cast<uint32_t>(bytes.size());
        EXPECT_EQ(ioctl(spi, SPI_IOC_MESSAGE(1), &transfer), static_cast<int>(bytes.size()));
        return answer;
    }

    void write(unsigned address, unsigned word) const {
        exchange({uint8_t(address), uint8_t(word & 0xFF), uint8_t(word >> 8)});
    }

    /// Word and step period of a channel.
    void write(unsigned address, unsigned word, unsigned units) const {
        write(address, word);
        write(address + 1, units);
    }

    unsigned request(unsigned long code, unsigned pin, unsigned value) const {
        uint32_t line[3] = {(pin - 1) / 8, (pin - 1) % 8, value};
        return ioctl(gpio, code, line) == 0 ? line[2] : ~0U;
    }

    unsigned read(unsigned pin) const { return request(kRead, pin, 0); }
    void pulse(unsigned periodUs) const { request(kPulse, kVdPin, periodUs); }

private:
    int spi = open("/dev/spidev1.0", O_RDWR);
    int gpio = open("/dev/hi_gpio", O_RDONLY);
};

vcam::CameraOptions place(int lensType, int zoom, int focus) {
    vcam::CameraOptions options;
    options.lensType = lensType;
    options.zoomStart = zoom;
    options.focusStart = focus;
    return options;
}

/// In the middle of LENS_B's travel, the chip set up.
void runOnBoard(const std::function<void(const Board &)> &body) {
    run(place(1, 15000, 12000), [&] {
        const Board board;
        board.setUp();
        body(board);
    });
}

void configureStatistics(HI_BOOL isEnabled, HI_U16 columns, HI_U16 rows, HI_U16 width) {
    ISP_STATISTICS_CFG_S config = {};
    config.stFocusCfg.stConfig = {isEnabled, columns, rows, width, 1080, {}, {}};
    HI_MPI_ISP_SetStatisticsConfig(0, &config);
}

void readStatistics() {
    ISP_STATISTICS_S statistics;
    HI_MPI_ISP_GetStatistics(0, &statistics);
}

} // namespace

TEST(DriverChip, what_hardware_would_not_forgive_is_recorded) {
    enum class From { Nothing, Link, Pins, SetUp };
    struct Row {
        const char *violations; ///< Each ends with a full stop.
        From from;
        std::function<void(const Board &)> act;
    };
    const Row rows[] = {
        {"", From::SetUp,
         [](auto &board) {
             board.write(0x24, 0x0430, 587);
             board.write(0x29, 0x0D01, 28203);
             board.pulse(25000), board.pulse(25000);
             board.request(kPulse, 41, 17000);
             board.read(3);
             board.exchange({0x69, 0, 0});
             configureStatistics(HI_TRUE, 8, 8, 1920);
             readStatistics();
         }},
        {"chip VD pulse 15000 us before the period had ended.", From::SetUp,
         [](auto &board) {
             std::thread other([&] { usleep(10000), board.pulse(25000); });
             board.pulse(25000);
             other.join();
         }},
        {"chip channel AB: 48 steps of 588 units do not fit 25000 us.", From::SetUp,
         [](auto &board) { board.write(0x24, 0x0430, 588), board.pulse(25000); }},
        {"chip channel CD: 1 steps of 0 units do not fit 10000 us.", From::SetUp,
         [](auto &board) { board.write(0x29, 0x0401, 0), board.pulse(10000); }},
        {"spi frame of 2 bytes.spi frame of 4 bytes.", From::SetUp,
         [](auto &board) {
             board.exchange({0x24, 0}), board.exchange({0x24, 0, 6, 0});
         }},
        {"spi transfer with mode 0, 8 bits, 0 Hz before set-up."
         "chip write of register 0x24 while in reset.",
         From::Nothing, [](auto &board) { board.write(0x24, 0x0600); }},
        {"spi transfer with mode 3, 8 bits, 1000000 Hz.", From::SetUp,
         [](auto &board) { board.setUpLink(3), board.write(0x24, 0x0600); }},
        {"spi transfer with mode 11, 16 bits, 1000000 Hz.", From::SetUp,
         [](auto &board) { board.setUpLink(11, 16), board.write(0x24, 0x0600); }},
        {"spi transfer with mode 11, 8 bits, 2000000 Hz.", From::SetUp,
         [](auto &board) { board.setUpLink(11, 8, 2000000), board.write(0x24, 0x0600); }},
        {"chip read of register 0x24 while in reset.", From::Link,
         [](auto &board) {
             board.exchange({0x64, 0, 0});
         }},
        {"chip VD pulse while in reset.chip VD pulse before the chip was set up.", From::Pins,
         [](auto &board) {
             board.pulse(25000);
             board.request(kWrite, kResetPin, 1);
             board.pulse(25000);
         }},
        {"chip write of unknown register 0x21.chip read of unknown register 0x3f.", From::SetUp,
         [](auto &board) {
             board.write(0x21, 0), board.exchange({0x7F, 0, 0});
         }},
        {"chip bit 7 set in frame 0x0002a2.", From::SetUp,
         [](auto &board) {
             board.exchange({0xA2, 2, 0});
         }},
        {"chip unused bits set in step word 0x1400 of channel AB."
         "chip unused bits set in step word 0x8400 of channel CD.",
         From::SetUp, [](auto &board) { board.write(0x24, 0x1400), board.write(0x29, 0x8400); }},
        {"gpio zoom photo-interrupter read in the dark."
         "gpio focus photo-interrupter read in the dark.",
         From::SetUp,
         [](auto &board) {
             board.write(0x24, 0x0E00), board.pulse(25000); // lights the focus sensor only
             board.read(4), board.read(3);
             board.write(0x24, 0x0600), board.pulse(25000);
             board.write(0x24, 0x0E00); // not in force before a pulse
             board.read(4);
         }},
        {"gpio pin 3 read but not set to input.", From::SetUp,
         [](auto &board) {
             board.write(0x29, 0x0E00), board.pulse(25000);
             board.request(kSetDirection, 3, 1), board.read(3);
         }},
        {"gpio pin 47 driven but not set to output.", From::SetUp,
         [](auto &board) { board.request(kWrite, 47, 1); }},
        {"gpio VD pulse on pin 45, which is no VD output.", From::SetUp,
         [](auto &board) { board.request(kPulse, 45, 25000); }},
        {"gpio no line group 18 bit 0.", From::SetUp, [](auto &board) { board.read(145); }},
        {"isp focus statistics configured enable=0 grid 8x8 window 1920x1080."
         "isp focus statistics configured enable=1 grid 17x15 window 1920x1080."
         "isp focus statistics configured enable=1 grid 8x8 window 1280x1080.",
         From::Nothing,
         [](auto &) {
             configureStatistics(HI_FALSE, 8, 8, 1920);
             configureStatistics(HI_TRUE, 17, 15, 1920);
             configureStatistics(HI_TRUE, 8, 8, 1280);
         }},
        {"isp focus statistics read before they were configured.", From::Nothing,
         [](auto &) { readStatistics(); }},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.violations);
        run([&] {
            const Board board;
            if (row.from == From::Link)
                board.setUpLink();
            if (row.from == From::Pins)
                board.setUpPins();
            if (row.from == From::SetUp)
                board.setUp();
            row.act(board);
            std::string texts;
            for (const std::string &violation : vcam::violations())
                texts += violation.substr(violation.find(' ') + 1) + ".";
            EXPECT_EQ(texts, row.violations);
            EXPECT_EQ(events("chip", "violation").size() + events("gpio", "violation").size() +
                          events("spi", "violation").size() + events("isp", "violation").size(),
                      vcam::violations().size());
        });
    }
}

TEST(DriverChip, words_take_force_at_a_pulse_and_keep_it) {
    struct Row {
        const char *what;
        unsigned word; ///< Written to channel AB before the pulse; 0: nothing.
        unsigned units;
        int zoom; ///< After the pulse.
    };
    const Row rows[] = {
        {"run", 0x0430, 587, 15048},      {"run again", 0, 0, 15096},
        {"turn", 0x0501, 28203, 15095},   {"turn again", 0, 0, 15094},
        {"brake", 0x0630, 587, 15094},    {"brake again", 0, 0, 15094},
        {"disabled", 0x0030, 587, 15094}, {"no steps", 0x0400, 587, 15094},
        {"LED bit", 0x0CFF, 110, 15349},
    };
    runOnBoard([&](const Board &board) {
        int zoom = 15000;
        for (const Row &row : rows) {
            if (row.word != 0)
                board.write(0x24, row.word, row.units);
            passMs(30);
            EXPECT_EQ(vcam::truePosition(Axis::Zoom), zoom) << row.what << " before the pulse";
            board.pulse(25000);
            EXPECT_EQ(vcam::truePosition(Axis::Zoom), row.zoom) << row.what;
            zoom = row.zoom;
        }
        EXPECT_EQ(vcam::truePosition(Axis::Focus), 12000);
        EXPECT_EQ(board.exchange({0x64, 0, 0}), (Bytes{0, 0xFF, 0x0C}));
        EXPECT_EQ(vcam::violations().size(), 0U);
    });
}

TEST(DriverChip, steps_spread_evenly_and_a_reset_stops_them) {
    runOnBoard([](const Board &board) {
        board.write(0x29, 0x050A, 2820); // a step lasts 2499.73 us
        vcam::pulseVd(25000);
        const struct {
            int64_t timeUs;
            int focus;
            unsigned isRunning;
        } rows[] = {{0, 12000, 1},     {2499, 12000, 1},  {2500, 12001, 1}, {12498, 12004, 1},
                    {12499, 12005, 1}, {24997, 12009, 1}, {24998, 12010, 0}};
        for (const auto &row : rows) {
            vcam::sleepUntilUs(row.timeUs);
            EXPECT_EQ(vcam::truePosition(Axis::Focus), row.focus) << row.timeUs;
            EXPECT_EQ(board.read(48), row.isRunning) << row.timeUs;
            EXPECT_EQ(board.read(47), 0U) << row.timeUs;
        }
        EXPECT_EQ(vcam::truePositionAt(Axis::Focus, 2500), 12001);
        vcam::sleepUntilUs(25000);
        vcam::pulseVd(25000);
        board.write(0x29, 0x0600); // for the next period
        vcam::sleepUntilUs(30000);
        board.request(kWrite, kResetPin, 0);
        EXPECT_EQ(vcam::peekRegister(0x29), 0);
        vcam::sleepUntilUs(60000);
        EXPECT_EQ(vcam::truePosition(Axis::Focus), 12012);
    });
}

TEST(DriverChip, direction_and_travel_are_those_of_the_lens_model) {
    const struct {
        int lens;
        unsigned address, word; ///< 48 steps.
        int start, end, lost, lostInThree;
    } rows[] = {
        {1, 0x24, 0x0430, 15000, 15048, 0, 0},    {1, 0x24, 0x0530, 15000, 14952, 0, 0},
        {1, 0x29, 0x0430, 12000, 11952, 0, 0},    {1, 0x29, 0x0530, 12000, 12048, 0, 0},
        {0, 0x24, 0x0430, 15000, 14952, 0, 0},    {0, 0x24, 0x0530, 15000, 15048, 0, 0},
        {0, 0x29, 0x0430, 12000, 12048, 0, 0},    {0, 0x29, 0x0530, 12000, 11952, 0, 0},
        {1, 0x24, 0x0530, 10010, 9976, 14, 110},  {1, 0x24, 0x0430, 21040, 21064, 24, 120},
        {1, 0x29, 0x0430, 10024, 9976, 0, 96},    {1, 0x29, 0x0530, 14880, 14904, 24, 120},
        {0, 0x24, 0x0530, 20272, 20296, 24, 120}, {0, 0x29, 0x0430, 14384, 14408, 24, 120},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message()
                     << "lens " << row.lens << ", word " << std::hex << row.word << " to "
                     << row.address << std::dec << " at " << row.start);
        run(place(row.lens, row.start, row.start), [&] {
            const Axis axis = row.address == 0x24 ? Axis::Zoom : Axis::Focus;
            const Board board;
            board.setUp();
            board.write(row.address, row.word, 587);
            board.pulse(25000);
            EXPECT_EQ(vcam::truePosition(axis), row.end);
            EXPECT_EQ(vcam::lostSteps(axis), row.lost);
            board.pulse(25000), board.pulse(25000);
            EXPECT_EQ(vcam::lostSteps(axis), row.lostInThree);
        });
    }
}

TEST(DriverChip, photo_interrupters_change_level_at_their_edge) {
    const struct {
        int lens, zoom, focus;
        unsigned zoomLevel, focusLevel;
    } rows[] = {{1, 16744, 11359, 1, 0},
                {1, 16745, 11360, 0, 1},
                {0, 15551, 12192, 0, 1},
                {0, 15552, 12193, 1, 0}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "lens " << row.lens << " at " << row.zoom);
        run(place(row.lens, row.zoom, row.focus), [&] {
            const Board board;
            board.setUp();
            board.write(0x24, 0x0E00), board.write(0x29, 0x0E00), board.pulse(25000);
            EXPECT_EQ(board.read(3), row.zoomLevel);
            EXPECT_EQ(board.read(4), row.focusLevel);
            EXPECT_EQ(vcam::violations().size(), 0U);
            vcam::stickPhotoInterrupter(Axis::Zoom, 1 - int(row.zoomLevel));
            EXPECT_EQ(board.read(3), 1 - row.zoomLevel);
            EXPECT_EQ(board.read(4), row.focusLevel);
            vcam::stickPhotoInterrupter(Axis::Zoom, -1);
            EXPECT_EQ(board.read(3), row.zoomLevel);
        });
    }
}
