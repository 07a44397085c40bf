// What an autofocus run does when the picture is far out of focus. At the wide end the search range
// is 12212 to 12234, enlarged by 128 steps each side by day and by 256 at night.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <algorithm>
#include <cmath>

using namespace scenario;

static const unsigned kWide = 10216;
static const int64_t kFrameUs = 40000;

/// What a frame is worth: first and second focus value.
struct Worth {
    double first, second;
};

using Scene = Worth (*)(int focus, int frame);

/// One run in front of a made-up scene; the first record that the run reads is of frame 0.
static void focusOn(const std::function<Worth(int focus, int frame)> &scene) {
    int64_t startUs = vcam::kForeverUs;
    int frame = -1;
    publishUntil([] { return Lens_Get_Command() == CMD_NONE; },
                 [&](int focus) {
                     if (startUs == vcam::kForeverUs) {
                         startUs = nextPollUs();
                         command(CMD_FOCUS);
                     }
                     frame += vcam::nowUs() > startUs ? 1 : 0;
                     const Worth worth = scene(focus, frame);
                     AF_Statistics_Info record = {};
                     record.vwV1SumHalf = unsigned(worth.first);
                     record.vwV2SumHalf = unsigned(worth.second);
                     return record;
                 });
}

static std::vector<int> times(int repeats, int steps) {
    return std::vector<int>(size_t(repeats), steps);
}

static std::vector<int> join(const std::vector<std::vector<int>> &parts) {
    std::vector<int> all;
    for (const std::vector<int> &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

static Worth makePeakAt12130(int focus, int) {
    const double off = std::abs(focus - 12130);
    return {std::max(300.0, 12000 - 200 * off), std::max(500.0, 20000 - 125 * off)};
}

static Worth fade(double first, double second, int frame) {
    const double left = std::pow(0.97, frame);
    return {first * left, second * left};
}

TEST(WideSearch, steps_grow_while_nothing_is_seen_and_a_short_pass_back_finds_the_peak) {
    const struct {
        int night;
        std::vector<int> groups;
    } rows[] = {
        {0, join({{-8, -16, -24, -24}, times(4, -16), {-8, -6}, times(29, 2), {-12}})},
        {1, join({{-8}, times(3, -16), times(11, -8), times(15, 4), {-16, -4}})},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "night " << row.night);
        run([&] {
            startParked();
            storeWord(&g_ICUTState, row.night);
            const int64_t startUs = vcam::nowUs();
            focusOn(makePeakAt12130);
            EXPECT_EQ(motorRuns("CD", startUs), row.groups);
            EXPECT_EQ(loadWord(&FM_Step_Local), 12130u);
            EXPECT_EQ(loadWord(&g_AFVClearMax), 12000);
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(kWide, 12130u));
            expectSound();
        });
    }
}

// Three passes, each against the one before, then back to where the run began.
TEST(WideSearch, without_a_peak_it_gives_up_and_returns_to_the_entry_position) {
    const std::vector<int> day150 = join({{8, 16}, times(5, 24), {6}});
    const std::vector<int> day278 = join({{8, 16}, times(10, 24), {14}});
    const std::vector<int> night278 = join({{8}, times(16, 16), {14}});
    const std::vector<int> night534 = join({{8}, times(32, 16), {14}});
    const std::vector<int> quick = {8, 16, 8, 8};
    const std::vector<int> slow = {8, 16, 24, 24, 8, 8};
    const std::vector<int> atNight = join({{8}, times(6, 16), {8, 8}});
    const std::vector<int> none = {};
    const std::vector<int> entry = join({{16, 32}, times(5, 48), {24}});
    const std::vector<int> back150 = {16, 32, 48, 48, 6};
    const std::vector<int> back278 = join({{16, 32}, times(4, 48), {38}});
    const std::vector<int> back462 = join({{-16, -32}, times(8, -48), {-30}});
    const Scene blank = [](int, int) { return Worth{900, 900}; };
    const Scene fading = [](int, int frame) { return fade(1500, 30000, frame); };
    const Scene faint = [](int, int frame) { return fade(700, 30000, frame); };
    const Scene half = [](int, int frame) { return Worth{fade(1500, 0, frame).first, 30000}; };
    const struct {
        const char *name;
        Scene scene;
        int night;
        unsigned focus;
        std::vector<int> entry;
        int direction; // of the first pass; the second and third are equally long
        std::vector<int> first, others, back;
    } rows[] = {
        {"blank by day", blank, 0, 12234, none, -1, day150, day278, back150},
        {"blank at night", blank, 1, 12234, none, -1, night278, night534, back278},
        {"range entered from nearer", blank, 0, 11900, entry, 1, day150, day278, back462},
        {"fading", fading, 0, 12234, none, -1, quick, quick, {16, 24}},
        {"fading and faint", faint, 0, 12234, none, -1, slow, slow, {16, 32, 40}},
        {"no fall of the second value", half, 0, 12234, none, -1, day150, day278, back150},
        {"which is not judged at night",
         half,
         1,
         12234,
         none,
         -1,
         atNight,
         atNight,
         {16, 32, 48, 24}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        run([&] {
            startParked();
            if (row.focus != loadWord(&FM_Step_Local))
                placeLens(kWide, row.focus);
            storeWord(&g_ICUTState, row.night);
            const int64_t startUs = vcam::nowUs();
            focusOn(row.scene);
            std::vector<int> expected = row.entry;
            int direction = row.direction;
            for (const auto &pass : {row.first, row.others, row.others}) {
                for (int steps : pass)
                    expected.push_back(direction * steps);
                direction = -direction;
            }
            EXPECT_EQ(motorRuns("CD", startUs), join({expected, row.back}));
            EXPECT_EQ(loadWord(&FM_Step_Local), row.focus);
            expectSound();
        });
    }
}

TEST(WideSearch, second_of_two_records_decides_and_1600_is_still_too_low) {
    const struct {
        double first, second;
        int firstGroup;
    } rows[] = {{100, 5000, -2}, {5000, 100, -8}, {5000, 1600, -8}, {100, 1601, -2}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.first << ", then " << row.second);
        run([&] {
            startParked();
            const int64_t startUs = vcam::nowUs();
            focusOn([&](int, int frame) {
                return Worth{frame <= 0 ? row.first : row.second, 5000};
            });
            const std::vector<int> groups = motorRuns("CD", startUs);
            ASSERT_FALSE(groups.empty());
            EXPECT_EQ(groups.front(), row.firstGroup);
        });
    }
}

TEST(WideSearch, knocked_lens_is_sharp_again) {
    for (int night = 0; night < 2; ++night) {
        for (int knock : {-1, 1}) {
            for (uint64_t seed = 1; seed <= 2; ++seed) {
                const int off = knock * (night == 0 ? 120 : 240);
                SCOPED_TRACE(testing::Message()
                             << "night " << night << ", by " << off << ", seed " << seed);
                vcam::CameraOptions options;
                options.seed = seed;
                run(options, [&] {
                    startAndSettle();
                    vcam::setNight(night != 0);
                    storeWord(&g_ICUTState, night);
                    const int sharp = vcam::truePosition(vcam::Axis::Focus);
                    vcam::placeAt(vcam::Axis::Focus, sharp + off);
                    command(CMD_FOCUS);
                    passMs(100);
                    waitIdle();
                    EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1);
                });
            }
        }
    }
}

TEST(WideSearch, command_stops_the_motor_where_it_is_and_is_run_at_once) {
    run([] {
        startParked();
        vcam::placeAt(vcam::Axis::Focus, 12234 + 120);
        passMs(2000);
        command(CMD_FOCUS);
        passMs(400);
        const int64_t commandedUs = vcam::nowUs();
        const unsigned focus = loadWord(&FM_Step_Local);
        EXPECT_EQ(motorRuns("CD", commandedUs - kFrameUs).size(), 1u);
        command(CMD_TELE);
        passMs(100);
        const std::vector<std::string> expected = {
            "wait " + std::to_string((commandedUs / kFrameUs + 1) * kFrameUs - commandedUs),
            "29=0600",
            "VD 10000",
            "29=0600",
            "VD 10000",
            "24=0430"};
        std::vector<std::string> script = motorScript(commandedUs);
        script.resize(expected.size());
        EXPECT_EQ(script, expected);
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(kWide, focus));
    });
}
