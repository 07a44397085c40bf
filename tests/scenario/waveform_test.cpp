// The trace of a camera drawn as a waveform.
#include "scenario.h"

#include "waveform/waveform.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <unistd.h>

static const std::string kTrace = testing::TempDir() + "drawn." + std::to_string(getpid());
static const std::string kVcd = kTrace + ".vcd";

/// The values of each signal by their instants; several of one instant one after the other.
using Signals = std::map<std::string, std::map<int64_t, std::string>>;

static Signals readVcd() {
    std::map<std::string, std::string> names; // by their codes
    Signals signals;
    int64_t timeUs = 0;
    std::ifstream vcd(kVcd);
    for (std::string line; std::getline(vcd, line);) {
        std::istringstream words(line);
        std::string word, type, bits, code, name;
        words >> word >> type >> bits >> code >> name;
        if (word == "$var")
            names[code] = name;
        else if (word[0] == '#')
            timeUs = std::stoll(word.substr(1));
        else if (word[0] == '0' || word[0] == '1')
            signals[names[word.substr(1)]][timeUs] += word[0];
        else if (names.count(type) != 0)
            signals[names[type]][timeUs] += word + " ";
    }
    remove(kTrace.c_str());
    remove(kVcd.c_str());
    return signals;
}

// What is drawn from the motors' runs must be where the lens truly was whenever the ISP looked.
TEST(Waveform, drawn_positions_are_the_true_ones_at_every_frame) {
    vcam::CameraOptions options;
    options.seed = 11;
    options.traceFile = kTrace;
    options.vcdFile = kVcd;
    scenario::run(options, [] {
        scenario::startAndSettle();
        scenario::send({0x81, 0x01, 0x04, 0x07, 0x27, 0xFF});
        scenario::passMs(1000);
        scenario::send({0x81, 0x01, 0x04, 0x07, 0x00, 0xFF});
        scenario::waitIdle();
    });
    std::ifstream trace(kTrace);
    Signals drawn = readVcd();
    int frames = 0;
    for (std::string line; std::getline(trace, line);) {
        long long frameUs;
        long position[2];
        if (sscanf(line.c_str(), "%lld %*s isp frame number=%*d zoom=%ld focus=%ld", &frameUs,
                   &position[0], &position[1]) != 3)
            continue;
        frames++;
        for (const char *axis : {"zoom", "focus"}) {
            const std::string at = std::prev(drawn[axis].upper_bound(frameUs))->second;
            const size_t last = at.rfind('r') + 1;
            EXPECT_EQ(std::stol(at.substr(last)), position[*axis == 'f']) << line;
        }
    }
    EXPECT_GT(frames, 50);
}

// 28203 units of a step's period last 25000 us. Words crowd before the pulse that latches them.
TEST(Waveform, each_event_is_drawn_at_its_instant) {
    std::ofstream(kTrace) << "0 - lens start axis=zoom position=12000\n"
                             "0 - lens start axis=focus position=9977\n"
                             "500 a spi frame sent=243004 received=000000\n"
                             "500 a spi frame sent=254b02 received=000000\n"
                             "500 a gpio vd pin=46 period_us=10000\n"
                             "500 a chip run channel=AB steps=-3 units=5641\n"
                             "500 a chip run channel=CD steps=-2 units=1\n"
                             "520 a spi frame sent=290000 received=000000\n"
                             "600 a lens lost axis=focus steps=1 total=1\n"
                             "700 a gpio vd pin=41 period_us=1\n" // drives nothing
                             "11500 a gpio vd pin=46 period_us=25000\n"
                             "11600 a gpio read pin=4 level=1\n"
                             "11700 a gpio read pin=3 level=0\n"
                             "11800 host serial receive bytes=8101ff\n"
                             "11800 b serial read bytes=8101ff\n"
                             "11900 b serial write bytes=90ff\n"
                             "12000 b console line text=\"a = b\"\n"
                             "30000 a clock end thread=a\n";
    std::string error;
    EXPECT_TRUE(vcam::writeWaveform(kTrace, kVcd, error)) << error;
    using Changes = std::map<int64_t, std::string>;
    Signals drawn = readVcd();
    EXPECT_EQ(
        drawn["frame"],
        (Changes{
            {0, "0"}, {452, "1"}, {472, "0"}, {476, "1"}, {496, "0"}, {500, "1"}, {520, "0"}}));
    EXPECT_EQ(drawn["register"],
              (Changes{{452, "b00100100 "}, {476, "b00100101 "}, {500, "b00101001 "}}));
    EXPECT_EQ(drawn["value"][452] + drawn["value"][476], "b0000010000110000 b0000001001001011 ");
    EXPECT_EQ(drawn["vd"],
              (Changes{{0, "0"}, {500, "1"}, {1500, "0"}, {11500, "1"}, {12500, "0"}}));
    EXPECT_EQ(drawn["vd_period_us"], (Changes{{0, "r0 "}, {500, "r10000 "}, {11500, "r25000 "}}));
    EXPECT_EQ(drawn["zoom"], (Changes{{0, "r12000 "}, {5501, "r11999 "}, {10501, "r11998 "}}));
    EXPECT_EQ(drawn["focus"],
              (Changes{{0, "r9977 "}, {501, "r9976 "}, {502, "r9975 "}, {600, "r9976 "}}));
    EXPECT_EQ(drawn["zoom_steps"], (Changes{{0, "r0 "}, {500, "r0 r-3 "}, {11500, "r0 "}}));
    EXPECT_EQ(drawn["focus_interrupter"], (Changes{{11600, "1"}}));
    EXPECT_EQ(drawn["zoom_interrupter"], (Changes{{11700, "0"}}));
    EXPECT_EQ(drawn["to_camera"], (Changes{{0, "s "}, {11800, "s8101ff "}}));
    EXPECT_EQ(drawn["from_camera"], (Changes{{0, "s "}, {11900, "s90ff "}}));
    EXPECT_EQ(drawn["console"], (Changes{{12000, "sa\\x20=\\x20b "}}));
    EXPECT_FALSE(vcam::writeWaveform("/dev/null", "/nowhere/vcd", error));
    EXPECT_EQ(error, "/nowhere/vcd: can't be written");
}
