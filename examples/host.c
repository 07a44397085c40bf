/*
 * A complete host on the public header alone: it keeps what the library hands it in files, gives it
 * a serial port, starts it, and ends it on SIGINT or SIGTERM.
 *
 *     host SERIAL_PORT STORE_FOLDER
 *
 * The program that loads the library provides the ISP's calls: link the platform's ISP library.
 */
#define _POSIX_C_SOURCE 200809L

#include <autofocus.h>

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

static const char *storeFolder;

static void composePath(char *path, size_t size, const char *name, const char *ending) {
    snprintf(path, size, "%s/%s%s", storeFolder, name, ending);
}

static int writeFlushed(const char *path, const void *record, size_t size) {
    FILE *file = fopen(path, "wb");
    int written;
    if (file == NULL)
        return -1;
    written = fwrite(record, size, 1, file) == 1 && fflush(file) == 0 && fsync(fileno(file)) == 0;
    return fclose(file) == 0 && written ? 0 : -1;
}

/* A rename is on the disk when its folder is. */
static int flushFolder(void) {
    const int folder = open(storeFolder, O_RDONLY | O_DIRECTORY);
    int flushed;
    if (folder < 0)
        return -1;
    flushed = fsync(folder);
    close(folder);
    return flushed;
}

/* Beside the file, flushed, then renamed over it: a power cut leaves the old or the new content.
 * Callbacks of two threads may come here at once; one writes, the other waits. */
static int storeRecord(const char *name, const void *record, size_t size) {
    static pthread_mutex_t oneWriter = PTHREAD_MUTEX_INITIALIZER;
    char path[256];
    char fresh[256];
    int stored;
    composePath(path, sizeof path, name, "");
    composePath(fresh, sizeof fresh, name, ".new");
    pthread_mutex_lock(&oneWriter);
    stored =
        writeFlushed(fresh, record, size) == 0 && rename(fresh, path) == 0 && flushFolder() == 0;
    pthread_mutex_unlock(&oneWriter);
    return stored ? 0 : -1;
}

static int loadRecord(const char *name, void *record, size_t size) {
    char path[256];
    FILE *file;
    int whole;
    composePath(path, sizeof path, name, "");
    file = fopen(path, "rb");
    if (file == NULL)
        return -1;
    whole = fread(record, size, 1, file) == 1;
    fclose(file);
    return whole ? 0 : -1;
}

/* ---- Callbacks: on the library's threads; 0 is success ---- */

static int savePosition(unsigned int zoom, unsigned int focus) {
    const unsigned int record[2] = {zoom, focus};
    return storeRecord("position", record, sizeof record);
}

static int loadPosition(unsigned int *zoom, unsigned int *focus) {
    unsigned int record[2];
    if (loadRecord("position", record, sizeof record) != 0)
        return -1;
    *zoom = record[0];
    *focus = record[1];
    return 0;
}

static int savePresets(PRESET_INF *presets) {
    return storeRecord("presets", presets, sizeof *presets);
}

static int loadPresets(PRESET_INF *presets) {
    return loadRecord("presets", presets, sizeof *presets);
}

static int saveCurve(FOCUS_POINT *curve) {
    return storeRecord("curve", curve, sizeof *curve);
}

static int loadCurve(FOCUS_POINT *curve) {
    return loadRecord("curve", curve, sizeof *curve);
}

/* Switch the IR-cut filter here. The state that it then has is reported with
 * AF_Manager_Set_ICUTStatusLast_API(), from another thread: that call takes 2 s. */
static int switchDayNight(int mode) {
    fprintf(stderr, "asked for %s\n", mode == TYPE_NIGHT ? "night" : "day");
    return 0;
}

/* 9600 baud, 8 data bits, no parity, bytes as they come; -1 with errno set. A read waits 0.1 s for
 * the next byte: a slow sender's frame stays whole, and a stray byte is not held to start one. */
static int openSerialPort(const char *path) {
    struct termios settings;
    const int port = open(path, O_RDWR | O_NOCTTY);
    if (port < 0 || tcgetattr(port, &settings) != 0)
        return -1;
    settings.c_iflag = 0;
    settings.c_oflag = 0;
    settings.c_lflag = 0;
    settings.c_cflag = CS8 | CREAD | CLOCAL;
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 1;
    cfsetispeed(&settings, B9600);
    cfsetospeed(&settings, B9600);
    return tcsetattr(port, TCSANOW, &settings) == 0 ? port : -1;
}

/* The library prints, and a reader of our output that stalls would stop the lens in the middle of a
 * move. On a pipe, terminal or console that nobody else's descriptor shares, opened anew without
 * waiting, a line that does not fit is dropped. */
static void neverWaitForReader(int output) {
    char path[32];
    struct stat info;
    int own;
    if (fstat(output, &info) != 0 || !(S_ISFIFO(info.st_mode) || S_ISCHR(info.st_mode)))
        return;
    snprintf(path, sizeof path, "/proc/self/fd/%d", output);
    own = open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY);
    if (own >= 0) {
        dup2(own, output);
        close(own);
    }
}

int main(int argc, char **argv) {
    sigset_t endSignals;
    int signalNumber;
    int port;
    if (argc != 3) {
        fprintf(stderr, "usage: host SERIAL_PORT STORE_FOLDER\n");
        return 2;
    }
    neverWaitForReader(STDOUT_FILENO);
    neverWaitForReader(STDERR_FILENO);
    setvbuf(stdout, NULL, _IOLBF, BUFSIZ); /* whole lines, so that whole lines are dropped */
    signal(SIGPIPE, SIG_IGN);              /* nor does a reader that has gone end us */
    storeFolder = argv[2];
    port = openSerialPort(argv[1]);
    if (port < 0) {
        perror(argv[1]);
        return 1;
    }
    /* Before the library's threads exist, so that they inherit the mask. */
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGINT);
    sigaddset(&endSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &endSignals, NULL);

    if (AF_Manager_Init_LensPosition_API(savePosition, loadPosition) != 0 ||
        AF_Manager_Init_PresetInfo_API(savePresets, loadPresets) != 0 ||
        AF_Manager_Init_FocusPoint_API(saveCurve, loadCurve) != 0 ||
        AF_Manager_Init_DayNightModeFun_API(switchDayNight) != 0 ||
        AF_Manager_Init_UsartFd_API(port) != 0 || AF_Manager_Start_API() != 0)
        return 1;
    sigwait(&endSignals, &signalNumber);
    AF_Manager_Stop_API();
    return 0;
}
