// The example host, as built by anybody, on the virtual camera that the environment loads under it.
#include "scenario/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>

namespace {

struct Ended {
    int status = -1;
    std::string said; ///< On both standard streams.
};

class Preload : public testing::Test {
protected:
    std::string file(const std::string &name) const { return folder_.file(name); }

    std::string read(const std::string &name) const { return scenario::readAll(file(name)); }

    /// @p settings as a shell writes them, VIRTUAL_CAMERA left off: "SEED=2 END_MS=1000".
    Ended runHost(const std::string &settings, const std::string &port = "/dev/virtual-serial",
                  const std::string &program = HOST_PROGRAM) const {
        std::string command = "env LD_PRELOAD=" VIRTUAL_CAMERA_LIBRARY;
        std::istringstream words(settings);
        for (std::string word; words >> word;)
            command += " VIRTUAL_CAMERA_" + word;
        command +=
            " " + program + " " + port + " " + folder_.path() + " >" + file("said") + " 2>&1";
        const int status = system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("said")};
    }

    const scenario::TemporaryFolder folder_;
};

} // namespace

TEST_F(Preload, host_keeps_the_true_position_and_the_seed_alone_decides_the_trace) {
    std::string traces[3];
    const char *const settings[] = {"SEED=4", "SEED=4", "SEED=5"};
    for (int i = 0; i < 3; ++i) {
        std::filesystem::remove(file("position"));
        const Ended ended =
            runHost("END_MS=20000 LENS=A TRACE=" + file("trace") + " " + std::string(settings[i]));
        EXPECT_EQ(ended.status, 0);
        unsigned position[2] = {};
        std::ifstream(file("position")).read(reinterpret_cast<char *>(position), sizeof position);
        const std::string closing = "virtual camera: 20.000 s, truly at zoom " +
                                    std::to_string(position[0]) + " focus " +
                                    std::to_string(position[1]) + ", ";
        EXPECT_NE(ended.said.find(closing), std::string::npos) << closing << ended.said;
        EXPECT_NE(ended.said.find(" 0 steps lost, 0 violations\n"), std::string::npos);
        traces[i] = read("trace");
    }
    EXPECT_GT(traces[0].size(), 10000u);
    EXPECT_TRUE(traces[0] == traces[1]);
    EXPECT_FALSE(traces[0] == traces[2]);
}

TEST_F(Preload, script_speaks_at_its_instants_and_answers_are_shown) {
    std::ofstream(file("script")) << "# what a controller does\n"
                                     "15000 81 09 04 38 FF\n"
                                     "15000 distance 3   # metres\n\n"
                                     "16000 81 01 04 07 27 ff\n";
    const Ended ended = runHost("SCRIPT=" + file("script") + " TRACE=" + file("trace"));
    const std::string text = ended.said + read("trace");
    for (const char *line : {"   15.000  controller sends  81 09 04 38 FF\n",
                             "   15.000  camera answers    90 50 02 FF\n",
                             "virtual camera: 46.000 s", // 30 s after the script
                             "\n15000000 controllerThread scene distance metres=3",
                             "\n16000000 SonyViscaProtocol serial read bytes=8101040727\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line;
}

TEST_F(Preload, library_gets_its_settings_though_the_host_knows_none) {
    std::ofstream(file("script")) << "15000 81 01 04 08 02 FF\n15500 FF 01 00 55 00 00 56\n";
    for (const int replies : {0, 1, 2}) {
        const Ended ended = runHost("RECOVERY=on END_MS=17000 SCRIPT=" + file("script") +
                                    " REPLIES=" + std::to_string(replies));
        const bool isAcknowledged = ended.said.find("90 41 FF") != std::string::npos;
        const bool isTold = ended.said.find("FF 01 00 5D 00 00 5E") != std::string::npos;
        EXPECT_EQ(isAcknowledged, replies > 0) << ended.said;
        EXPECT_EQ(isTold, replies > 1) << ended.said;
        EXPECT_EQ(ended.status, 0);
    }
}

TEST_F(Preload, settings_that_nobody_can_make_yet_are_refused) {
    const Ended ended = runHost("RECOVERY=on", "any", "env VIRTUAL_CAMERA=on /bin/echo");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.said, "virtual camera: VIRTUAL_CAMERA_RECOVERY: no library that has this "
                          "setting is loaded yet\n");
}

TEST_F(Preload, only_the_named_path_is_the_serial_port_and_only_the_librarys_program_a_host) {
    EXPECT_EQ(runHost("END_MS=1 SERIAL=/dev/ttyS9", "/dev/ttyS9").status, 0);
    EXPECT_EQ(runHost("END_MS=1 SERIAL=/dev/ttyS9").status, 1);
    EXPECT_EQ(runHost("", "any", "/bin/echo").said, "any " + folder_.path() + "\n");
}

TEST_F(Preload, camera_begins_as_the_settings_say) {
    const Ended ended = runHost("END_MS=1 BUILT_IN_CURVES=on DISTANCE=2 ZOOM_START=10216 "
                                "FOCUS_START=12212");
    EXPECT_NE(ended.said.find("zoom 10216 focus 12212, +0.00 half depths"), std::string::npos)
        << ended.said;
}

TEST_F(Preload, wrong_setting_is_named_before_anything_runs) {
    std::ofstream(file("late")) << "2000 81\n1000 81\n";
    std::ofstream(file("odd")) << "1000 8\n";
    const std::pair<std::string, std::string> rows[] = {
        {"LENS=none", "VIRTUAL_CAMERA_LENS: none is no lens model: A or B"},
        {"FRAME_RATE=nan", "VIRTUAL_CAMERA_FRAME_RATE: nan is no frame rate from 5 to 120 Hz"},
        {"REPLIES=3", "VIRTUAL_CAMERA_REPLIES: 3 is none of 0, 1 and 2"},
        {"NIGHT=1", "VIRTUAL_CAMERA_NIGHT: 1 is neither on nor off"},
        {"END_MS=-1", "VIRTUAL_CAMERA_END_MS: -1 is no whole number of milliseconds"},
        {"SEDE=1", "VIRTUAL_CAMERA_SEDE: there is no such setting"},
        {"SCRIPT=" + file("none"), file("none") + ": can't be read"},
        {"SCRIPT=" + file("late"), file("late") + ":2: before the line above it"},
        {"SCRIPT=" + file("odd"),
         file("odd") + ":1: not 'milliseconds hex bytes' or 'milliseconds distance metres'"}};
    for (const auto &[settings, complaint] : rows) {
        const Ended ended = runHost(settings);
        EXPECT_EQ(ended.said, "virtual camera: " + complaint + "\n");
        EXPECT_EQ(ended.status, 1) << settings;
    }
}
