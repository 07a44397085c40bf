// Every call that the library makes fails, once and for ever, at start-up and in the middle of each
// kind of move: one process a cell. After each cell the process must have ended by itself, the lens
// have settled in the time that the contracts leave, the counters have stayed inside the limits and
// the stated message have been printed. Where the fault kept nothing from the motors and their
// sensors, the lens must stand where the counters say, with no step lost and no rule of the
// hardware broken; where it did (offset_matrix.cpp judges that), the next home search must find it.
// Not judged by the lens: a link to the motors that is gone for good.
#include "faults/faults.h"
#include "scenario/scenario.h"
#include "scenario/temporary_folder.h"

#include "boundary/faults.h"
#include "devices/lens.h"
#include "host/controller_frames.h"
#include "host/workers.h"
#include "isp/isp.h"
#include "platform/shared_word.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>

namespace faults {

namespace {

// ---- What fails

constexpr int kEveryOffset = -1;
constexpr int kIspError = 0x1234;

enum class Harm {
    None,    ///< The motors do not notice.
    Steps,   ///< They or their sensors miss something: home is to be found again.
    ForGood, ///< The link to them is lost, or was never set up.
    Unheard, ///< No thread looks into the mailbox, or there is none.
    NoStart  ///< The thread that drives them at the start is missing: they never move.
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
    {"calloc", "", ENOMEM, "__Lens_Init_PresetInfo____Failure____", Harm::None, Harm::Unheard},
    {"pthread_create", "", EAGAIN, "AF_Manager_Start create SonyViscaProtocol failure !",
     Harm::None, Harm::NoStart, 0},
    {"pthread_create", "", EAGAIN, "AF_Manager_Start create afStartThread failure !", Harm::None,
     Harm::NoStart, 1},
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

// What the library imports beside: no system call, one that cannot fail on valid arguments, one
// whose failure leaves a port as its host has set it, or one that printf stands for. A blank around
// each name.
const char kOtherImports[] =
    " __errno_location cbrtf ceil ceilf clock_gettime fcntl floor floorf gettimeofday localtime_r "
    "lroundf "
    "memcmp memcpy memmove memset perror pthread_cond_signal pthread_detach pthread_equal "
    "pthread_getspecific pthread_key_create pthread_mutex_lock pthread_mutex_unlock "
    "pthread_once pthread_self pthread_setspecific pthread_sigmask putchar puts sigdelset "
    "sigfillset snprintf sqrtf strcpy strlen tcgetattr tcsetattr time vprintf ";

// ---- One cell

constexpr int kForEver = -1;
const int kTimings[] = {kForEver, 0, 1, 5, 25, 125}; // or once, after so many calls that go well
constexpr int kTimingCount = sizeof kTimings / sizeof kTimings[0];
constexpr int kFaultCount = sizeof kFaults / sizeof kFaults[0];
constexpr double kRehomeS = 2500; // behind a curve drawing whose pulses all failed

struct Tally {
    int struck[kFaultCount];
    int failed;
};

Tally *tally;

void arm(const Fault &fault, int timing) {
    const int count = timing == kForEver ? vcam::kAlways : 1;
    const int asked = timing == kForEver ? 0 : timing;
    const int passed = fault.offset == kEveryOffset ? asked : fault.offset;
    if (fault.subject != nullptr)
        return vcam::failCalls(fault.call, fault.subject, count, fault.error, passed);
    int call = 0;
    while (strcmp(kIspCalls[call], fault.call) != 0)
        ++call;
    vcam::failIspCall(static_cast<vcam::IspCall>(call), fault.error, count,
                      vcam::frameCount() + passed);
}

void heal() {
    vcam::clearFaults();
    for (size_t call = 0; call < sizeof kIspCalls / sizeof kIspCalls[0]; ++call)
        vcam::failIspCall(static_cast<vcam::IspCall>(call), 0, 0);
}

void watchLimits(const Move &move) {
    if (loadWord(&g_ShaPosInfo) == nullptr)
        return;
    const unsigned zoom = loadWord(&ZM_Step_Local);
    const unsigned focus = loadWord(&FM_Step_Local);
    const bool isInside = zoom >= ZM_Wide_Limit && zoom <= ZM_Tele_Limit + move.beyondTele &&
                          focus >= FM_Near_Limit && focus <= FM_Far_Limit;
    ASSERT_TRUE(isInside || zoom == 0) << "counters at " << zoom << ", " << focus;
}

void goToMiddle(const Move &move) {
    const int longestPeriodMs = 50;
    move.begin();
    if (move.middleMs == 0)
        return;
    scenario::passMs(move.middleMs - longestPeriodMs);
    const scenario::Place before = scenario::truePlace();
    scenario::passMs(longestPeriodMs);
    EXPECT_NE(before, scenario::truePlace()) << "this is not the middle of the move";
}

/// Judged by the lens, as far as the fault lets it be where the library counts it.
void expectHarmless(Harm harm, const scenario::Place &start) {
    if (harm == Harm::NoStart) {
        EXPECT_EQ(scenario::truePlace(), start);
    }
    if (harm == Harm::None || harm == Harm::Unheard)
        scenario::expectSound();
    if (harm != Harm::None && harm != Harm::Steps)
        return;
    EXPECT_EQ(Lens_Set_Command(CMD_RESET), 0);
    settle(kRehomeS);
    EXPECT_EQ(scenario::truePlace(), countedPlace());
}

void playCell(const Move &move, const Fault &fault, int timing) {
    const Harm harm = isAtStart(move) ? fault.harmAtStart : fault.harm;
    const scenario::Place start = scenario::truePlace();
    startFor(move, [&] {
        if (!isAtStart(move))
            goToMiddle(move);
        arm(fault, timing);
    });
    scenario::send(vcam::kAskZoom);
    if (move.during != nullptr)
        move.during();
    // From a wrong home the picture may be out of reach, and the trigger would ask again and again.
    AF_Manager_SetFocusMode_API(harm == Harm::None ? 1 : 0);
    if (harm == Harm::Unheard)
        scenario::passMs(60000);
    else
        scenario::waitSettled(move.limitS, [&] { watchLimits(move); });
    heal();
    expectHarmless(harm, start);
}

/// Whether the call was made at all while it would fail.
bool judgeCell(int move, int faultIndex, int timing, const std::string &traceFile) {
    const Fault &fault = kFaults[faultIndex];
    vcam::CameraOptions options;
    options.traceFile = traceFile;
    const scenario::Ending ending =
        scenario::runToEnd(options, [&] { playCell(kMoves[move], fault, kTimings[timing]); });
    const std::string trace = scenario::readAll(traceFile);
    const size_t struckAt = trace.find(" fault ");
    if (struckAt == std::string::npos && ending.status == 0)
        return false;
    __atomic_add_fetch(&tally->struck[faultIndex], 1, __ATOMIC_RELAXED);
    const bool hasMessage =
        fault.said == nullptr || trace.find(fault.said, struckAt) != std::string::npos;
    if (ending.status == 0 && hasMessage)
        return true;
    __atomic_add_fetch(&tally->failed, 1, __ATOMIC_RELAXED);
    printf("%s%s(%s): status %d%s\n  replay: ./run faults --middle %s %d %d\n", ending.said.c_str(),
           fault.call, fault.subject == nullptr ? "" : fault.subject, ending.status,
           hasMessage ? "" : ", its message is missing", kMoves[move].name, faultIndex, timing);
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

bool playCallMatrix() {
    tally = vcam::share<Tally>();
    const int unknown = countUnknownImports();
    vcam::playAll(kMoveCount * kFaultCount, [](int index) {
        const scenario::TemporaryFolder folder;
        judgeAllTimings(index / kFaultCount, index % kFaultCount, folder.file("trace"));
    });
    int struck = 0;
    int idle = 0;
    for (int fault = 0; fault < kFaultCount; ++fault) {
        struck += tally->struck[fault];
        if (tally->struck[fault] == 0)
            printf("fault %d, %s, is in no cell\n", fault, kFaults[fault].call);
        idle += tally->struck[fault] == 0 ? 1 : 0;
    }
    printf("fault matrix: %d faults, %d kinds of move, %d cells in which the call was made, %d "
           "failed\n",
           kFaultCount, kMoveCount, struck, tally->failed);
    return tally->failed == 0 && idle == 0 && unknown == 0;
}

bool replayCall(const Words &words, const std::string &traceFile) {
    tally = vcam::share<Tally>();
    const int move = findNamed(kMoves, kMoveCount, words[0]);
    const int fault = toNumber(words[1], kFaultCount);
    const int timing = toNumber(words[2], kTimingCount);
    if (move < 0 || fault < 0 || timing < 0)
        return false;
    const bool isMade = judgeCell(move, fault, timing, traceFile);
    printf("%s %s\n", kFaults[fault].call, isMade ? "fails" : "is not made");
    return tally->failed == 0;
}

} // namespace faults
