// The session: its log, the camera that plays it, and going back in it. Going back is a new camera
// that plays the log until then.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "camera_process.h"
#include "frame_words.h"
#include "hub.h"
#include "input_check.h"
#include "session_log.h"

namespace view {

class Studio {
public:
    /// Pictures that may be chosen, by their file names. @p listener gets what the camera
    /// sends.
    Studio(Hub &theHub, std::string cameraProgram, std::vector<std::string> pictureFiles,
           std::function<void(const Bytes &)> listener);
    ~Studio();

    /// The camera is off for good.
    void close();

    /// A session from its beginning; what it holds is played, until @p untilTick as fast as it
    /// goes.
    void begin(Session wanted, int64_t untilTick = 0);

    /// An order of a page's, a line: "input ...", "pace ...", "pause", "go", "step", "rewind MS",
    /// "new NAME=VALUE ...", "cycle NAME=VALUE ...". Empty, or why not.
    std::string obey(const std::string &line);

    /// Bytes of a controller on the terminal line.
    void send(const Bytes &bytes);

    /// Where it is now, ended there.
    std::string spell() const;

private:
    void play(size_t part, int64_t untilTick, bool isPaused);
    CameraEars makeEars();
    void hear(const std::string &line);
    void hearPart(const std::string &line);
    void hearTold(const std::string &rest);
    void goOn(int64_t endTick);
    std::string take(const std::string &line);
    std::string beginAnew(const std::string &words);
    std::string cycle(const std::string &words);
    std::string orderCamera(const std::string &line);
    void branch(int64_t tick);
    std::string rewind(const std::string &text);
    std::string choose(const std::string &words, std::vector<NamedText> &chosen) const;
    int64_t offsetOf(size_t part) const;

    Hub &hub;
    std::string program;
    std::vector<std::string> pictures;
    std::function<void(const Bytes &)> toController;
    /// Outlives the studio: what a camera still says then finds it closed.
    struct Door {
        std::mutex mutex;
        bool isClosed = false;
    };
    std::shared_ptr<Door> door = std::make_shared<Door>();
    std::unique_ptr<CameraProcess> camera;
    InputCheck inputs;
    uint64_t generation = 0; ///< Of the camera: what an earlier one still says is not heard.
    Session session;
    size_t current = 0;
    int64_t lastMs = 0;
    std::string pace = "1";
    SessionPart left; ///< What the camera says when it is switched off.
    std::vector<NamedText> chosenNext;
};

} // namespace view
