#include "scenario.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <unistd.h>

// What is drawn from the motors' runs must be where the lens truly was whenever the ISP looked.
TEST(Waveform, drawn_positions_are_the_true_ones_at_every_frame) {
    vcam::CameraOptions options;
    options.seed = 11;
    options.traceFile = testing::TempDir() + "drawn." + std::to_string(getpid()) + ".txt";
    options.vcdFile = options.traceFile + ".vcd";
    scenario::run(options, [] {
        scenario::startAndSettle();
        scenario::send({0x81, 0x01, 0x04, 0x07, 0x27, 0xFF});
        scenario::passMs(1000);
        scenario::send({0x81, 0x01, 0x04, 0x07, 0x00, 0xFF});
        scenario::waitIdle();
    });

    std::map<std::string, std::string> names; // by their codes
    std::map<std::string, std::map<int64_t, long>> drawn;
    int64_t timeUs = 0;
    std::ifstream vcd(options.vcdFile);
    for (std::string line; std::getline(vcd, line);) {
        std::istringstream words(line);
        std::string word, type, bits, code, name;
        words >> word >> type >> bits >> code >> name;
        if (word == "$var")
            names[code] = name;
        if (line[0] == '#')
            timeUs = std::stoll(line.substr(1));
        if (line[0] == 'r')
            drawn[names[type]][timeUs] = std::lround(std::stod(word.substr(1)));
    }
    int frames = 0;
    std::ifstream trace(options.traceFile);
    for (std::string line; std::getline(trace, line);) {
        long long frameUs = 0;
        long zoom = 0;
        long focus = 0;
        if (sscanf(line.c_str(), "%lld %*s isp frame number=%*d zoom=%ld focus=%ld", &frameUs,
                   &zoom, &focus) != 3)
            continue;
        frames++;
        EXPECT_EQ(std::prev(drawn["zoom"].upper_bound(frameUs))->second, zoom) << line;
        EXPECT_EQ(std::prev(drawn["focus"].upper_bound(frameUs))->second, focus) << line;
    }
    EXPECT_GT(frames, 50);
    remove(options.traceFile.c_str());
    remove(options.vcdFile.c_str());
}
