// Every call that the library makes fails, once and for ever, at start-up and in the middle of each
// kind of move: one process a cell of that matrix. After each cell the process must have ended by
// itself, the lens have settled in the time that the contracts leave, the counters have stayed
// inside the limits and the stated message have been printed. Where the fault kept nothing from the
// motors and their sensors the counters must equal the truth all along, else after the next home
// search.
#include "scenario/scenario.h"
#include "scenario/workers.h"

#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "controller_frames.h"
#include "devices/isp.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// ---- What fails

constexpr int kEveryOffset = -1;
constexpr int kIspError = 0x1234;

enum class Harm {
    None,    ///< The motors do not notice.
    Steps,   ///< They or their sensors miss something: home is to be found again.
    ForGood, ///< The link to them is lost, or was never set up.
    Unheard  ///< No thread looks into the mailbox.
};

struct Fault {
    const char *call;
    const char *subject; ///< As boundary/faults.h names them; nullptr for an ISP call.
    int error;
    const char *said; ///< Message that must follow, or nullptr.
    Harm harm = Harm::None;
    Harm harmAtStart = Harm::None;
    int offset = kEveryOffset; ///< Which of its calls since power-on fails; kEveryOffset: any.
};

const char kGpio[] = "/dev/hi_gpio";
const char kSpi[] = "/dev/spidev1.0";
const char kCurve[] = "/mnt/flash/data/ZFCurve2.txt";
const char kNoControl[] = "__afStartThread____Create Control Thread Failure____";
const char kNoConfig[] = "HI_MPI_ISP_GetStatisticsConfig error!(s32Ret = 0x1234)";
const char kNoSetting[] = "HI_MPI_ISP_SetStatisticsConfig error!(s32Ret = 0x1234)";
const char kNoFrame[] = "HI_MPI_ISP_GetStatistics error!(s32Ret = 0x1234)";

const Fault kFaults[] = {
    {"open", kSpi, ENOENT, "__can't open spi device", Harm::None, Harm::ForGood},
    {"ioctl", kSpi, EIO, "can't ", Harm::Steps, Harm::ForGood},
    {"open", kGpio, EMFILE, "open hi_gpio: ", Harm::Steps, Harm::ForGood},
    {"ioctl", kGpio, EIO, "ioctl: ", Harm::Steps, Harm::ForGood},
    {"close", kGpio, EIO, nullptr},
    {"system", "", ENOMEM, nullptr},
    {"read", "serial", EIO, "== >> Have No Data Read index "},
    {"write", "serial", EIO, "__SonyViscaProcess__write sendBuf failure__"},
    {"select", "serial", EINTR, "SonyViscaProtocol select() call: "},
    {"calloc", "", ENOMEM, "__Lens_Init_PresetInfo____Failure____"},
    {"pthread_create", "", EAGAIN, "AF_Manager_Start create SonyViscaProtocol failure !",
     Harm::None, Harm::None, 0},
    {"pthread_create", "", EAGAIN, "AF_Manager_Start create afStartThread failure !", Harm::None,
     Harm::None, 1},
    {"pthread_create", "", EAGAIN, kNoControl, Harm::None, Harm::Unheard, 2},
    {"pthread_create", "", EAGAIN, kNoControl, Harm::None, Harm::None, 3},
    {"usleep", "", EINTR, nullptr},
    {"sleep", "", EINTR, nullptr},
    {"pthread_cond_timedwait", "", EINVAL, nullptr},
    {"printf", "", EIO, nullptr},
    {"access", "", EACCES, nullptr},
    {"open", "/tmp/afstartok", EROFS, nullptr},
    {"unlink", "", EROFS, nullptr},
    {"open", kCurve, EROFS, "fopen /mnt/flash/data/ZFCurve2.txt error."},
    {"open", "/tmp/aflog", EROFS, "open /tmp/aflog error:"},
    {"write", "file", ENOSPC, nullptr},
    {"fsync", "file", EIO, nullptr},
    {"close", "file", EIO, nullptr},
    {"socket", "", EMFILE, "socket: "},
    {"bind", "", EADDRINUSE, "bind: "},
    {"chmod", "", EPERM, nullptr},
    {"listen", "", EADDRINUSE, nullptr},
    {"accept", "", EMFILE, "__AF_Accept_Connect server accept error !"},
    {"shmget", "", ENOSPC, "memory already create"},
    {"shmat", "", ENOMEM, nullptr},
    {"HI_MPI_ISP_GetStatisticsConfig", nullptr, kIspError, kNoConfig},
    {"HI_MPI_ISP_SetStatisticsConfig", nullptr, kIspError, kNoSetting, Harm::None, Harm::None, 0},
    {"HI_MPI_ISP_SetStatisticsConfig", nullptr, kIspError, nullptr},
    {"HI_MPI_ISP_GetPubAttr", nullptr, kIspError, kNoConfig},
    {"HI_MPI_ISP_GetVDTimeOut", nullptr, kIspError, nullptr},
    {"HI_MPI_ISP_GetStatistics", nullptr, kIspError, kNoFrame, Harm::ForGood, Harm::ForGood},
    {"HI_MPI_ISP_QueryExposureInfo", nullptr, kIspError, nullptr},
};

// In the order of vcam::IspCall.
const char *const kIspCalls[] = {
    "HI_MPI_ISP_GetStatisticsConfig", "HI_MPI_ISP_SetStatisticsConfig",
    "HI_MPI_ISP_GetPubAttr",          "HI_MPI_ISP_GetVDTimeOut",
    "HI_MPI_ISP_GetStatistics",       "HI_MPI_ISP_QueryExposureInfo",
};

// What the library imports beside: no system call, one that cannot fail on valid arguments, or one
// that printf stands for. A blank around each name.
const char kOtherImports[] =
    " __errno_location ceil ceilf floor floorf gettimeofday localtime_r memcpy memset perror "
    "pthread_cond_signal pthread_detach pthread_mutex_lock pthread_mutex_unlock pthread_self "
    "putchar puts snprintf strcpy strlen time ";

// ---- When: for ever, or once, the calls before going well

struct Timing {
    int count;
    int passed;
};

const Timing kTimings[] = {{vcam::kAlways, 0}, {1, 0}, {1, 1}, {1, 5}, {1, 25}, {1, 125}};
constexpr int kTimingCount = sizeof kTimings / sizeof kTimings[0];

// ---- In what

struct Move {
    const char *name;
    void (*begin)(); ///< nullptr: the library's start.
    int middleMs;
    void (*during)(); ///< What the host does itself once the calls fail, or nullptr.
    double limitS;    ///< A dead ISP costs each sample a second.
};

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

const Move kMoves[] = {
    {"start-up", nullptr, 0, nullptr, kMoveS},
    {"home search", [] { scenario::command(CMD_RESET); }, 1500, nullptr, kMoveS},
    {"home search's last pass", [] { scenario::command(CMD_RESET); }, 3750, nullptr, kMoveS},
    {"counted move", [] { scenario::command(CMD_RESET); }, 7300, nullptr, kMoveS},
    {"tracked zoom", [] { scenario::command(CMD_TELE); }, 1000, nullptr, kMoveS},
    {"manual focus", [] { scenario::command(CMD_NEAR); }, 1000, nullptr, kMoveS},
    {"autofocus run",
     [] {
         vcam::setObjectDistanceM(2);
         scenario::command(CMD_FOCUS);
     },
     700, nullptr, kMoveS},
    {"preset", [] { scenario::command(CMD_CAPST, kPreset); }, 500, nullptr, kMoveS},
    {"direct zoom", [] { scenario::command(CMD_DZF, 0x5000); }, 500, nullptr, kMoveS},
    {"calibration", [] { scenario::command(CMD_FLINE); }, 30000, nullptr, kCalibrationS},
    {"curve drawing", startManualThread, 0, [] { manualCtrlFun(8, 0, 2); }, kCalibrationS},
    {"IR-cut report", [] {}, 0, [] { AF_Manager_Set_ICUTStatusLast_API(1); }, kMoveS},
    {"utilities", openClient, 0, useUtilities, kMoveS},
};
constexpr int kMoveCount = sizeof kMoves / sizeof kMoves[0];
constexpr rlim_t kLargestTrace = 1U << 28;
constexpr int kFaultCount = sizeof kFaults / sizeof kFaults[0];

// ---- One cell

struct Tally {
    int struck[kFaultCount];
    int failed;
};

Tally *tally;

bool isAtStart(const Move &move) {
    return move.begin == nullptr;
}

void arm(const Fault &fault, const Timing &timing) {
    const int passed = fault.offset == kEveryOffset ? timing.passed : fault.offset;
    if (fault.subject != nullptr) {
        vcam::failCalls(fault.call, fault.subject, timing.count, fault.error, passed);
        return;
    }
    int call = 0;
    while (strcmp(kIspCalls[call], fault.call) != 0)
        ++call;
    vcam::failIspCall(static_cast<vcam::IspCall>(call), fault.error, timing.count,
                      vcam::frameCount() + passed);
}

void heal() {
    vcam::clearFaults();
    for (size_t call = 0; call < sizeof kIspCalls / sizeof kIspCalls[0]; ++call)
        vcam::failIspCall(static_cast<vcam::IspCall>(call), 0, 0);
}

void expectTruth() {
    EXPECT_EQ(static_cast<int>(loadWord(&ZM_Step_Local)), vcam::truePosition(vcam::Axis::Zoom));
    EXPECT_EQ(static_cast<int>(loadWord(&FM_Step_Local)), vcam::truePosition(vcam::Axis::Focus));
}

void watchLimits() {
    if (loadWord(&g_ShaPosInfo) == nullptr)
        return;
    const unsigned zoom = loadWord(&ZM_Step_Local);
    const unsigned focus = loadWord(&FM_Step_Local);
    const bool isInside = zoom >= ZM_Wide_Limit && zoom <= ZM_Tele_Limit &&
                          focus >= FM_Near_Limit && focus <= FM_Far_Limit;
    ASSERT_TRUE(isInside || zoom == 0) << "counters at " << zoom << ", " << focus;
}

void startMove(const Move &move) {
    scenario::waitSettled(60);
    lensSetCfgPath(const_cast<char *>("/mnt/flash/"));
    close(open("/mnt/flash/MotorPosition", O_CREAT | O_WRONLY, 0666));
    move.begin();
    if (move.middleMs == 0)
        return;
    const int longestPeriodMs = 50;
    scenario::passMs(move.middleMs - longestPeriodMs);
    const int zoom = vcam::truePosition(vcam::Axis::Zoom);
    const int focus = vcam::truePosition(vcam::Axis::Focus);
    scenario::passMs(longestPeriodMs);
    const bool moves = zoom != vcam::truePosition(vcam::Axis::Zoom) ||
                       focus != vcam::truePosition(vcam::Axis::Focus);
    EXPECT_TRUE(moves) << "this is not the middle of the move";
}

void playCell(const Move &move, const Fault &fault, const Timing &timing) {
    scenario::host().hasPresets = true;
    scenario::host().presets.zoom[kPreset] = 15000;
    scenario::host().presets.focus[kPreset] = 12500;
    scenario::introduceHost();
    if (isAtStart(move))
        arm(fault, timing);
    AF_Manager_Start_API();
    if (!isAtStart(move)) {
        startMove(move);
        arm(fault, timing);
    }
    scenario::send(demo::kAskZoom);
    if (move.during != nullptr)
        move.during();

    const Harm harm = isAtStart(move) ? fault.harmAtStart : fault.harm;
    // From a wrong home the picture may be out of reach, and the trigger would ask again and again.
    AF_Manager_SetFocusMode_API(harm == Harm::None ? 1 : 0);
    if (harm == Harm::Unheard)
        scenario::passMs(60000);
    else
        scenario::waitSettled(move.limitS, watchLimits);
    heal();
    const bool wasHomed = !scenario::host().savedPositions.empty();
    if (harm == Harm::ForGood || !wasHomed)
        return;
    if (harm != Harm::Steps)
        scenario::expectSound();
    if (harm == Harm::Unheard || Lens_Set_Command(CMD_RESET) != 0)
        return;
    scenario::waitSettled(kMoveS);
    expectTruth();
}

// ---- The matrix

/// Whether the call was made at all while it would fail.
bool judgeCell(int move, int faultIndex, int timing, const std::string &traceFile) {
    const Fault &fault = kFaults[faultIndex];
    vcam::CameraOptions options;
    options.traceFile = traceFile;
    const scenario::Ending ending =
        scenario::runToEnd(options, [&] { playCell(kMoves[move], fault, kTimings[timing]); });
    std::stringstream file;
    file << std::ifstream(traceFile).rdbuf();
    const std::string trace = file.str();
    const size_t struckAt = trace.find(" fault ");
    if (struckAt == std::string::npos && ending.status == 0)
        return false;
    const bool isSaid =
        fault.said == nullptr || trace.find(fault.said, struckAt) != std::string::npos;
    __atomic_add_fetch(&tally->struck[faultIndex], 1, __ATOMIC_RELAXED);
    if (ending.status == 0 && isSaid)
        return true;
    __atomic_add_fetch(&tally->failed, 1, __ATOMIC_RELAXED);
    printf("%s%s: %s(%s) fails %s, %d pass: status %d%s\n  replay: fault_matrix %d %d %d\n",
           ending.said.c_str(), kMoves[move].name, fault.call,
           fault.subject == nullptr ? "" : fault.subject,
           kTimings[timing].count == vcam::kAlways ? "for ever" : "once", kTimings[timing].passed,
           ending.status, isSaid ? "" : ", its message is missing", move, faultIndex, timing);
    fflush(stdout);
    return true;
}

/// A call that is not made at all, or not so often, is not made to fail later either.
void judgeAllTimings(int move, int fault, const std::string &traceFile) {
    const bool isForMove = isAtStart(kMoves[move]) || kFaults[fault].offset == kEveryOffset;
    const int timings = kFaults[fault].offset == kEveryOffset ? kTimingCount : 2;
    for (int timing = 0; isForMove && timing < timings; ++timing) {
        if (!judgeCell(move, fault, timing, traceFile))
            return;
    }
}

/// Every call that the library imports must be in the table, or be known not to fail.
int countUnknownImports() {
    Dl_info library;
    dladdr(reinterpret_cast<void *>(AF_Manager_Start_API), &library);
    FILE *names = popen((std::string("nm -D --undefined-only ") + library.dli_fname).c_str(), "r");
    char name[256];
    char kind;
    int unknown = 0;
    while (fscanf(names, " %c %255[^@\n]%*[^\n]", &kind, name) >= 2) {
        const std::string word = " " + std::string(name) + " ";
        bool isKnown = kind != 'U' || strstr(kOtherImports, word.c_str()) != nullptr ||
                       strncmp(name, "__", 2) == 0;
        for (const Fault &fault : kFaults)
            isKnown = isKnown || strcmp(fault.call, name) == 0;
        if (!isKnown)
            printf("%s is in no row\n", name);
        unknown += isKnown ? 0 : 1;
    }
    return pclose(names) == 0 ? unknown : 1;
}

} // namespace

/// fault_matrix: all cells. fault_matrix MOVE FAULT TIMING: one, its trace in fault.trace.
int main(int argc, char **argv) {
    tally = scenario::share<Tally>();
    const struct rlimit largestTrace = {kLargestTrace, kLargestTrace};
    setrlimit(RLIMIT_FSIZE, &largestTrace); // a loop without end fills no disk
    if (argc == 4) {
        judgeCell(atoi(argv[1]), atoi(argv[2]), atoi(argv[3]), "fault.trace");
        return tally->failed;
    }
    const int unknown = countUnknownImports();
    scenario::playAll(kMoveCount * kFaultCount, [](int index) {
        char traceFile[] = "/tmp/fault-XXXXXX";
        close(mkstemp(traceFile));
        judgeAllTimings(index / kFaultCount, index % kFaultCount, traceFile);
        remove(traceFile);
    });
    int struck = 0;
    int idle = 0;
    for (int fault = 0; fault < kFaultCount; ++fault) {
        struck += tally->struck[fault];
        if (tally->struck[fault] == 0)
            printf("%s(%s) was never made\n", kFaults[fault].call, kFaults[fault].subject);
        idle += tally->struck[fault] == 0 ? 1 : 0;
    }
    printf("fault matrix: %d faults, %d kinds of move, %d cells in which the call was made, %d "
           "failed\n",
           kFaultCount, kMoveCount, struck, tally->failed);
    return tally->failed == 0 && idle == 0 && unknown == 0 ? 0 : 1;
}
