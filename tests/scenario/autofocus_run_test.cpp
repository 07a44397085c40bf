// Autofocus runs, with the wide search of a picture far out of focus: exact ones on focus values
// that the case makes up, and sharp ones on the picture.
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
static const int kFarOfWide = 12234; // where the infinity line begins; the 2 m line at 12212

/// What a frame is worth: first and second focus value.
using Worth = std::pair<double, double>;

using Scene = std::function<Worth(int focus, int frame)>;

/// One run in front of a made-up scene; the first record that the run reads is of frame 0. The
/// whole picture is worth 1000 more than its centre. @p onTheWay is what comes meanwhile.
static void focusOn(const Scene &scene, AF_CMD_em onTheWay) {
    int64_t startUs = vcam::kForeverUs;
    int frame = -1;
    publishUntil([] { return Lens_Get_Command() == CMD_NONE; },
                 [&](int focus) {
                     if (startUs == vcam::kForeverUs) {
                         startUs = nextPollUs();
                         command(CMD_FOCUS);
                     }
                     frame += vcam::nowUs() > startUs ? 1 : 0;
                     if (frame == 3)
                         command(onTheWay);
                     const Worth worth = scene(focus, frame);
                     AF_Statistics_Info record = {};
                     record.vwV1SumHalf = unsigned(worth.first);
                     record.vwV2SumHalf = unsigned(worth.second);
                     record.vwV1SumAll = record.vwV1SumHalf + 1000;
                     return record;
                 });
}

static Scene makePeak(int peak) {
    return [=](int focus, int) {
        return Worth{std::max(5000.0, 20000 - 100.0 * std::abs(focus - peak)), 0};
    };
}

static Scene makeFlat(double worth) {
    return [=](int, int) { return Worth{worth, worth}; };
}

static void expectSharp() {
    EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1);
}

static void obey(AF_CMD_em code, unsigned value = 0) {
    command(code, value);
    passMs(100);
    waitIdle();
}

TEST(AutofocusRun, ends_sharp_at_every_zoom_distance_and_light_with_every_blur) {
    for (unsigned kind = 0; kind < 16; ++kind) {
        SCOPED_TRACE(kind);
        vcam::CameraOptions options;
        options.seed = 1 + kind % 4;
        options.gaussianBlur = (kind & 4) != 0;
        const bool night = kind >= 8;
        run(options, [&] {
            startAndSettle();
            vcam::setNight(night);
            storeWord(&g_ICUTState, int(night));
            for (unsigned zoom16 : {12422u, 15170u, 16228u, 0u}) {
                obey(CMD_DZF, zoom16);
                for (double distance : {3.0, 10.0, HUGE_VAL}) {
                    vcam::setObjectDistanceM(distance);
                    obey(CMD_FOCUS);
                    SCOPED_TRACE(testing::Message() << zoom16 << ", at " << distance << " m");
                    expectSharp();
                }
            }
            expectSound();
            const int knock = (kind % 2 == 0 ? -120 : 120) * (night ? 2 : 1);
            vcam::placeAt(vcam::Axis::Focus, vcam::truePosition(vcam::Axis::Focus) + knock);
            obey(CMD_FOCUS);
            expectSharp();
        });
    }
}

/// A peak at 12200 with nothing but @p height on its near side (-1) or its far side (1).
static Scene makeCliff(int side, double height) {
    return [=](int focus, int frame) {
        return side * (focus - 12200) > 0 ? Worth{height, 0} : makePeak(12200)(focus, frame);
    };
}

/// @p before until the focus has once come down to @p turn, then @p after.
static Scene makeChange(const Scene &before, int turn, const Scene &after) {
    bool turned = false;
    return [=](int focus, int frame) mutable {
        const Worth worth = (turned ? after : before)(focus, frame);
        turned = turned || focus <= turn;
        return worth;
    };
}

/// What each frame leaves of a value.
static double fade(double value, int frame) {
    return value * std::pow(0.97, frame);
}

// At the wide end coarse passes run over 12148 to 12298, and fine ones back to 48 steps (64 at
// night) beyond the peak found, further if it still rises there. A wide search runs over 128 steps
// (256 at night) beyond 12212 and 12234 up to three times and without a peak returns to where it
// began.
TEST(AutofocusRun, focus_goes_step_by_step_where_the_scene_made_up_for_it_leads) {
    const Scene still = makePeak(12200);
    const Scene behind = makePeak(12261);
    const Scene farOut = [](int focus, int) {
        const double off = std::abs(focus - 12130);
        return Worth{std::max(300.0, 12000 - 200 * off), std::max(500.0, 20000 - 125 * off)};
    };
    const Scene low = [](int, int frame) { return Worth{frame == 0 ? 5000.0 : 1600, 0}; };
    const Scene high = [](int, int frame) { return Worth{frame == 0 ? 100.0 : 1601, 0}; };
    const Scene both = [](int, int frame) { return Worth{fade(1500, frame), fade(30000, frame)}; };
    const Scene faint = [](int, int frame) { return Worth{fade(700, frame), fade(30000, frame)}; };
    const Scene first = [](int, int frame) { return Worth{fade(1500, frame), 30000}; };
    const struct {
        int night;
        unsigned from;
        Scene scene;
        int clearMax;
        std::string runs;
        unsigned zoom = kWide;
        int zoomDirection = MS_Z_TELE;
    } rows[] = {
        // Entered from outside, or at an end, it goes on inward.
        {0, 12000, still, 20000, "16 32 2x48 4 30x2 8x-2 8 "},
        {0, 12148, still, 20000, "30x2 8x-2 8 "},
        {0, 12298, still, 20000, "53x-2 8x2 -8 ", kWide, MS_Z_WIDE},
        {0, 12371, still, 20000, "-16 -32 -25 53x-2 8x2 -8 ", kWide, MS_Z_WIDE},
        // Three falls before any rise are a wrong direction, at night six.
        {1, 12234, behind, 20000, "7x-2 1 26x2 12x-2 12 "},
        {0, 12234, makeChange(still, 12192, makePeak(12270)), 20000, "21x-2 43x2 -8 "},
        {0, 12234, makeChange(still, 12192, makeFlat(15000)), 15000, "21x-2 28x2 -16 -32 -8 "},
        {1, 12234, makeChange(still, 12188, makeFlat(15000)), 15000, "23x-2 38x2 -16 -32 -28 "},
        // 2 % below the peak are enough to have passed it; at night 5 % in the coarse pass.
        {0, 12234, makeChange(makeCliff(-1, 19500), 12192, makeCliff(1, 19500)), 20000,
         "21x-2 8x2 -8 "},
        {1, 12234, makeCliff(-1, 18900), 20000, "23x-2 12x2 -12 "},
        {1, 12234, makeChange(makeCliff(-1, 19500), 12148, still), 19900, "43x-2 1 32x2 13x-2 14 "},
        // The second of two records says whether a wide search is needed.
        {0, 12234, high, 1601, "43x-2 1 74x2 1 -1 74x-2 -1 16 32 2x48 5 "},
        {0, 12234, low, 1600, "-8 8x-16 -14 8 16x16 14 -8 16x-16 -14 16 32 2x48 6 "},
        {0, 12234, farOut, 12000, "-8 -16 2x-24 4x-16 -8 -6 29x2 -12 "},
        {1, 12234, farOut, 12000, "-8 3x-16 11x-8 15x4 -16 -4 "},
        {0, 12234, makeFlat(900), 900,
         "-8 -16 5x-24 -6 8 16 10x24 14 -8 -16 10x-24 -14 16 32 2x48 6 "},
        {1, 12234, makeFlat(900), 900, "-8 16x-16 -14 8 32x16 14 -8 32x-16 -14 16 32 4x48 38 "},
        {0, 11900, makeFlat(900), 900,
         "16 32 5x48 24 8 16 5x24 6 -8 -16 10x-24 -14 8 16 10x24 14 -16 -32 8x-48 -30 "},
        // Falls of both values turn it early, by day of both, at night of the first.
        {0, 12234, both, 1040, "-8 -16 2x-8 8 16 2x8 -8 -16 2x-8 16 24 "},
        {0, 12234, faint, 429, "-8 -16 2x-24 2x-8 8 16 2x24 2x8 -8 -16 2x-24 2x-8 16 32 40 "},
        {0, 12234, first, 700, "-8 -16 5x-24 -6 8 16 10x24 14 -8 -16 10x-24 -14 16 32 2x48 6 "},
        {1, 12234, first, 767, "-8 6x-16 2x-8 8 6x16 2x8 -8 6x-16 2x-8 16 32 48 24 "},
        // A flat scene ends after three passes, at night six; the range widens toward tele.
        {1, 12234, makeFlat(5000), 5000,
         "43x-2 1 74x2 1 -1 74x-2 -1 1 74x2 1 -1 74x-2 -1 1 74x2 1 -16 -32 2x-48 -5 "},
        {0, 10806, makeFlat(5000), 5000, "61x-2 1 121x2 1 -1 121x-2 -1 16 32 4x48 3 ", 17128},
        {0, 10724, makeFlat(5000), 5000, "44x-4 -2 2 88x4 2 -2 88x-4 -2 16 32 6x48 18 ", 17896},
        {0, 11122, makeFlat(5000), 5000, "71x-4 2 141x4 2 -2 141x-4 -2 16 32 10x48 38 ", 19432},
        {0, 11611, makeFlat(5000), 6000, "48x-8 -1 4 95x8 6 -4 95x-8 -6 16 32 14x48 46 ", 19944},
        {0, 12518, makeFlat(5000), 6000, "65x-8 -4 4 130x8 4 -4 130x-8 -4 16 32 20x48 36 ", 20488},
    };
    runEach(rows, [&](const auto &row) {
        startParked();
        placeLens(row.zoom, row.from);
        g_ZoomDir = row.zoomDirection;
        storeWord(&g_ICUTState, row.night);
        const int64_t startUs = vcam::nowUs();
        const AF_CMD_em harmless[] = {CMD_FOCUS, CMD_ZSTOP, CMD_FSTOP};
        focusOn(row.scene, harmless[(&row - rows) % 3]);
        EXPECT_EQ(runText("CD", startUs), row.runs);
        EXPECT_EQ(host().savedPositions.back(), Place(row.zoom, truePlace().second));
        EXPECT_EQ(loadWord(&g_AFVClearMax), row.clearMax);
        EXPECT_EQ(countSaid("______Start______", startUs), 1);
        expectSound();
    });
}

TEST(AutofocusRun, command_ends_it_with_the_frame_and_is_obeyed_without_waiting_for_a_poll) {
    for (int knock : {0, 120}) { // a wide search brakes once more
        run([&] {
            startParked();
            EXPECT_EQ(lensFocusCtrl(CMD_FOCUS), unsigned(CMD_MFMODE)); // pending: nothing begins
            EXPECT_EQ(countSaid("______Start______"), 0);
            vcam::placeAt(vcam::Axis::Focus, kFarOfWide + knock);
            passMs(2000);
            command(CMD_FOCUS);
            passMs(490);
            const int64_t frameUs = (vcam::nowUs() / 40000 + 1) * 40000;
            const unsigned focus = loadWord(&FM_Step_Local);
            command(CMD_TELE);
            passMs(150);
            const std::string brakes = knock == 0 ? "" : "29=0600 VD 10000\n";
            EXPECT_EQ(motorText(frameUs).find(brakes + "29=0600 VD 10000\n24=0430 "), 0u);
            EXPECT_EQ(host().savedPositions.back(), Place(kWide, focus));
            EXPECT_EQ(loadWord(&g_AutoCheckFlag), 0);
        });
    }
}
