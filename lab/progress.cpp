#include "progress.h"

#include <cstdio>
#include <unistd.h>

namespace lab {

static constexpr double kOnTerminalS = 0.25;
static constexpr double kElsewhereS = 60;

static bool isTerminal() {
    static const bool isOne = isatty(STDERR_FILENO) != 0;
    return isOne;
}

double Progress::nowS() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double Progress::runsPerSecond() const {
    const double passedS = nowS() - startS;
    return passedS > 0 ? static_cast<double>(done) / passedS : 0;
}

void Progress::draw() const {
    const double rate = runsPerSecond();
    const auto leftS = rate > 0 ? static_cast<time_t>(static_cast<double>(all - done) / rate) : 0;
    const time_t then = time(nullptr) + leftS;
    tm local = {};
    char end[16] = "";
    strftime(end, sizeof end, "%H:%M:%S", localtime_r(&then, &local));
    fprintf(stderr, "%s%ld of %ld runs, %.0f a second, ends at %s%s", isTerminal() ? "\r" : "",
            done, all, rate, end, isTerminal() ? "\033[K" : "\n");
}

void Progress::add(long runs) {
    done += runs;
    const double now = nowS();
    if (now - shownS < (isTerminal() ? kOnTerminalS : kElsewhereS))
        return;
    shownS = now;
    draw();
}

void Progress::sumUp() const {
    if (done > 0)
        fprintf(stderr, "lab: %ld runs in %.1f s, %.0f a second\n", done, nowS() - startS,
                runsPerSecond());
}

void Progress::clear() {
    if (isTerminal())
        fputs("\r\033[K", stderr);
}

} // namespace lab
