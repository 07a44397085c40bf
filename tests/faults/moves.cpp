#include "faults/faults.h"

#include "scenario/scenario.h"

#include "boundary/faults.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace faults {

namespace {

constexpr unsigned kPreset = 3;
constexpr double kMoveS = 2500;
constexpr double kCalibrationS = 10000;

void startManualThread() {
    pthread_t thread;
    scenario::command(CMD_MFMODE);
    pthread_create(&thread, nullptr, manualCtrlThread, nullptr);
}

int client; // its own socket is not the one that fails

void openClient() {
    client = socket(AF_UNIX, SOCK_STREAM, 0);
}

void useUtilities() {
    char socketPath[] = "/tmp/af_socket";
    char line[] = "a line\n";
    aflog(line);
    const int server = Af_Create_Server(socketPath);
    struct sockaddr_un address = {AF_UNIX, "/tmp/af_socket"};
    if (connect(client, reinterpret_cast<struct sockaddr *>(&address), sizeof address) == 0)
        AF_Accept_Connect(server);
    const int key = getpid();
    pShMemInit(key, 64);
    vcam::clearFaults();
    shmctl(shmget(key, 0, 0), IPC_RMID, nullptr);
}

} // namespace

const Move kMoves[] = {
    {"start-up", nullptr, 0, nullptr, kMoveS},
    {"home-search", [] { scenario::command(CMD_RESET); }, 1500, nullptr, kMoveS},
    {"last-home-pass", [] { scenario::command(CMD_RESET); }, 3750, nullptr, kMoveS, true},
    {"counted-move", [] { scenario::command(CMD_RESET); }, 7300, nullptr, kMoveS, true},
    {"tracked-zoom", [] { scenario::command(CMD_TELE); }, 1000, nullptr, kMoveS},
    {"manual-focus", [] { scenario::command(CMD_NEAR); }, 1000, nullptr, kMoveS},
    {"autofocus-run",
     [] {
         vcam::setObjectDistanceM(2);
         scenario::command(CMD_FOCUS);
     },
     700, nullptr, kMoveS},
    {"preset", [] { scenario::command(CMD_CAPST, kPreset); }, 500, nullptr, kMoveS},
    {"direct-zoom", [] { scenario::command(CMD_DZF, 0x5000); }, 500, nullptr, kMoveS},
    {"calibration", [] { scenario::command(CMD_FLINE); }, 30000, nullptr, kCalibrationS, false,
     true},
    {"curve-drawing", startManualThread, 0, [] { manualCtrlFun(8, 0, 2); }, kCalibrationS, false,
     true, 56},
    {"ir-cut-report", [] {}, 0, [] { AF_Manager_Set_ICUTStatusLast_API(1); }, kMoveS},
    {"utilities", openClient, 0, useUtilities, kMoveS},
};
const int kMoveCount = sizeof kMoves / sizeof kMoves[0];

bool isAtStart(const Move &move) {
    return move.begin == nullptr;
}

void startFor(const Move &move, const std::function<void()> &arm) {
    const double bootS = 60;
    scenario::host().hasPresets = true;
    scenario::host().presets.zoom[kPreset] = 15000;
    scenario::host().presets.focus[kPreset] = 12500;
    scenario::introduceHost();
    if (isAtStart(move))
        arm();
    AF_Manager_Start_API();
    if (isAtStart(move))
        return;
    settle(bootS);
    lensSetCfgPath(const_cast<char *>("/mnt/flash/"));
    close(open("/mnt/flash/MotorPosition", O_CREAT | O_WRONLY, 0666));
    arm();
}

void settle(double limitS) {
    const int64_t lookMs = 100;
    scenario::waitSettled(
        limitS, [] {}, lookMs);
}

scenario::Place countedPlace() {
    return {loadWord(&ZM_Step_Local), loadWord(&FM_Step_Local)};
}

bool isIn(Extent extent, int offset) {
    const bool isFew = offset == 0 || offset == 1 || offset == 5 || offset == 25 || offset == 125;
    return extent == Extent::All || isFew || (extent == Extent::Usual && offset % 10 == 0);
}

Extent extentOf(const Move &move, Extent asked) {
    return asked == Extent::Usual && !move.isLong ? Extent::All : asked;
}

int toNumber(const std::string &word, int count) {
    int number = 0;
    char rest = 0;
    const bool isNumber = sscanf(word.c_str(), "%d%c", &number, &rest) == 1;
    return isNumber && number >= 0 && number < count ? number : -1;
}

} // namespace faults
