// What a scenario test stands on: a fresh process with a powered virtual camera, a host in memory,
// and the trace read back as events.
//
// The library's state is global and its threads never end, so each case forks before the clock
// starts and leaves with _exit. Expectations inside the case work as usual; a failing case prints
// its seed and the command that replays it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "autofocus_service.h"
#include "camera_options.h"
#include "host/lens_watch.h"
#include "host/memory_host.h"
#include "waveform/trace_reader.h"

namespace scenario {

using vcam::command;
using vcam::host;
using vcam::introduceHost;

// What the trace says, and one line of it.
using vcam::consoleLines;
using vcam::countSaid;
using vcam::events;
using vcam::motorRuns;
using vcam::motorText;
using vcam::runText;
using vcam::whenSaid;
using Event = vcam::TraceLine;

/// Run @p body in a process of its own with a camera made of @p options powered on. Its files go
/// with it, but a trace file that the options name stays.
void run(const vcam::CameraOptions &options, const std::function<void()> &body);
void run(const std::function<void()> &body); ///< Default options, seed 1.

/// run() for each of @p rows, which @p body takes; a failure says which.
template <class Rows, class Body> void runEach(const Rows &rows, const Body &body) {
    int number = 0;
    for (const auto &row : rows) {
        SCOPED_TRACE("row " + std::to_string(number++));
        run([&] { body(row); });
    }
}

/// Zoom and focus, as the host stores them.
using Place = std::pair<unsigned, unsigned>;

/// Where the lens stands, whatever the library counts.
Place truePlace();

/// Options with the lens at these positions at power-on.
vcam::CameraOptions startAt(int zoom, int focus, int lens = LENS_B);

/// How a process ended that was expected to end by itself.
struct Ending {
    int status;          ///< Exit status; -1 after a signal.
    std::string said;    ///< On standard error.
    std::string printed; ///< By the library, and by failures.
};

/// As run, but says how the process ended instead of expecting it to end well.
Ending runToEnd(const vcam::CameraOptions &options, const std::function<void()> &body);

/// introduceHost() and start the library.
void startLibrary();

/// startLibrary() and wait until the lens is parked and the first autofocus run is done: idle.
void startAndSettle();

/// startLibrary() with CMD_MFMODE in the mailbox before the lens-control thread exists: the lens
/// rests at the wide limit on the infinity line, no autofocus run has moved it, the trigger is off.
void startParked();

/// The lens-control thread's next poll, as long as nothing but standing states was in the mailbox
/// since startParked().
int64_t nextPollUs();

/// Home and go to (@p zoom, @p focus) on the calling thread; only while CMD_MFMODE stands.
void placeLens(unsigned zoom, unsigned focus);

/// The manual stepping thread, once frames are there; it waits for its first request.
pthread_t startManualThread();

/// Let virtual time pass until @p isDone (polled every millisecond); a failure after @p limitS.
void waitUntil(const std::function<bool()> &isDone, double limitS, const char *what);

/// Until the mailbox holds CMD_NONE with the refocus trigger armed.
void waitIdle(double limitS = 60);

/// vcam::awaitSettled(); a failure after @p limitS. A look costs two hand-overs between threads.
void waitSettled(
    double limitS, const std::function<void()> &watch = [] {}, int64_t lookMs = 20);

void passMs(int64_t ms);

/// In the ISP's place: no frame ends any more, and after 41 ms what @p makeRecord says for the true
/// focus position is published every 40 ms until @p isDone.
void publishUntil(const std::function<bool()> &isDone,
                  const std::function<AF_Statistics_Info(int focus)> &makeRecord);

void send(const std::vector<uint8_t> &bytes);

/// Counters equal the truth, no violation, no lost step.
void expectSound();

/// How often @p line is among @p lines.
int count(const std::vector<std::string> &lines, const std::string &line);

} // namespace scenario
