// One seed, one trace: the same scenario gives the same bytes whenever and wherever it runs.
#include "scenario.h"

#include "devices/isp.h"
#include "optics/scene.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <unistd.h>

using namespace scenario;

/// Processor time and memory, which the camera must not notice.
static void disturb() {
    static std::vector<std::string> litter;
    for (volatile unsigned i = 0; i < 2000000; i = i + 1)
        if (i % 1000 == 0)
            litter.emplace_back(i % 7000, '.');
}

static std::string playStory(uint64_t seed, bool isDisturbed) {
    vcam::CameraOptions options;
    options.seed = seed;
    options.traceFile = "/tmp/replay-" + std::to_string(getpid()) + ".txt";
    if (isDisturbed)
        disturb();
    run(options, [&] {
        startAndSettle();
        send({0x81, 0x01, 0x04, 0x07, 0x02, 0xFF}); // zoom toward tele
        passMs(1500);
        if (isDisturbed)
            disturb();
        send({0x81, 0x01, 0x04, 0x07, 0x00, 0xFF});
        waitIdle();
        vcam::setNight(true);
        vcam::saturateZones(0xFF00);
        vcam::setObjectDistanceM(3);
        passMs(10000);
        waitIdle();
    });
    std::stringstream text;
    text << std::ifstream(options.traceFile).rdbuf();
    std::remove(options.traceFile.c_str());
    return text.str();
}

/// The first line that is not the same in both, as it stands in either.
static std::string findDifference(const std::string &one, const std::string &other) {
    std::istringstream lines[2] = {std::istringstream(one), std::istringstream(other)};
    std::string line[2];
    while (line[0] == line[1] && (lines[0] || lines[1]))
        for (const int i : {0, 1})
            if (!std::getline(lines[i], line[i]))
                line[i].clear();
    return line[0] == line[1] ? "" : "\n" + line[0] + "\n" + line[1];
}

TEST(Replay, same_seed_gives_the_same_bytes_and_another_seed_another_story) {
    const std::string first = playStory(3, false);
    EXPECT_EQ(findDifference(first, playStory(3, true)), "");
    EXPECT_NE(findDifference(first, playStory(4, false)), "");
}
