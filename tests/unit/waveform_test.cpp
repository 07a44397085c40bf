#include "waveform/waveform.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const std::string kTrace = testing::TempDir() + "waveform." + std::to_string(getpid()) + ".txt";
const std::string kVcd = kTrace + ".vcd";

/// The changes of one signal, "time value time value ...", values as they stand in the file.
std::string drawn(const std::string &trace, const std::string &name) {
    std::ofstream(kTrace) << trace;
    std::string error;
    EXPECT_TRUE(vcam::writeWaveform(kTrace, kVcd, error)) << error;
    std::ifstream file(kVcd);
    std::string code, history, time;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string word, type, bits, its, itsName;
        if (words >> word >> type >> bits >> its >> itsName && word == "$var" && itsName == name)
            code = its;
        if (line[0] == '#')
            time = line.substr(1);
        const bool isOurs = line.size() > code.size() && line[0] != '$' && line[0] != '#' &&
                            line.compare(line.size() - code.size(), code.size(), code) == 0;
        if (!code.empty() && isOurs)
            history += time + " " + line.substr(0, line.size() - code.size()) + "; ";
    }
    remove(kTrace.c_str());
    remove(kVcd.c_str());
    return history;
}

} // namespace

TEST(Waveform, words_of_one_instant_stand_before_the_pulse_that_latches_them) {
    const std::string trace = "500 a spi frame sent=243004 received=000000\n"
                              "500 a spi frame sent=254b02 received=000000\n"
                              "500 a gpio vd pin=46 period_us=10000\n"
                              "10500 a gpio vd pin=41 period_us=1\n";
    EXPECT_EQ(drawn(trace, "frame"), "0 0; 452 1; 472 0; 476 1; 496 0; ");
    EXPECT_EQ(drawn(trace, "register"), "452 b00100100 ; 476 b00100101 ; ");
    EXPECT_EQ(drawn(trace, "value"), "452 b0000010000110000 ; 476 b0000001001001011 ; ");
    EXPECT_EQ(drawn(trace, "vd"), "0 0; 500 1; 1500 0; ") << "the other pin drives nothing";
    EXPECT_EQ(drawn(trace, "vd_period_us"), "0 r0 ; 500 r10000 ; ");
}

TEST(Waveform, words_that_crowd_follow_one_another) {
    EXPECT_EQ(drawn("100 a spi frame sent=240000 received=000000\n"
                    "110 a spi frame sent=250000 received=000000\n",
                    "frame"),
              "0 0; 76 1; 96 0; 100 1; 120 0; ");
}

// 28203 units last 25000 us, so 11281.2 units are 10000 us.
TEST(Waveform, steps_fall_at_their_period_and_end_with_the_pulse_that_cuts_them_short) {
    const std::string trace = "0 - lens start axis=zoom position=12000\n"
                              "0 - lens start axis=focus position=11000\n"
                              "1000 a gpio vd pin=46 period_us=25000\n"
                              "1000 a chip run channel=AB steps=-3 units=5641\n"
                              "1000 a chip run channel=CD steps=2 units=2820\n"
                              "12000 a gpio vd pin=46 period_us=25000\n"
                              "30000 a clock end thread=a\n";
    EXPECT_EQ(drawn(trace, "zoom"), "0 r12000 ; 6001 r11999 ; 11001 r11998 ; ");
    EXPECT_EQ(drawn(trace, "focus"), "0 r11000 ; 3500 r11001 ; 6000 r11002 ; ");
    EXPECT_EQ(drawn(trace, "zoom_steps"), "0 r0 ; 1000 r0 ; 1000 r-3 ; 12000 r0 ; ");
}

TEST(Waveform, steps_lost_at_a_stop_are_taken_back) {
    EXPECT_EQ(drawn("0 - lens start axis=focus position=9977\n"
                    "0 a chip run channel=CD steps=-2 units=1\n"
                    "500 a gpio vd pin=46 period_us=25000\n"
                    "500 a lens lost axis=focus steps=1 total=1\n"
                    "600 host lens place axis=focus position=10100\n",
                    "focus"),
              "0 r9977 ; 1 r9976 ; 2 r9975 ; 500 r9976 ; 600 r10100 ; ");
}

TEST(Waveform, sensors_are_unknown_until_read_and_bytes_and_messages_are_text) {
    const std::string trace = "10 a gpio read pin=4 level=1\n"
                              "20 a gpio read pin=3 level=0\n"
                              "25 a gpio read pin=47 level=1\n"
                              "30 host serial receive bytes=8101ff\n"
                              "30 b serial read bytes=8101ff\n"
                              "40 b serial write bytes=90ff\n"
                              "50 b console line text=\"a = b\"\n";
    EXPECT_EQ(drawn(trace, "focus_interrupter"), "10 1; ");
    EXPECT_EQ(drawn(trace, "zoom_interrupter"), "20 0; ");
    EXPECT_EQ(drawn(trace, "to_camera"), "0 s ; 30 s8101ff ; ");
    EXPECT_EQ(drawn(trace, "from_camera"), "0 s ; 40 s90ff ; ");
    EXPECT_EQ(drawn(trace, "console"), "50 sa\\x20=\\x20b ; ");
}

TEST(Waveform, file_in_the_way_is_named) {
    std::string error;
    EXPECT_FALSE(vcam::writeWaveform("/nowhere/trace", kVcd, error));
    EXPECT_EQ(error, "/nowhere/trace: can't be read");
    error.clear();
    EXPECT_FALSE(vcam::writeWaveform("/dev/null", "/nowhere/vcd", error));
    EXPECT_EQ(error, "/nowhere/vcd: can't be written");
}
