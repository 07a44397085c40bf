/*
 * How much stack the C library takes below those of its calls that the library makes on threads of
 * its own: each call is made on a fresh thread whose stack was painted before, and the paint that
 * is left tells. Prints "name bytes" for scripts/stack_report: "thread" is a thread's own share,
 * "*" stands for every call that is not listed. Usual paths, not the longest that there may be.
 * The figures go to descriptor 3.
 */
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

enum { kStackSize = 256 * 1024, kPaint = 0xA5 };

static unsigned char stack[kStackSize] __attribute__((aligned(4096)));

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t condition = PTHREAD_COND_INITIALIZER;

static void callPrintf(void) {
    printf("_Fun:%s Line:%d 0x%04x %u\n", __func__, __LINE__, 4711U, 4711U);
}

static void callPerror(void) {
    errno = ENOTTY;
    perror("a failure");
}

static void callSnprintf(void) {
    char text[64];
    snprintf(text, sizeof text, "%04d-%02d %s", 2024, 1, "text");
}

static void callLocaltime(void) {
    const time_t now = time(NULL);
    struct tm local;
    localtime_r(&now, &local);
}

static void callFiles(void) {
    char byte = 0;
    const int descriptor = open("/dev/null", O_RDWR);
    ioctl(descriptor, 0, &byte);
    if (read(descriptor, &byte, 1) < 0 || write(descriptor, &byte, 1) != 1)
        abort();
    close(descriptor);
}

static void callSelect(void) {
    struct timeval timeout = {0, 1};
    fd_set reading;
    FD_ZERO(&reading);
    select(0, &reading, NULL, NULL, &timeout);
    usleep(1);
}

static void callTimedwait(void) {
    struct timeval now;
    struct timespec deadline;
    gettimeofday(&now, NULL);
    deadline.tv_sec = now.tv_sec;
    deadline.tv_nsec = 0;
    pthread_mutex_lock(&lock);
    pthread_cond_timedwait(&condition, &lock, &deadline);
    pthread_cond_signal(&condition);
    pthread_mutex_unlock(&lock);
}

static void *endAtOnce(void *argument) {
    return argument;
}

static void callCreate(void) {
    pthread_t thread;
    pthread_create(&thread, NULL, endAtOnce, NULL);
    pthread_join(thread, NULL);
}

static void callSystem(void) {
    if (system(":") != 0)
        abort();
}

static void callCalloc(void) {
    *(char *volatile *)stack = calloc(1, 64);
}

static const struct {
    const char *name;
    void (*call)(void);
} kCalls[] = {
    {"printf", callPrintf},         {"*", callPrintf},
    {"perror", callPerror},         {"snprintf", callSnprintf},
    {"localtime_r", callLocaltime}, {"ioctl", callFiles},
    {"select", callSelect},         {"pthread_cond_timedwait", callTimedwait},
    {"pthread_create", callCreate}, {"system", callSystem},
    {"calloc", callCalloc},
};

static unsigned char *bodyFrame;

static void *makeCall(void *index) {
    bodyFrame = __builtin_frame_address(0);
    kCalls[(size_t)(uintptr_t)index].call();
    return NULL;
}

/* Below the thread's body; the end of a thread takes some as well, which is the least to show. */
static size_t measure(size_t index) {
    pthread_attr_t attributes;
    pthread_t thread;
    const unsigned char *untouched = stack + sizeof(void *);
    memset(stack, kPaint, sizeof stack);
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, sizeof stack);
    pthread_create(&thread, &attributes, makeCall, (void *)(uintptr_t)index);
    pthread_join(thread, NULL);
    while (untouched < bodyFrame && *untouched == kPaint)
        ++untouched;
    return (size_t)(bodyFrame - untouched);
}

int main(void) {
    int isWhole = 1;
    for (size_t index = 0; index < sizeof kCalls / sizeof kCalls[0]; ++index)
        isWhole &= dprintf(3, "%s %zu\n", kCalls[index].name, measure(index)) > 0;
    isWhole &= dprintf(3, "thread %zu\n", (size_t)(stack + sizeof stack - bodyFrame)) > 0;
    return isWhole ? 0 : 1;
}
