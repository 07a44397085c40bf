// The lens-control thread: polls the mailbox every 50 ms and runs the handler of what it finds. All
// lens work of a running camera happens here.
#include "af_lens/control/order_in_hand.h"
#include "af_lens/control/preset_commands.h"
#include "af_lens/focus/calibration.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/home_search.h"
#include "af_lens/motion/motors.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/autofocus_run.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/lens_control.h"
#include "autofocus/moves.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"
#include "platform/faults.h"
#include "platform/library_thread.h"
#include "platform/shared_word.h"

#include <pthread.h>
#include <stdio.h>
#include <unistd.h>

static const useconds_t kPollUs = 50000;
static const int kPollsASecond = 1000000 / kPollUs;
static const int kMostPauseS = 60;
static const int kMostWithoutPeriod = 16; // dispatches of one chain

int gLensCtrl = 0;

void lensCtrlStop(void) {
    storeWord(&gLensCtrl, 1);
}

// What is left of a dispatch: nothing, or a command to dispatch at once.
namespace {
struct Next {
    bool again;
    unsigned int command;
};
} // namespace

static const Next kDone = {false, CMD_NONE};

// An autofocus run for CMD_ZSTOP and CMD_FOCUS, which end the chain on different results.
static Next runAutofocus(AF_CMD_em alsoEndsOn) {
    const unsigned int result = lensFocusCtrl(CMD_FOCUS);
    const bool ends = result == CMD_NONE || result == static_cast<unsigned int>(alsoEndsOn);
    if (!ends)
        return {true, result};
    lensFocusMode(CMD_AFMODE);
    return kDone;
}

// Every handler runs with the refocus trigger disarmed.
static Next dispatch(MailboxContent taken) {
    const unsigned int command = commandOf(taken);
    switch (command) {
    case CMD_ZSTOP:
        lensFocusMode(CMD_MFMODE);
        return runAutofocus(CMD_FOCUS);
    case CMD_WIDE:
    case CMD_TELE:
        lensFocusMode(CMD_MFMODE);
        lensMotorZoomCtrl(static_cast<AF_CMD_em>(command));
        return {true, CMD_ZSTOP};
    case CMD_NEAR:
    case CMD_FAR:
        lensFocusMode(CMD_MFMODE);
        lensMotorFocusCtrl(static_cast<AF_CMD_em>(command));
        return kDone;
    case CMD_RESET:
    case CMD_RST:
        lensFocusMode(CMD_MFMODE);
        lensMotorReset(static_cast<AF_CMD_em>(command));
        return kDone;
    case CMD_FOCUS:
        lensFocusMode(CMD_MFMODE);
        return runAutofocus(CMD_FSTOP);
    case CMD_FLINE:
        lensFocusMode(CMD_MFMODE);
        if (!obeyCalibration(command))
            noteFault();
        return kDone;
    case CMD_SPST:
    case CMD_CAPST:
    case CMD_CLPST:
    case CMD_DZF:
        lensFocusMode(CMD_MFMODE);
        if (!obeyPresetCommand(static_cast<AF_CMD_em>(command), taken))
            noteFault();
        return kDone;
    case CMD_FSTOP:
        return kDone;
    case CMD_MFMODE:
    case CMD_AFMODE:
        lensFocusMode(static_cast<AF_CMD_em>(command));
        return kDone;
    case CMD_NONE:
    default: // every value above too
        lensFocusMode(CMD_AFMODE);
        return kDone;
    }
}

// The orders that the mailbox's commands cannot say by themselves.
static Next obeyTarget(MailboxContent taken, OrderKind kind) {
    lensFocusMode(CMD_MFMODE);
    if (!(kind == kFocusTo ? driveToFocus(taken) : driveToBoth(taken)))
        noteReplaced();
    return kDone;
}

static Next obey(const TakenOrder &order) {
    Next next = kDone;
    findHomeBefore();
    if (!isCancelled())
        next = order.kind == kAsCommand ? dispatch(order.content)
                                        : obeyTarget(order.content, order.kind);
    return endOrder() ? next : kDone;
}

// Dispatch a command and whatever it asks for at once. Handlers that move nothing could ask for one
// another for ever without sleeping: after so many the chain goes back to the poll.
static void runChain() {
    unsigned int periods = countVdPeriods();
    Next next = obey(beginOrder());
    for (int withoutPeriod = 1; next.again; ++withoutPeriod) {
        if (countVdPeriods() != periods) {
            periods = countVdPeriods();
            withoutPeriod = 0;
        }
        if (withoutPeriod == kMostWithoutPeriod)
            return;
        next = obey(beginFollowing(makeContent(next.command, valueOf(readMailbox()))));
    }
}

// After searches that have failed the next one waits, 1, 2, ... 60 s; orders wait in the mailbox.
static int failures = 0;
static int pollsToWait = 0;

static void noteSearches(unsigned int failedBefore) {
    if (!isPresent(kFaultHoming)) {
        failures = 0;
    } else if (isRecovering() && countFailedSearches() != failedBefore) {
        failures = minOf(failures + 1, kMostPauseS);
        pollsToWait = failures * kPollsASecond;
    }
}

// Standing states do not wait, nor does what recovery has nothing to do with any more.
static bool mustPause() {
    const bool isPause = pollsToWait > 0 && settingOf(AF_SETTING_RECOVERY) != 0;
    pollsToWait = isPause ? pollsToWait - 1 : 0;
    return isPause && isWork(Lens_Get_Command());
}

static void serveMailbox() {
    const unsigned int failed = countFailedSearches();
    settleVerdict();
    runChain();
    noteSearches(failed);
    setRecovering(false); // whoever drives the motors next decides anew
}

static void poll() {
    if (claimMotors()) { // else the manual stepping thread drives: the command waits
        serveMailbox();
        releaseMotors();
    } else {
        noteStepping();
    }
}

void *thLensCtrl(void *) {
    pthread_detach(pthread_self());
    enterLibraryThread();
    while (loadWord(&gLensCtrl) == 0) {
        if (!mustPause())
            poll();
        usleep(kPollUs);
    }
    withdrawRecord();
    abandonOrders();
    printf("_%s QUIT !!!\n", __func__);
    return nullptr;
}
