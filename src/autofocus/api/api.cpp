// The face of the library to the host: settings, commands, start and stop. Runs on the host's
// threads; no lens movement happens here.
#include "af_interface/start/startup.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/preset_table.h"
#include "af_lens/model/zoom_ratio.h"
#include "autofocus.h"
#include "autofocus/host/osd_text.h"
#include "autofocus/host/settings.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/lens_control.h"
#include "autofocus/serial_protocol.h"
#include "autofocus/startup.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "platform/claim.h"
#include "platform/library_thread.h"
#include "platform/shared_word.h"

#include <stdio.h>
#include <unistd.h>

static const int kFixedSpeed = 4;
static const int kSlowest = 1;
static const int kFastest = 7;
static const int kReportedNight = 1;
static const int kReportedDay = 2;
static const unsigned int kFilterSettleSeconds = 2;

// How far the start has come; under the claim.
static Claim starting;
static const int kLongestStartMs = 10000; // another thread is at it, and creates four threads
static bool serialRuns = false;
static bool startUpRuns = false;

static int af_relate_frame = 0;

static bool isSwitch(int value) {
    return value == 0 || value == 1;
}

static bool isSpeed(int value) {
    return value >= kSlowest && value <= kFastest;
}

// ---- Start and stop ----

static bool startOnce(bool *runs, void *(*body)(void *)) {
    if (!*runs)
        *runs = startLibraryThread(body) == 0;
    return *runs;
}

// What a former start could not create, and nothing twice.
static int startWhatIsMissing() {
    if (serialRuns && startUpRuns && !lacksLensThreads())
        return -1;
    if (!startOnce(&serialRuns, SonyViscaProtocol)) {
        puts("AF_Manager_Start create SonyViscaProtocol failure !");
        return -1;
    }
    if (!startOnce(&startUpRuns, afStartThread)) {
        puts("AF_Manager_Start create afStartThread failure !");
        return -1;
    }
    if (lacksLensThreads() && !startLensThreads())
        return -1;
    puts("AF_Manager_Start Success !");
    return 0;
}

int AF_Manager_Start_API(void) {
    if (!awaitClaim(&starting, kLongestStartMs))
        return -1;
    closeEarlySettings();
    const int result = startWhatIsMissing();
    giveBackClaim(&starting);
    return result;
}

void AF_Manager_Stop_API(void) {
    lensCtrlStop();
}

// ---- Commands ----

void AF_Manager_Reset_API(void) {
    Lens_Set_Command(CMD_RESET);
}

int AF_Manager_LockFocus_API(void) {
    return Lens_Set_Command(CMD_FLINE);
}

int AF_Manager_SetFocusMode_API(int mode) {
    if (!isSwitch(mode))
        return -1;
    storeWord(&g_AutoCheckEnable, mode);
    return 0;
}

int AF_Mamager_SetPreset_API(unsigned char preset) {
    return Lens_Set_Preset(preset);
}

// ---- Zoom ratio ----

int AF_Manager_Set_Multiple_API(int value) {
    return Lens_Reset_OSDMULMAP(static_cast<unsigned int>(value));
}

int AF_Manager_Get_Multiple_API(void) {
    return 0;
}

int AF_Manager_Get_OSDData_API(char *pData) {
    if (pData == nullptr)
        return -1;
    formatOsdText(pData);
    return 0;
}

// ---- Settings ----

int AF_Manager_Get_ZoomSpeed_API(void) {
    return kFixedSpeed;
}

int AF_Manager_Set_ZoomSpeed_API(int value) {
    if (isSpeed(value))
        return 0;
    puts("Invaled zoom speed value !");
    return -1;
}

int AF_Manager_Get_FocusSpeed_API(void) {
    return kFixedSpeed;
}

int AF_Manager_Set_FocusSpeed_API(int value) {
    if (isSpeed(value))
        return 0;
    puts("Invaled focus speed value !");
    return -1;
}

int AF_Manager_Get_FrameRate_API(void) {
    return loadWord(&af_relate_frame);
}

int AF_Manager_Set_FrameRate_API(int value) {
    if (!isSwitch(value))
        return -1;
    storeWord(&af_relate_frame, value);
    return 0;
}

int AF_Manager_Init_UsartFd_API(int fd) {
    if (fd < 1) {
        printf("Invaled fd: %d.\n", fd);
        return -1;
    }
    return InitUsartFd(fd);
}

// ---- Day and night ----

int AF_Manager_Get_ICUTControlType_API(void) {
    return loadWord(&icr_control_mode);
}

int AF_Manager_Get_ICUTOfSPISend_API(void) {
    return loadWord(&icr_control_mode);
}

int AF_Manager_Set_ICUTControlType_API(int value) {
    if (value < TYPE_AUTO || value > TYPE_OUTCONTROL) {
        puts("Invaled icut control type !");
        return -1;
    }
    if (loadWord(&icr_control_mode) != value)
        storeWord(&icr_control_mode, value);
    return 0;
}

int AF_Manager_Get_ICUTStatusLast_API(void) {
    return loadWord(&g_ICUTState) != kIcutDay ? kReportedNight : kReportedDay;
}

int AF_Manager_Set_ICUTStatusLast_API(int value) {
    if (value != kReportedNight && value != kReportedDay) {
        puts("Invaled icut mode last !");
        return -1;
    }
    const int state = value == kReportedNight ? kIcutNight : kIcutDay;
    if (loadWord(&g_ICUTState) == state)
        return 0;
    storeWord(&g_ICUTState, state);
    sleep(kFilterSettleSeconds); // the filter moves and the exposure follows
    Lens_Set_Command(CMD_FOCUS);
    return 0;
}
