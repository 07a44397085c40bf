// A worker a processor takes one unit after the other and forks a camera for each, since a camera
// is powered on once a process. A worker's pipe carries the rows of its unit and then a line that
// says "end NUMBER"; one that had no rows before it has failed.
#include "player.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "camera.h"
#include "camera_options.h"
#include "host/workers.h"
#include "optics/key_spectra.h"
#include "optics/scene_view.h"
#include "optics/zone_spectra.h"

namespace lab {

static constexpr int kLookMs = 100;
static const char *const kEnd = "end ";

namespace {
struct Worker {
    pid_t process = -1;
    int from = -1;
    std::string unread;
    std::vector<RowText> rows;
};
} // namespace

// ---- The camera's process

static bool writeAll(int to, const std::string &text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(to, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR)
            return false;
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
}

[[noreturn]] static void playAndLeave(const Kind &kind, const Cell &cell, long unit, int to,
                                      const std::string &traceFile = "") {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    vcam::CameraOptions camera = makeUnit(unit);
    camera.traceFile = traceFile;
    applySettings(cell, camera);
    if (kind.prepareUnit != nullptr)
        kind.prepareUnit(cell, camera);
    vcam::powerOn(camera);
    std::string text;
    for (const RowText &row : kind.playUnit(cell, camera, unit))
        text += row + "\n";
    const bool isWhole = vcam::powerOff();
    _exit(isWhole && writeAll(to, text) ? EXIT_SUCCESS : EXIT_FAILURE);
}

/// The rows go to @p to; true when the camera has come to its end.
static bool playInChild(const Kind &kind, const Cell &cell, long unit, int to) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        playAndLeave(kind, cell, unit, to);
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0;
}

static std::vector<RowText> splitLines(std::string &text) {
    std::vector<RowText> lines;
    size_t end;
    while ((end = text.find('\n')) != std::string::npos) {
        lines.push_back(text.substr(0, end));
        text.erase(0, end + 1);
    }
    return lines;
}

static bool readSome(int from, std::string &text) {
    char some[4096];
    const ssize_t size = read(from, some, sizeof some);
    if (size > 0)
        text.append(some, static_cast<size_t>(size));
    return size > 0 || (size < 0 && errno == EINTR);
}

std::vector<RowText> playUnitApart(const Kind &kind, const Cell &cell, long unit,
                                   const std::string &traceFile) {
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        playAndLeave(kind, cell, unit, ends[1], traceFile);
    close(ends[1]);
    std::string text;
    while (readSome(ends[0], text)) {
    }
    close(ends[0]);
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status == 0 ? splitLines(text) : std::vector<RowText>{};
}

// ---- The workers

/// What is the same for all units of a cell and takes long: a picture's spectra.
static void prepare(const Cell &cell) {
    vcam::CameraOptions camera;
    applySettings(cell, camera);
    if (camera.picture.empty() || !vcam::chooseScene(camera.picture, camera.plainPicture))
        return;
    vcam::powerOnKeySpectra(camera);
    for (size_t key = 0; key < vcam::kKeyCount; ++key)
        vcam::spectraOfKey(key);
}

/// An interrupt from the keyboard is the parent's: a unit in hand is played to its end.
[[noreturn]] static void work(const Kind &kind, const Cell &cell, const std::vector<long> &units,
                              size_t *next, int to) {
    signal(SIGINT, SIG_IGN);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prepare(cell);
    size_t index;
    while ((index = __atomic_fetch_add(next, 1, __ATOMIC_RELAXED)) < units.size()) {
        const bool isWhole = playInChild(kind, cell, units[index], to);
        const std::string end = isWhole ? kEnd : "bad\nend ";
        if (!writeAll(to, end + std::to_string(units[index]) + "\n"))
            break;
    }
    _exit(EXIT_SUCCESS);
}

static std::vector<Worker> startWorkers(const Kind &kind, const Cell &cell,
                                        const std::vector<long> &units, size_t *next) {
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    std::vector<Worker> workers(static_cast<size_t>(CPU_COUNT(&allowed)));
    fflush(nullptr);
    for (size_t number = 0; number < workers.size(); ++number) {
        int ends[2];
        if (pipe(ends) != 0)
            continue;
        workers[number].process = fork();
        if (workers[number].process == 0) {
            vcam::moveToProcessor(allowed, static_cast<int>(number));
            work(kind, cell, units, next, ends[1]);
        }
        close(ends[1]);
        workers[number].from = ends[0];
    }
    return workers;
}

static void takeLine(Worker &worker, const std::string &line, const TakeRows &take) {
    if (line.rfind(kEnd, 0) != 0) {
        worker.rows.push_back(line);
        return;
    }
    const bool isBad = !worker.rows.empty() && worker.rows.back() == "bad";
    take(atol(line.c_str() + std::string(kEnd).size()),
         isBad ? std::vector<RowText>{} : worker.rows);
    worker.rows.clear();
}

/// False when that was the last of it.
static bool serve(Worker &worker, const TakeRows &take) {
    const bool isOpen = readSome(worker.from, worker.unread);
    for (const std::string &line : splitLines(worker.unread))
        takeLine(worker, line, take);
    return isOpen;
}

static bool serveReady(std::vector<Worker> &workers, const TakeRows &take) {
    std::vector<pollfd> waits;
    waits.reserve(workers.size());
    for (const Worker &worker : workers)
        waits.push_back({worker.from, POLLIN, 0});
    if (poll(waits.data(), waits.size(), kLookMs) < 0)
        return true;
    bool isAnyOpen = false;
    for (size_t number = 0; number < workers.size(); ++number) {
        Worker &worker = workers[number];
        if (waits[number].revents != 0 && !serve(worker, take)) {
            close(worker.from);
            worker.from = -1;
        }
        isAnyOpen = isAnyOpen || worker.from >= 0;
    }
    return isAnyOpen;
}

void playUnits(const Kind &kind, const Cell &cell, const std::vector<long> &units,
               const TakeRows &take, const IsOver &isOver) {
    auto *const next = vcam::share<size_t>();
    std::vector<Worker> workers = startWorkers(kind, cell, units, next);
    while (serveReady(workers, take)) {
        if (isOver())
            __atomic_store_n(next, units.size(), __ATOMIC_RELAXED);
    }
    for (const Worker &worker : workers)
        waitpid(worker.process, nullptr, 0);
    munmap(next, sizeof *next);
}

} // namespace lab
