// Two service runs that write measured pairs of zoom and in-focus position to text files.
#include "af_lens/focus/focus_pass.h"
#include "af_lens/focus/peak_search.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/motion/counted_move.h"
#include "af_lens/motion/home_search.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/calibration.h"
#include "autofocus/focus_lines.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/device_file.h"
#include "platform/trace.h"

#include <fcntl.h>
#include <unistd.h>

static const char kCurveFile[] = "/mnt/flash/data/ZFCurve.txt";
static const char kCurveFile2[] = "/mnt/flash/data/ZFCurve2.txt";
static const mode_t kFileMode = 0666;
static const int kFallLimit = 1;
static const useconds_t kNextPointUs = 100000;
static const useconds_t kPointSettledUs = 100000;
static const char kLineFormat[] = "%d,%d,%d\n";
static const int kLongestLine = 40; // three signed 32-bit numbers

static CalibrationRun makeDrawingRun(const char *name, unsigned char coarseStep) {
    CalibrationRun run = {};
    run.name = name;
    run.startMaximum = 0;
    run.startMinimum = kNoMinimumYet;
    run.coarseStep = coarseStep;
    run.fallLimit = kFallLimit;
    run.coarseEndFormat = "At %s\n";
    return run;
}

static int openCurveFile(const char *name, const char *path) {
    const int fd = openAboveStandard(path, O_WRONLY | O_CREAT | O_TRUNC, kFileMode);
    if (fd < 0) {
        TRACE_FORMAT_OF(name, "fopen %s error.\n", path);
    }
    return fd;
}

static void writeCurveLine(int fd, int zoom, int focus, int difference) {
    char line[kLongestLine];
    const int length = snprintf(line, sizeof line, kLineFormat, zoom, focus, difference);
    const ssize_t ignored = write(fd, line, static_cast<size_t>(length));
    (void)ignored; // a full disk costs the file, not the run
}

// Home, wide limit, and the focus where measuring starts; the PI search's result.
static int goToStart(const char *name) {
    setPosition(ZM_Tele_Limit, FM_Near_Limit);
    TRACE_TEXT_OF(name, "Step1: Check PI.");
    return Lens_Check_PIPosition();
}

static void startDrawing(const char *name) {
    TRACE_TEXT_OF(name, "Step2: Run to wide limit and near limit.");
    Lens_To_Destination(ZM_Wide_Limit, FM_Lock_Start);
    sleep(1);
    TRACE_TEXT_OF(name, "Step3: Draw clear point.");
}

// A target without a peak leaves the lens anywhere: it is parked.
static void endDrawing(const char *name, int fd, bool allPeaks) {
    close(fd);
    MS419XX_Break_MotorAB(LED_DISABLE);
    brakeFocus();
    if (!allPeaks) {
        TRACE_FORMAT_OF(name, "No peak at ZP: %d.\n", static_cast<int>(zoomPosition()));
        parkAtWide();
    }
    TRACE_TEXT_OF(name, "OVER");
}

// ---- First run: equal zoom steps, the focus stays where the search has left it ----

static int chooseZoomStep(const char *name) {
    if (zoomPosition() < ZM_PI_Position)
        return 4 * Step_Level_Max;
    TRACE_FORMAT_OF(name, "____At PI Position [%d, %d]____\n", static_cast<int>(ZM_PI_Position),
                    static_cast<int>(zoomPosition()));
    return 2 * Step_Level_Max;
}

// False when a point yields no peak.
static bool drawEqualSteps(CalibrationRun *run, int fd) {
    unsigned int previous = focusPosition(); // decides the next direction
    unsigned int previousLine = 0;           // what the file's third field counts from
    while (zoomPosition() <= ZM_Tele_Limit) {
        if (!findCalibrationPeak(run))
            return false;
        writeCurveLine(fd, static_cast<int>(zoomPosition()), static_cast<int>(run->tagPosition),
                       stepsBetween(run->tagPosition, previousLine));
        previousLine = run->tagPosition;
        run->tagNumber += 1;
        const int zoomSteps = chooseZoomStep(run->name);
        if (zoomPosition() == ZM_Tele_Limit) {
            TRACE_TEXT_OF(run->name, "____ZM_Step_Local == ZM_Tele_Limit____");
            return true;
        }
        Lens_Move_NSteps(MS_Z_TELE, zoomSteps, run->fType, 0);
        TRACE_FORMAT_OF(run->name, "ZM_Limit: %d ZM_Local: %d FM_Local: %d\n",
                        static_cast<int>(ZM_Tele_Limit), static_cast<int>(zoomPosition()),
                        static_cast<int>(focusPosition()));
        usleep(kNextPointUs);
        run->fType = run->tagPosition > previous ? MS_F_FAR : MS_F_NEAR;
        previous = run->tagPosition;
    }
    return true;
}

void Lens_Draw_CurveOfZoomAndFocus(void) {
    const int fd = openCurveFile(__func__, kCurveFile);
    if (fd < 0)
        return;
    if (goToStart(__func__) < 0) {
        close(fd);
        return;
    }
    startDrawing(__func__);
    CalibrationRun run = makeDrawingRun(__func__, Step_Level_Mid);
    run.sampleTrace = kTracePosition;
    run.settleUs = kPointSettledUs;
    run.fType = MS_F_NEAR;
    const bool allPeaks = drawEqualSteps(&run, fd);
    endDrawing(__func__, fd, allPeaks);
}

// ---- Second run: quarter points, the focus goes back to the peak while the zoom goes on ----

// False when a point yields no peak.
static bool drawQuarterPoints(CalibrationRun *run, int fd) {
    unsigned int previous = focusPosition();
    while (zoomPosition() <= ZM_Tele_Limit) {
        if (!findCalibrationPeak(run))
            return false;
        writeCurveLine(fd, static_cast<int>(zoomPosition() - ZM_Wide_Limit),
                       static_cast<int>(run->tagPosition - FM_Step_Start),
                       stepsBetween(run->tagPosition, previous));
        run->tagNumber += 1;
        const MS_Action_em back = reverseFocus(run->fType);
        const int fSteps = stepsBetween(focusPosition(), run->tagPosition);
        if (zoomPosition() == ZM_Tele_Limit) {
            Lens_Move_NSteps(MS_Z_TELE, 0, back, fSteps);
            return true;
        }
        int index1 = 0;
        int index2 = 0;
        Lens_Get_ZoomIndex(&index1, &index2, zoomPosition());
        const int zSteps = static_cast<int>(quarterLength(index1));
        Lens_Move_NSteps(MS_Z_TELE, zSteps, back, fSteps);
        TRACE_FORMAT_OF(run->name, "ZM_Limit: %d ZM_Local: %d FM_Local: %d zSteps: %d\n\n",
                        static_cast<int>(ZM_Tele_Limit), static_cast<int>(zoomPosition()),
                        static_cast<int>(focusPosition()), zSteps);
        usleep(kNextPointUs);
        run->fType = run->tagPosition >= previous ? MS_F_FAR : MS_F_NEAR;
        previous = run->tagPosition;
    }
    return true;
}

void Lens_Draw_CurveOfZoomAndFocus2(void) {
    const int fd = openCurveFile(__func__, kCurveFile2);
    if (fd < 0)
        return;
    goToStart(__func__); // draws even when the edges were not found
    startDrawing(__func__);
    CalibrationRun run = makeDrawingRun(__func__, Step_Level_Min);
    run.sampleTrace = kTraceValue;
    run.fType = MS_F_FAR;
    const bool allPeaks = drawQuarterPoints(&run, fd);
    endDrawing(__func__, fd, allPeaks);
}
