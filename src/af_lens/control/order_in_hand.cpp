#include "af_lens/control/order_in_hand.h"

#include "af_lens/focus/verdict/verdict.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/object_line.h"
#include "af_lens/model/orders.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/home_search.h"
#include "af_ms419xx/ms419xx.h"
#include "af_ms419xx/sure_link.h"
#include "af_orders/ledger.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/persistence.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "platform/faults.h"

static struct {
    int ticket; // 0: what runs has none
    unsigned int command;
    unsigned int activity;
    bool isOrdered;        // somebody may wait for it
    bool isPositioning;    // the run that follows its move does not decide its outcome
    AF_Outcome_em outcome; // of that move
    bool awaitsVerdict;
} hand;

static const unsigned char kActivities[] = {
    AF_ACTIVITY_AUTOFOCUS,   // CMD_ZSTOP
    AF_ACTIVITY_ZOOMING,     // CMD_WIDE
    AF_ACTIVITY_ZOOMING,     // CMD_TELE
    AF_ACTIVITY_FOCUSING,    // CMD_NEAR
    AF_ACTIVITY_FOCUSING,    // CMD_FAR
    AF_ACTIVITY_HOMING,      // CMD_RESET
    AF_ACTIVITY_AUTOFOCUS,   // CMD_FOCUS
    AF_ACTIVITY_CALIBRATING, // CMD_FLINE
    AF_ACTIVITY_IDLE,        // CMD_SPST
    AF_ACTIVITY_POSITIONING, // CMD_CAPST
    AF_ACTIVITY_IDLE,        // CMD_CLPST
    AF_ACTIVITY_POSITIONING, // CMD_DZF
    AF_ACTIVITY_HOMING,      // CMD_RST
};

static unsigned int activityOf(unsigned int command, OrderKind kind) {
    if (kind != kAsCommand)
        return AF_ACTIVITY_POSITIONING;
    if (command >= sizeof kActivities)
        return AF_ACTIVITY_IDLE;
    return kActivities[command];
}

static bool isAutofocusRun() {
    return hand.activity == AF_ACTIVITY_AUTOFOCUS;
}

static void close(AF_Outcome_em outcome) {
    noteLostSteps(lostZoomSteps(), lostFocusSteps());
    hand.awaitsVerdict = false;
    if (hand.ticket != 0)
        closeTicket(hand.ticket, hand.activity, outcome);
    hand.ticket = 0;
}

// ---- Beginning

// Nothing focuses by itself after a cancelling, that of an order which was not taken yet included.
static void closeWaiting(int ticket) {
    const bool isCut = wasCancelledWaiting(ticket);
    if (isCut)
        lensFocusMode(CMD_MFMODE);
    closeTicket(ticket, AF_ACTIVITY_IDLE, isCut ? AF_OUTCOME_CANCELLED : AF_OUTCOME_REPLACED);
}

static void closeGone(const TakenOrder &taken) {
    for (int ticket = taken.goneAfter; ticket != taken.goneTo;) {
        ticket = nextTicket(ticket);
        if (ticket != taken.ticket)
            closeWaiting(ticket);
    }
}

static void takeInHand(const TakenOrder &taken) {
    const unsigned int command = commandOf(taken.content);
    hand.command = command;
    hand.activity = activityOf(command, taken.kind);
    setRecovering(taken.ticket != 0 && settingOf(AF_SETTING_RECOVERY) != 0);
    if (taken.isContinued) {
        enterFollowUp(hand.ticket, hand.activity);
        return;
    }
    hand.ticket = taken.ticket;
    hand.isOrdered = taken.isOrdered;
    hand.isPositioning = !isAutofocusRun();
    hand.outcome = AF_OUTCOME_DONE;
    if (hand.ticket != 0)
        enterActivity(hand.ticket, hand.activity);
    else
        standIn(hand.activity);
}

// A stop of the focus that waits while the zoom's own run begins has been obeyed already.
static bool isStopBeside(const TakenOrder &taken) {
    return taken.isOrdered && taken.ordered == CMD_FSTOP && commandOf(taken.content) != CMD_FSTOP;
}

static const TakenOrder &begin(const TakenOrder &order) {
    settleVerdict();
    if (hand.ticket != 0 && !order.isContinued)
        close(hand.outcome); // its follow-up never came to run
    closeGone(order);
    if (isStopBeside(order)) {
        enterActivity(order.ticket, AF_ACTIVITY_IDLE);
        closeTicket(order.ticket, AF_ACTIVITY_IDLE, AF_OUTCOME_DONE);
        closeGone(takeFollowing(order.content));
    }
    takeInHand(order);
    return order;
}

const TakenOrder &beginOrder() {
    return begin(takeOrder());
}

const TakenOrder &beginFollowing(MailboxContent content) {
    return begin(takeFollowing(content));
}

// ---- Ending

static void noteRunOf(AF_Outcome_em verdict) {
    const RunSummary run = summariseRun();
    noteRun(verdict, run.frames, run.start, run.peak, run.floor);
}

static void standCancelled() {
    Lens_Save_ZFLocation();
    Lens_Map_ZPosition(zoomPosition());
    Lens_Map_FPosition(focusPosition());
    lensFocusMode(CMD_MFMODE);
}

// What the handler has left, or what it would have left had it come to its end; a command that has
// been stored since stays.
static bool isLeftover(unsigned int command) {
    return !isWork(command) || command == hand.command || command == CMD_ZSTOP ||
           command == CMD_FOCUS;
}

static void endCancelled() {
    const unsigned int left = commandOf(readMailbox());
    if (isLeftover(left) && left != CMD_FSTOP)
        leaveFollowUpOfCommand(left, CMD_FSTOP);
    standCancelled();
    if (isRunToJudge()) {
        judgeRun(false);
        noteRunOf(AF_OUTCOME_CANCELLED);
    }
    close(hasOrderFailed() ? AF_OUTCOME_FAULT : AF_OUTCOME_CANCELLED);
    putDown(false);
}

static void noteVerdict(AF_Outcome_em verdict) {
    noteRunOf(verdict);
    if (verdict == AF_OUTCOME_FOCUSED)
        noteObjectInFocus();
    close(hand.isPositioning ? hand.outcome : verdict);
}

// It began where no run can, or another command was there before.
static AF_Outcome_em outcomeWithoutRun() {
    return lensFocusInterrupt() != 0 ? AF_OUTCOME_REPLACED : AF_OUTCOME_FAULT;
}

static void endRun() {
    putDown(false);
    if (!isRunToJudge())
        close(hand.isPositioning ? hand.outcome : outcomeWithoutRun());
    else if (hand.isOrdered || !isRunComplete())
        noteVerdict(judgeRun(hand.isOrdered));
    else
        hand.awaitsVerdict = true;
}

void settleVerdict() {
    if (hand.awaitsVerdict)
        noteVerdict(judgeRun(false));
}

static bool leavesFollowUp() {
    const bool mayFocus =
        hand.command == CMD_RESET || hand.command == CMD_RST || hand.command == CMD_DZF;
    return mayFocus && !doesOrderWait() && commandOf(readMailbox()) == CMD_FOCUS;
}

static bool hasFoundHome() {
    return (presentFaults() & kFaultHoming) == 0;
}

// What stores or clears a preset moves nothing, and homing finds home by itself.
void findHomeBefore() {
    if (!isLost() || hand.activity == AF_ACTIVITY_IDLE)
        return;
    MS419XX_Init(); // with its bus the chip may have lost what it was told
    if (hasOrderFailed())
        noteFailedSearch();
    else if (hand.activity != AF_ACTIVITY_HOMING && !regainPosition())
        giveUpOrder();
}

void noteFault() {
    hand.outcome = AF_OUTCOME_FAULT;
}

void noteReplaced() {
    hand.outcome = AF_OUTCOME_REPLACED;
}

bool endOrder() {
    if (isCancelled()) {
        endCancelled();
        return false;
    }
    if (hand.activity == AF_ACTIVITY_HOMING && !hasFoundHome())
        noteFault();
    if (isAutofocusRun()) {
        endRun();
        return true;
    }
    const bool isContinued = leavesFollowUp();
    putDown(isContinued);
    if (!isContinued)
        close(hand.outcome);
    return true;
}

void noteStepping() {
    if (hand.ticket == 0)
        standIn(AF_ACTIVITY_STEPPING);
}

void abandonOrders() {
    if (hand.ticket != 0)
        close(AF_OUTCOME_CANCELLED);
    closeGone(closeOrders());
    standIn(AF_ACTIVITY_STOPPED);
}

// ---- Start-up

void beginStartUp() {
    hand.ticket = takeFollowing(makeContent(CMD_RESET, 0)).ticket;
    hand.activity = AF_ACTIVITY_STARTING;
    hand.outcome = AF_OUTCOME_DONE;
    setRecovering(settingOf(AF_SETTING_RECOVERY) != 0);
    enterActivity(hand.ticket, hand.activity);
}

void endStartUp() {
    const bool isBroken = hasOrderFailed() || !hasFoundHome();
    const bool isCut = isCancelled() && !isBroken;
    if (isCut)
        leaveFollowUpOfCommand(CMD_ZSTOP, CMD_FSTOP);
    putDown(false);
    setRecovering(false);
    close(isBroken ? AF_OUTCOME_FAULT : isCut ? AF_OUTCOME_CANCELLED : AF_OUTCOME_DONE);
}
