// A camera process and the ends that are ours: orders to it, lines and pictures from it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace view {

/// What comes from a camera, on threads of its own; none after it was ended.
struct CameraEars {
    std::function<void(const std::string &line)> line;
    std::function<void(std::string jpeg)> picture;
    std::function<void()> end; ///< It has ended by itself.
};

class CameraProcess {
public:
    /// Start the program with these words; null when that fails.
    static std::unique_ptr<CameraProcess> start(const std::vector<std::string> &words,
                                                CameraEars ears);
    ~CameraProcess();
    CameraProcess(const CameraProcess &) = delete;
    CameraProcess &operator=(const CameraProcess &) = delete;

    /// Never waits: a thread of its own hands the orders over. @return false when the camera is so
    /// far behind with them that it gets no more.
    bool order(const std::string &line);

    /// No more orders: it ends by itself, with its files whole. Its exit status; -1: it was killed.
    int finish();

private:
    struct Outbox;
    CameraProcess() = default;
    pid_t process = -1;
    std::shared_ptr<Outbox> outbox;
};

} // namespace view
