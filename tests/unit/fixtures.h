// What the unit tests stand on: the lens model as start-up builds it, without a host and without a
// move; what the library prints; and, for what waits or reaches the driver chip, a powered virtual
// camera in a process of its own.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "autofocus_service.h"
#include "camera.h"

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

/// Geometry, grid, built-in focus lines and the maps of 18 ratios; the lens stands parked.
inline void buildLens(int lensType, int sensor) {
    g_LensType = lensType;
    g_SensType = sensor;
    Lens_Init_GlobalVariable();
    Lens_Init_ZoomStep();
    Lens_Init_OSDMultiple(kFewestRatios);
    buildRatioMaps();
    g_FLineInfo = {};
    Lens_Init_FLineInfo();
    Lens_Init_2MFocusLine();
    Lens_Init_Interpolation();
    Lens_Set_FocusStep();
    g_FLineFlag = 0;
    setPosition(ZM_Wide_Limit, g_FLineInfo.tagPosition[0][0]);
}

/// The default lens with a mailbox that holds kUntouched.
class LensCase : public testing::Test {
protected:
    static constexpr unsigned kUntouched = 99;

    void SetUp() override {
        printedBy([] { buildLens(LENS_B, 2); });
        record = {kUntouched, kUntouched, 0, 0};
        g_ShaPosInfo = &record;
        g_ICUTState = 0;
    }

    void TearDown() override {
        g_ShaPosInfo = nullptr;
        g_LensType = LENS_B;
        g_SensType = 2;
        g_ICUTState = 0;
    }

    Lens_ShaPos_ST record = {};
};

namespace fixtures {

/// In the powered process standard output is the library's console: failures take the other way.
class FailuresToStderr : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult &result) override {
        if (result.failed())
            fprintf(stderr, "%s:%d: %s\n", result.file_name(), result.line_number(),
                    result.message());
    }
};

[[noreturn]] inline void runPowered(const std::string &folder, const std::function<void()> &body) {
    testing::UnitTest::GetInstance()->listeners().Append(new FailuresToStderr);
    vcam::CameraOptions options;
    options.scratch = folder + "/camera";
    options.consoleFile = folder + "/console.txt";
    vcam::powerOn(options);
    body();
    vcam::powerOff();
    fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace fixtures

inline std::string readFile(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

/// Run @p body in virtual time on a powered camera; its failures are the case's. What the library
/// has printed meanwhile.
inline std::string onPoweredCamera(const std::function<void()> &body) {
    char folder[] = "/tmp/unit-XXXXXX";
    EXPECT_NE(mkdtemp(folder), nullptr);
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        fixtures::runPowered(folder, body);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const std::string console = readFile(std::string(folder) + "/console.txt");
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return withoutLineNumbers(console);
}
