// Autofocus runs: exact ones on focus values that the case makes up, and sharp ones on the picture.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <cmath>
#include <cstdlib>

using namespace scenario;

static const int64_t kFrameUs = 40000;
static const unsigned kWide = 10216;
static const unsigned kFarOfWide = 12234; // where the infinity line begins; the 2 m line at 12212

using FocusValue = std::function<unsigned(int focus)>;

/// One run in front of a made-up scene. The whole picture is worth 1000 more than its centre.
static void focusOn(const FocusValue &value) {
    command(CMD_FOCUS);
    publishUntil([] { return Lens_Get_Command() == CMD_NONE; },
                 [&](int focus) {
                     AF_Statistics_Info record = {};
                     record.vwV1SumHalf = value(focus);
                     record.vwV1SumAll = record.vwV1SumHalf + 1000;
                     return record;
                 });
}

static FocusValue makePeak(int peak) {
    return [peak](int focus) { return 20000u - 100u * unsigned(std::abs(focus - peak)); };
}

static void expectSharp(const char *where) {
    EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1)
        << where << ", object at " << vcam::objectDistanceM() << " m";
}

/// Zoom toward tele until @p zoom is reached, then wait for the autofocus run.
static void zoomTo(unsigned zoom) {
    command(CMD_TELE);
    waitUntil([&] { return loadWord(&ZM_Step_Local) >= zoom; }, 30, "the zoom is there");
    command(CMD_ZSTOP);
    passMs(100);
    waitIdle();
}

static void expectSharpEverywhere(bool atNight) {
    startAndSettle();
    expectSharp("at the wide end after the start");
    vcam::setNight(atNight);
    storeWord(&g_ICUTState, atNight ? 1 : 0);
    for (unsigned zoom : {kWide, 14056u, 18280u, 20488u}) {
        zoomTo(zoom);
        for (double distance : {3.0, 10.0, HUGE_VAL}) {
            vcam::setObjectDistanceM(distance);
            command(CMD_FOCUS);
            passMs(100);
            waitIdle();
            expectSharp(("at zoom " + std::to_string(zoom)).c_str());
        }
    }
    expectSound();
}

TEST(AutofocusRun, ends_sharp_at_every_zoom_distance_and_light_with_every_blur) {
    for (int kind = 0; kind < 4; ++kind) {
        for (uint64_t seed = 1; seed <= 4; ++seed) {
            vcam::CameraOptions options;
            options.seed = seed;
            options.gaussianBlur = (kind & 1) != 0;
            const bool atNight = (kind & 2) != 0;
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", gaussian "
                                            << options.gaussianBlur << ", night " << atNight);
            run(options, [&] { expectSharpEverywhere(atNight); });
        }
    }
}

TEST(AutofocusRun, moves_one_group_a_frame_then_returns_to_the_peak_stores_and_arms) {
    run([] {
        startParked();
        passMs(2000);
        const int64_t commandedUs = vcam::nowUs();
        command(CMD_FOCUS);
        waitIdle();
        const std::vector<int64_t> starts = whenSaid("______Start______", commandedUs);
        ASSERT_EQ(starts.size(), 1u);
        // Two records are read at the start, then a group goes out as each record comes in.
        const int64_t firstUs = (starts[0] / kFrameUs + 2) * kFrameUs;
        const std::vector<Event> groups = events("chip", "run", commandedUs);
        ASSERT_GT(groups.size(), 20u);
        size_t searching = 0;
        while (groups[searching].timeUs == firstUs + int64_t(searching) * kFrameUs)
            ++searching;
        int focus = int(kFarOfWide);
        for (size_t i = 0; i < searching; ++i)
            focus += std::stoi(groups[i].get("steps"));
        const int peak = vcam::truePosition(vcam::Axis::Focus);
        for (size_t i = searching; i < groups.size(); ++i) {
            EXPECT_EQ(groups[i].timeUs, groups[searching].timeUs + int64_t(i - searching) * 10000);
            focus += std::stoi(groups[i].get("steps"));
        }
        EXPECT_EQ(focus, peak);
        EXPECT_EQ(host().savedPositions.size(), 3u);
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(kWide, unsigned(peak)));
        const float share = float(peak - 10000) / 4880;
        EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shRFPosition),
                  unsigned(49152.0F - share * 45056.0F));
        expectSharp("at the wide end");
        expectSound();
    });
}

TEST(AutofocusRun, patience_with_falls_and_hills_follows_the_ircut_state) {
    const struct {
        int night, peak;
        std::vector<const char *> passes;
    } rows[] = {
        {0, 12200, {"flagU: 16 flagD: 0 flagH: 4 afvMax: 20000"}},
        {1, 12200, {"flagU: 16 flagD: 0 flagH: 6 afvMax: 20000"}},
        {0,
         12261,
         {"flagU: 0 flagD: 3 flagH: 0 afvMax: 17100", "flagU: 17 flagD: 0 flagH: 4 afvMax: 20000"}},
        {1,
         12261,
         {"flagU: 0 flagD: 6 flagH: 0 afvMax: 17100", "flagU: 20 flagD: 0 flagH: 6 afvMax: 20000"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "night " << row.night << ", peak " << row.peak);
        run([&] {
            startParked();
            storeWord(&g_ICUTState, row.night);
            const int64_t startUs = vcam::nowUs();
            focusOn(makePeak(row.peak));
            for (const char *pass : row.passes)
                EXPECT_EQ(countSaid(pass, startUs), 1) << pass;
            EXPECT_EQ(loadWord(&FM_Step_Local), unsigned(row.peak));
            EXPECT_EQ(loadWord(&g_AFVClearMax), 20000);
            EXPECT_EQ(loadWord(&g_AutoCheckFlag), 1);
        });
    }
}

// The last pass's first sample is the first of equals; by day that pass runs toward near, at night
// toward far, and its first step is a quarter of the range's step ceiling.
TEST(AutofocusRun, flat_scene_ends_after_three_passes_by_day_and_six_at_night) {
    const struct {
        unsigned zoom, nearEnd, farEnd, firstStep, value;
    } rows[] = {
        {kWide, 12148, 12298, 1, 5000}, {17128, 10684, 10928, 1, 5000},
        {17896, 10546, 10902, 2, 5000}, {19432, 10838, 11406, 2, 5000},
        {19944, 11226, 11996, 4, 6000}, {20488, 11994, 13042, 4, 6000},
    };
    for (const auto &row : rows) {
        for (int night = 0; night < 2; ++night) {
            SCOPED_TRACE(testing::Message() << "zoom " << row.zoom << ", night " << night);
            run([&] {
                startParked();
                placeLens(row.zoom, (row.nearEnd + row.farEnd) / 2);
                storeWord(&g_ICUTState, night);
                const int64_t startUs = vcam::nowUs();
                focusOn([](int) { return 5000u; });
                const std::string pass =
                    "flagU: 0 flagD: 0 flagH: 0 afvMax: " + std::to_string(row.value);
                EXPECT_EQ(countSaid(pass, startUs), night == 0 ? 3 : 6);
                EXPECT_EQ(loadWord(&FM_Step_Local),
                          night == 0 ? row.farEnd - row.firstStep : row.nearEnd + row.firstStep);
                EXPECT_EQ(loadWord(&g_AFVClearMax), int(row.value));
                expectSound();
            });
        }
    }
}

TEST(AutofocusRun, it_enters_the_range_or_starts_inside_it_by_the_last_zoom_direction) {
    const struct {
        unsigned focus;
        int zoomDirection;
        std::vector<int> entry;
    } rows[] = {
        {12000, MS_Z_TELE, {16, 32, 48, 48, 4, 2}}, // then inward in that direction
        {12148, MS_Z_TELE, {2, 2}},
        {12230, MS_Z_TELE, {-2}},
        {12231, MS_Z_WIDE, {2}},
        {12298, MS_Z_WIDE, {-2, -2}},
        {12371, MS_Z_TELE, {-16, -32, -25, -2}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.focus << ", zoom direction " << row.zoomDirection);
        run([&] {
            startParked();
            placeLens(kWide, row.focus);
            g_ZoomDir = row.zoomDirection;
            const int64_t startUs = vcam::nowUs();
            focusOn(makePeak(12220));
            std::vector<int> groups = motorRuns("CD", startUs);
            groups.resize(row.entry.size());
            EXPECT_EQ(groups, row.entry);
            EXPECT_EQ(loadWord(&FM_Step_Local), 12220u);
        });
    }
}

/// Where the focus turned between @p fromUs and now, and where it stands.
static std::vector<int> turningPoints(int focus, int64_t fromUs) {
    std::vector<int> points;
    int before = 0;
    for (int steps : motorRuns("CD", fromUs)) {
        if (before * steps < 0)
            points.push_back(focus);
        before = steps;
        focus += steps;
    }
    points.push_back(focus);
    return points;
}

static unsigned makePlateau(int focus, unsigned height) {
    return focus < 12200 ? height : makePeak(12200)(focus);
}

// The coarse pass runs from 12234 toward near over a peak at 12200; the fine pass runs back to 48
// steps (64 at night) beyond that peak, further if it still rises there.
TEST(AutofocusRun, scene_that_changes_between_the_passes_decides_where_they_turn) {
    const FocusValue still = makePeak(12200);
    const struct {
        const char *name;
        int night;
        FocusValue coarse, fine;
        std::vector<int> turns;
    } rows[] = {
        {"nothing changes", 0, still, still, {12192, 12208, 12200}},
        {"peak moves far out", 0, still, makePeak(12270), {12192, 12278, 12270}},
        {"peak moves to the edge", 0, still, makePeak(12248), {12192, 12256, 12248}},
        {"picture becomes flat", 0, still, [](int) { return 15000u; }, {12192, 12248, 12192}},
        {"and so at night", 1, still, [](int) { return 15000u; }, {12188, 12264, 12188}},
        {"a little below the peak by day",
         0,
         [](int focus) { return makePlateau(focus, 19500); },
         [](int focus) { return makePlateau(24400 - focus, 19500); },
         {12192, 12208, 12200}},
        {"a little below the peak at night",
         1,
         [](int focus) { return makePlateau(focus, 18900); },
         [](int focus) { return makePlateau(24400 - focus, 19500); },
         {12188, 12212, 12200}},
        {"too little below the peak at night",
         1,
         [](int focus) { return makePlateau(focus, 19500); },
         still,
         {12148, 12213, 12187, 12201}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        run([&] {
            startParked();
            storeWord(&g_ICUTState, row.night);
            const int64_t startUs = vcam::nowUs();
            bool turned = false;
            focusOn([&](int focus) {
                const unsigned value = turned ? row.fine(focus) : row.coarse(focus);
                turned = turned || focus <= row.turns[0];
                return value;
            });
            EXPECT_EQ(turningPoints(int(kFarOfWide), startUs), row.turns);
        });
    }
}

TEST(AutofocusRun, tele_command_ends_it_with_the_frame_and_zooms_without_waiting_for_a_poll) {
    run([] {
        startParked();
        passMs(2000);
        command(CMD_FOCUS);
        passMs(500);
        const int64_t commandedUs = vcam::nowUs();
        const int64_t frameUs = (commandedUs / kFrameUs + 1) * kFrameUs;
        const size_t saved = host().savedPositions.size();
        command(CMD_TELE);
        passMs(150);
        std::vector<std::string> expected = {"29=0600", "VD 10000", "24=0430"};
        if (frameUs != commandedUs)
            expected.insert(expected.begin(), "wait " + std::to_string(frameUs - commandedUs));
        std::vector<std::string> script = motorScript(commandedUs);
        script.resize(expected.size());
        EXPECT_EQ(script, expected);
        EXPECT_EQ(host().savedPositions.size(), saved + 1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE));
        EXPECT_EQ(loadWord(&g_AutoCheckFlag), 0);
        command(CMD_ZSTOP);
        passMs(100);
        waitIdle();
        expectSharp("after the zoom");
        expectSound();
    });
}

TEST(AutofocusRun, stop_codes_during_it_neither_end_it_nor_outlive_it) {
    for (AF_CMD_em stop : {CMD_ZSTOP, CMD_FSTOP, CMD_FOCUS}) {
        SCOPED_TRACE(stop);
        run([&] {
            startParked();
            passMs(2000);
            const int64_t startUs = vcam::nowUs();
            command(CMD_FOCUS);
            passMs(500);
            command(stop);
            waitIdle();
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_NONE));
            EXPECT_EQ(countSaid("______Start______", startUs), 1);
            EXPECT_GT(motorRuns("CD", startUs).size(), 20u);
            expectSharp("at the wide end");
        });
    }
}

TEST(AutofocusRun, pending_command_at_its_start_is_returned_and_nothing_moves) {
    run([] {
        startParked();
        const int64_t startUs = vcam::nowUs();
        const size_t saved = host().savedPositions.size();
        EXPECT_EQ(lensFocusCtrl(CMD_FOCUS), unsigned(CMD_MFMODE));
        EXPECT_TRUE(motorLog(startUs).empty());
        EXPECT_TRUE(consoleLines(startUs).empty());
        EXPECT_EQ(host().savedPositions.size(), saved);
    });
}
