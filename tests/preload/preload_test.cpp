// The example host, as built by anybody, on the virtual camera that the environment loads under it.
#include <gtest/gtest.h>

#include <array>
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

std::string readFile(const std::string &path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

class Preload : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(mkdtemp(folder_.data()), nullptr); }
    void TearDown() override { std::filesystem::remove_all(file("")); }

    std::string file(const std::string &name) const {
        return std::string(folder_.data()) + "/" + name;
    }

    void write(const std::string &name, const std::string &text) const {
        std::ofstream(file(name)) << text;
    }

    /// @p settings as a shell writes them, VIRTUAL_CAMERA left off: "SEED=2 END_MS=1000".
    Ended runHost(const std::string &settings, const std::string &port = "/dev/virtual-serial",
                  const std::string &program = HOST_PROGRAM) const {
        std::string command = "env LD_PRELOAD=" VIRTUAL_CAMERA_LIBRARY;
        std::istringstream words(settings);
        for (std::string word; words >> word;)
            command += " VIRTUAL_CAMERA_" + word;
        command += " " + program + " " + port + " " + file("") + " 2>&1";
        Ended ended;
        FILE *output = popen(command.c_str(), "r");
        std::array<char, 4096> chunk;
        for (size_t size; (size = fread(chunk.data(), 1, chunk.size(), output)) > 0;)
            ended.said.append(chunk.data(), size);
        const int status = pclose(output);
        ended.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return ended;
    }

private:
    std::array<char, 32> folder_{"/tmp/preload-XXXXXX"};
};

} // namespace

TEST_F(Preload, host_is_asked_to_end_and_the_position_that_it_kept_is_the_true_one) {
    for (const char *lens : {"A", "B"}) {
        const Ended ended = runHost(std::string("END_MS=20000 LENS=") + lens);
        EXPECT_EQ(ended.status, 0);
        unsigned position[2] = {};
        std::ifstream(file("position")).read(reinterpret_cast<char *>(position), sizeof position);
        std::stringstream closing;
        closing << "virtual camera: 20.000 s, truly at zoom " << position[0] << " focus "
                << position[1] << ", ";
        EXPECT_NE(ended.said.find(closing.str()), std::string::npos) << closing.str() << ended.said;
        EXPECT_NE(ended.said.find(" 0 steps lost, 0 violations\n"), std::string::npos);
    }
}

TEST_F(Preload, script_speaks_at_its_instants_and_answers_are_shown) {
    write("script", "# what a controller does\n"
                    "15000 81 09 04 38 FF\n"
                    "15000 distance 3   # metres\n"
                    "\n"
                    "16000 81 01 04 07 27 ff\n");
    const Ended ended = runHost("SCRIPT=" + file("script") + " TRACE=" + file("trace"));
    EXPECT_EQ(ended.status, 0);
    EXPECT_NE(ended.said.find("   15.000  controller sends  81 09 04 38 FF\n"), std::string::npos);
    EXPECT_NE(ended.said.find("   15.000  camera answers    90 50 02 FF\n"), std::string::npos);
    EXPECT_NE(ended.said.find("virtual camera: 46.000 s"), std::string::npos) << "30 s after it";
    const std::string trace = readFile(file("trace"));
    EXPECT_NE(trace.find("\n15000000 controllerThread scene distance metres=3"), std::string::npos);
    EXPECT_NE(trace.find("\n16000000 SonyViscaProtocol serial read bytes=8101040727\n"),
              std::string::npos);
}

TEST_F(Preload, same_settings_give_the_same_trace_and_another_seed_another) {
    std::string traces[3];
    const char *const seeds[] = {"4", "4", "5"};
    for (int i = 0; i < 3; i++) {
        std::filesystem::remove(file("position"));
        runHost("END_MS=12000 TRACE=" + file("trace") + " SEED=" + seeds[i]);
        traces[i] = readFile(file("trace"));
    }
    EXPECT_GT(traces[0].size(), 10000u);
    EXPECT_TRUE(traces[0] == traces[1]);
    EXPECT_FALSE(traces[0] == traces[2]);
}

TEST_F(Preload, only_the_named_path_is_the_serial_port) {
    EXPECT_EQ(runHost("END_MS=1 SERIAL=/dev/ttyS9", "/dev/ttyS9").status, 0);
    EXPECT_EQ(runHost("END_MS=1 SERIAL=/dev/ttyS9").status, 1);
}

TEST_F(Preload, program_without_the_library_runs_in_real_time) {
    EXPECT_EQ(runHost("", "anything", "/bin/echo").said, "anything " + file("") + "\n");
}

TEST_F(Preload, wrong_setting_is_named_before_anything_runs) {
    write("late", "2000 81\n1000 81\n");
    write("odd", "1000 8\n");
    const struct {
        std::string settings, complaint;
    } rows[] = {{"LENS=C", "VIRTUAL_CAMERA_LENS=C: not a value that it can have"},
                {"SEED=-1", "VIRTUAL_CAMERA_SEED=-1: not a value that it can have"},
                {"SEDE=1", "VIRTUAL_CAMERA_SEDE: there is no such setting"},
                {"SCRIPT=" + file("none"), file("none") + ": can't be read"},
                {"SCRIPT=" + file("late"), file("late") + ":2: before the line above it"},
                {"SCRIPT=" + file("odd"), file("odd") + ":1: not 'milliseconds hex bytes' or "
                                                        "'milliseconds distance metres'"}};
    for (const auto &row : rows) {
        const Ended ended = runHost(row.settings);
        EXPECT_EQ(ended.said, "virtual camera: " + row.complaint + "\n");
        EXPECT_EQ(ended.status, 1) << row.settings;
    }
}
