// The trace of a camera drawn as a waveform.
#include "scenario.h"

#include "waveform/waveform.h"

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
                             "600 a chip run channel=CD steps=1 units=12300\n" // cut short
                             "700 a gpio vd pin=41 period_us=1\n"              // drives nothing
                             "11500 a gpio vd pin=46 period_us=25000\n"
                             "11600 a gpio read pin=4 level=1\n"
                             "11800 host serial receive bytes=8101ff\n"
                             "11800 b serial read bytes=8101ff\n"
                             "12000 b console line text=\"a = b\"\n";
    const Signals expected = {
        {"frame",
         {{0, "0"}, {452, "1"}, {472, "0"}, {476, "1"}, {496, "0"}, {500, "1"}, {520, "0"}}},
        {"register", {{452, "b00100100 "}, {476, "b00100101 "}, {500, "b00101001 "}}},
        {"value",
         {{452, "b0000010000110000 "}, {476, "b0000001001001011 "}, {500, "b0000000000000000 "}}},
        {"vd", {{0, "0"}, {500, "1"}, {1500, "0"}, {11500, "1"}, {12500, "0"}}},
        {"vd_period_us", {{0, "r0 "}, {500, "r10000 "}, {11500, "r25000 "}}},
        {"zoom", {{0, "r12000 "}, {5501, "r11999 "}, {10501, "r11998 "}}},
        {"focus", {{0, "r9977 "}, {501, "r9976 "}, {502, "r9975 "}, {600, "r9976 "}}},
        {"zoom_steps", {{0, "r0 "}, {500, "r0 r-3 "}, {11500, "r0 "}}},
        {"focus_interrupter", {{11600, "1"}}},
        {"to_camera", {{0, "s "}, {11800, "s8101ff "}}},
        {"console", {{12000, "sa\\x20=\\x20b "}}},
    };
    std::string error;
    EXPECT_TRUE(vcam::writeWaveform(kTrace, kVcd, error)) << error;
    Signals drawn = readVcd();
    for (const auto &[name, changes] : expected)
        EXPECT_EQ(drawn[name], changes) << name;
    EXPECT_FALSE(vcam::writeWaveform("/dev/null", "/nowhere/vcd", error));
    EXPECT_EQ(error, "/nowhere/vcd: can't be written");
}
