// What the unit tests stand on: the lens model as start-up builds it, without a host and without a
// move; what the library prints; and, for what waits or reaches the driver chip, a powered virtual
// camera in a process of its own.
#pragma once

#include <algorithm>
#include <functional>
#include <regex>
#include <string>

#include "scenario/scenario.h"
#include "unit/built_lens.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"

/// A trace carries its source line, which no test should know.
inline std::string withoutLineNumbers(const std::string &text) {
    return std::regex_replace(text, std::regex("Line:[0-9]+"), "Line:#");
}

/// What the library prints while @p act runs. A failure inside @p act would be swallowed with it,
/// so it hands its results out.
template <class Act> std::string printedBy(Act act) {
    testing::internal::CaptureStdout();
    act();
    return withoutLineNumbers(testing::internal::GetCapturedStdout());
}

/// Zoom position of a quarter point, 0 to 60.
inline unsigned zoomOfPoint(int point) {
    unsigned zoom = 10216;
    for (int i = 0; i < point; ++i)
        zoom += i < 48 ? 192 : i < 52 ? 128 : i < 56 ? 80 : 56;
    return zoom;
}

constexpr unsigned kUntouched = 99; ///< What the mailbox starts out with.

/// The default lens with a mailbox.
class LensCase : public testing::Test {
protected:
    void SetUp() override {
        printedBy([] { buildLens(2); });
        record = {kUntouched, kUntouched, 0, 0};
        g_ShaPosInfo = &record;
    }

    void TearDown() override { g_ShaPosInfo = nullptr; }

    /// What @p act returns; what it makes the library print is in text.
    template <class Act> int resultOf(Act act) {
        int result = -7;
        text = printedBy([&] { result = act(); });
        return result;
    }

    Lens_ShaPos_ST record = {};
    std::string text;
};

/// Run @p body in virtual time on a powered camera in a process of its own; what was printed there.
inline std::string onPoweredCamera(const std::function<void()> &body) {
    const scenario::Ending ending = scenario::runToEnd({}, body);
    EXPECT_EQ(ending.status, 0) << ending.said;
    return withoutLineNumbers(ending.printed);
}
