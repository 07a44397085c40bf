// The demo's stage: a virtual camera with the library on it, a host, a controller on the serial
// port, and an observer who sees both the truth and what the library believes.
//
// All of it runs on the program's first thread; waiting here is what lets virtual time pass.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "camera_options.h"
#include "file_store.h"

namespace demo {

/// A stretch of the story.
struct Phase {
    double fromS;
    std::string name;
};

/// What the observer notes once a frame.
struct Sample {
    double timeS;
    int zoom;  ///< True position.
    int focus; ///< True position.
    double inFocus;
    double focusValue;
    double errorHalfDepths;
};

class Stage {
public:
    /// Power the camera on and start the host; its files go under @p outFolder. A story of several
    /// power-ons gives each a @p part, which sets its trace and console apart.
    Stage(vcam::CameraOptions options, const std::string &outFolder, const std::string &part = "");

    /// Until the lens is parked and the first autofocus run is done.
    void boot();

    /// Wait for the autofocus run that is due, and judge it.
    void awaitRun(const std::string &name);

    /// What happens from now on, for the plots; until the next phase.
    void enterPhase(const std::string &name);

    /// Print a row of the timeline: what was asked or seen, where the lens is, what is believed.
    void report(const std::string &what);

    /// Let virtual time pass, noting a sample a frame.
    void advanceUs(int64_t us);

    /// Let a held command run for @p us, then stop it.
    void hold(const std::string &meaning, const std::vector<uint8_t> &start, int64_t us,
              const std::vector<uint8_t> &stop);

    /// Let time pass until @p isDone, with a progress line now and then; false after @p limitS.
    bool advanceUntil(const std::string &waitingFor, double limitS,
                      const std::function<bool()> &isDone);

    /// Until the lens-control thread idles with the refocus trigger armed.
    bool advanceUntilIdle(const std::string &waitingFor, double limitS);

    /// Bytes from the controller, shown.
    void send(const std::string &meaning, const std::vector<uint8_t> &bytes);

    /// An inquiry and its reply, both shown; compared with @p expected.
    void inquire(const std::string &meaning, const std::vector<uint8_t> &bytes,
                 const std::vector<uint8_t> &expected);

    /// A line of the verdict.
    void check(bool isGood, const std::string &what);
    void checkCountersTrue(const std::string &when);
    void checkSharp(const std::string &when);

    /// A file under the stage's folder has just been written, whole or not.
    void checkWritten(bool isWhole, const std::string &name);

    /// Print the verdict: violations, lost steps and files that are not whole count too. The
    /// process's exit status.
    int giveVerdict();

    const std::vector<Sample> &samples() const { return allSamples; }
    const std::vector<Phase> &phases() const { return allPhases; }
    const std::string &folder() const { return out; }
    double timeS() const;

private:
    void noteSample();
    void sleepUntilUs(int64_t us);
    void showLines();
    void judgeVerdict(const std::string &name);

    std::string out;
    FileStore store;
    int64_t framePeriodUs;
    bool isTelling; ///< The library answers: what it tells belongs to the timeline.
    std::vector<Sample> allSamples;
    std::vector<Phase> allPhases;
    int checksFailed = 0;
};

/// A line on standard error: this file is not whole.
void complainOf(const std::string &path, const char *reason);

/// Bytes as hex pairs.
std::string spellBytes(const std::vector<uint8_t> &bytes);

} // namespace demo
