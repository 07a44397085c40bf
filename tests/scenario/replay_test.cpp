// One seed, one trace: the same scenario gives the same bytes whenever and wherever it runs.
#include "scenario.h"

#include "optics/scene.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <unistd.h>

using namespace scenario;

static std::string playStory(uint64_t seed, bool isDisturbed) {
    vcam::CameraOptions options;
    options.seed = seed;
    options.traceFile = "/tmp/replay-" + std::to_string(getpid()) + ".txt";
    run(options, [&] {
        startAndSettle();
        send({0x81, 0x01, 0x04, 0x07, 0x02, 0xFF}); // zoom toward tele
        passMs(1500);
        // Processor time and memory, which the camera must not notice.
        const std::vector<std::string> litter(isDisturbed ? 200000 : 0, std::string(200, '.'));
        send({0x81, 0x01, 0x04, 0x07, 0x00, 0xFF});
        waitIdle();
        vcam::setNight(true);
        vcam::setObjectDistanceM(3);
        passMs(10000);
        waitIdle();
    });
    std::stringstream text;
    text << std::ifstream(options.traceFile).rdbuf();
    std::remove(options.traceFile.c_str());
    return text.str();
}

TEST(Replay, same_seed_gives_the_same_bytes_and_another_seed_another_story) {
    const std::string first = playStory(3, false);
    const std::string again = playStory(3, true);
    const auto [here, there] =
        std::mismatch(first.begin(), first.end(), again.begin(), again.end());
    EXPECT_TRUE(first == again) << "differs at: " << std::string(here, first.end()).substr(0, 200)
                                << "\nagainst: " << std::string(there, again.end()).substr(0, 200);
    EXPECT_TRUE(first != playStory(4, false));
}
