#include "af_interface/start/startup.h"

#include "af_lens/control/order_in_hand.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/motors.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/lens_control.h"
#include "autofocus/startup.h"
#include "autofocus/statistics.h"
#include "platform/device_file.h"
#include "platform/library_thread.h"
#include "platform/shared_word.h"
#include "platform/trace.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

static const char kMarker[] = "/tmp/afstartok";
static const mode_t kMarkerMode = 0666;
static const int kMarkerLine = 121; // part of the text
static const useconds_t kClaimPollUs = 50000;

static int afInfoInit(void) {
    Lens_Init_OSDMultiple(kFewestRatios);
    return 0;
}

// Never through a link that somebody has left there, and never touching a file that exists.
static void createMarker() {
    const int fd =
        openAboveStandard(kMarker, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kMarkerMode);
    if (fd >= 0)
        close(fd);
}

static void afStartOk(void) {
    if (access(kMarker, F_OK) != 0)
        createMarker();
    traceText(__func__, kMarkerLine, "____YES____\n");
}

static void startLens() {
    while (!claimMotors()) // a host may have started the manual stepping thread already
        usleep(kClaimPollUs);
    beginStartUp();
    MS419XX_Init();
    Lens_Init();
    endStartUp();
    releaseMotors();
}

// The two threads that run a camera. The second is created even if the first cannot be.
static int lensThreadsTried = 0;
static bool controlRuns = false;
static bool statisticsRuns = false;

bool lacksLensThreads() {
    return loadWord(&lensThreadsTried) == 1 && !(controlRuns && statisticsRuns);
}

bool startLensThreads() {
    if (!controlRuns)
        controlRuns = startLibraryThread(thLensCtrl) == 0;
    if (!statisticsRuns)
        statisticsRuns = startLibraryThread(afvManageThread) == 0;
    if (controlRuns && statisticsRuns)
        return true;
    printf("__%s____Create Control Thread Failure____\n", "afStartThread");
    return false;
}

void *afStartThread(void *) {
    pthread_detach(pthread_self());
    enterLibraryThread();
    printf("__________%s__________\n", __func__);
    afInfoInit();
    startLens();
    startLensThreads();
    storeWord(&lensThreadsTried, 1);
    sleep(1);
    afStartOk();
    return nullptr;
}
