// The face of the library to a host that operates the lens: orders, waiting, cancelling, status.
#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_orders/ledger.h"
#include "autofocus.h"
#include "autofocus/lens_control.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"
#include "platform/faults.h"
#include "platform/library_thread.h"
#include "platform/shared_word.h"

#include <string.h>
#include <unistd.h>

static const int kLookMs = 10;
static const useconds_t kLookUs = 10000;

// ---- Orders

static int order(unsigned int command, unsigned int argument, OrderKind kind) {
    return loadWord(&gLensCtrl) != 0 ? -1 : placeOrder(makeContent(command, argument), kind);
}

static int orderCommand(AF_CMD_em command) {
    return order(command, 0, kAsCommand);
}

static int orderPreset(AF_CMD_em command, int preset) {
    if (preset < 0 || preset >= AF_PRESET_COUNT)
        return -1;
    return order(command, static_cast<unsigned int>(preset), kAsCommand);
}

int AF_Manager_Zoom_Tele_API(void) {
    return orderCommand(CMD_TELE);
}

int AF_Manager_Zoom_Wide_API(void) {
    return orderCommand(CMD_WIDE);
}

int AF_Manager_Zoom_Stop_API(void) {
    return orderCommand(CMD_ZSTOP);
}

int AF_Manager_Focus_Near_API(void) {
    return orderCommand(CMD_NEAR);
}

int AF_Manager_Focus_Far_API(void) {
    return orderCommand(CMD_FAR);
}

int AF_Manager_Focus_Stop_API(void) {
    return orderCommand(CMD_FSTOP);
}

int AF_Manager_Autofocus_API(void) {
    return orderCommand(CMD_FOCUS);
}

int AF_Manager_Zoom_To_API(unsigned short position) {
    return order(CMD_DZF, position, kAsCommand);
}

// The mailbox shows it as a focus drive, whichever way it goes.
int AF_Manager_Focus_To_API(unsigned short position) {
    return order(CMD_FAR, position, kFocusTo);
}

int AF_Manager_Preset_Call_API(int preset) {
    return orderPreset(CMD_CAPST, preset);
}

int AF_Manager_Preset_Set_API(int preset) {
    return orderPreset(CMD_SPST, preset);
}

int AF_Manager_Preset_Clear_API(int preset) {
    return orderPreset(CMD_CLPST, preset);
}

int AF_Manager_Home_API(void) {
    return orderCommand(CMD_RESET);
}

int AF_Manager_Calibrate_API(void) {
    return orderCommand(CMD_FLINE);
}

// ---- Waiting and cancelling

int AF_Manager_Wait_Ticket_API(int ticket, int timeoutMs) {
    if (ticket <= 0 || timeoutMs < -1 || isLibraryThread())
        return -1;
    for (;;) {
        const unsigned int outcome = outcomeOf(ticket, lastTicket());
        if (outcome != AF_OUTCOME_NONE)
            return static_cast<int>(outcome);
        if (timeoutMs == 0)
            return 0;
        usleep(kLookUs);
        if (timeoutMs > 0)
            timeoutMs = timeoutMs > kLookMs ? timeoutMs - kLookMs : 0;
    }
}

int AF_Manager_Cancel_API(int ticket) {
    return ticket < 0 ? -1 : cancelOrder(ticket);
}

// ---- Status

static void fillPositions(AF_Status_ST *status) {
    do { // both axes of one moment
        status->zoomSteps = zoomPosition();
        status->focusSteps = focusPosition();
    } while (status->zoomSteps != zoomPosition());
    status->zoomPosition = position16OfZoom(status->zoomSteps);
    status->focusPosition = position16OfFocus(status->focusSteps);
}

int AF_Manager_Get_Status_API(AF_Status_ST *status) {
    if (status == nullptr || status->size < 2 * sizeof(unsigned int))
        return -1;
    AF_Status_ST whole;
    readStatus(&whole);
    whole.size = status->size;
    whole.faults = presentFaults();
    if (whole.endedTicket != 0) // start-up is over: what follows does not change any more
        fillPositions(&whole);
    memcpy(status, &whole, minOf<size_t>(status->size, sizeof whole));
    return 0;
}
