#include "af_interface/startup.h"

#include "af_interface/statistics_thread.h"
#include "af_lens/control_thread.h"
#include "af_lens/lens_start.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motor_claim.h"
#include "af_ms419xx/ms419xx.h"
#include "platform/trace.h"

#include <fcntl.h>
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
    const int fd = open(kMarker, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kMarkerMode);
    if (fd >= 0)
        close(fd);
}

static void afStartOk(void) {
    if (access(kMarker, F_OK) != 0)
        createMarker();
    TRACE_PREFIX_OF(__func__, kMarkerLine);
    puts("____YES____\n");
}

static void startLens() {
    while (!claimMotors()) // a host may have started the manual stepping thread already
        usleep(kClaimPollUs);
    MS419XX_Init();
    Lens_Init();
    releaseMotors();
}

void *afStartThread(void *) {
    pthread_detach(pthread_self());
    printf("__________%s__________\n", __func__);
    afInfoInit();
    startLens();
    pthread_t thread;
    const int controlFailed = pthread_create(&thread, nullptr, thLensCtrl, nullptr);
    const int statisticsFailed = pthread_create(&thread, nullptr, afvManageThread, nullptr);
    if (controlFailed != 0 || statisticsFailed != 0)
        printf("__%s____Create Control Thread Failure____\n", __func__);
    sleep(1);
    afStartOk();
    return nullptr;
}
