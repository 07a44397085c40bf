#include "input_check.h"

#include <chrono>
#include <condition_variable>

namespace view {

static constexpr std::chrono::seconds kPatience{5};
static constexpr char kNoAnswer[] = "the camera can't be asked";

class InputCheck::Desk {
public:
    void hear(const std::string &line, bool isTheEnd) {
        const std::lock_guard<std::mutex> guard(mutex);
        answer = line;
        isAnswered = true;
        isOver = isOver || isTheEnd;
        news.notify_all();
    }

    std::string ask(CameraProcess &camera, const std::string &input) {
        std::unique_lock<std::mutex> lock(mutex);
        isAnswered = isOver;
        const bool isHeard =
            camera.order(input) && news.wait_for(lock, kPatience, [this] { return isAnswered; });
        return isHeard ? answer : kNoAnswer;
    }

private:
    std::mutex mutex;
    std::condition_variable news;
    std::string answer;
    bool isAnswered = false;
    bool isOver = false;
};

InputCheck::InputCheck(const std::string &cameraProgram)
    : desk(std::make_shared<Desk>()),
      checker(CameraProcess::start(
          {cameraProgram, "--check"},
          {[held = desk](const std::string &line) { held->hear(line, false); },
           [](const std::string &) {}, [held = desk] { held->hear(kNoAnswer, true); }})) {}

std::string InputCheck::ask(const std::string &input) {
    const std::lock_guard<std::mutex> turn(asking);
    return checker == nullptr ? kNoAnswer : desk->ask(*checker, input);
}

} // namespace view
