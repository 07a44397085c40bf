// Asks the camera program, in a process of its own, whether an input is one: it alone knows the
// options, orders and ranges, and while it plays it hears nobody.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "camera_process.h"

namespace view {

class InputCheck {
public:
    explicit InputCheck(const std::string &cameraProgram);

    /// Empty, or why @p input is none.
    std::string ask(const std::string &input);

private:
    class Desk;
    std::mutex asking;          ///< One question at a time.
    std::shared_ptr<Desk> desk; ///< Outlives this: the checker may still say something.
    std::unique_ptr<CameraProcess> checker;
};

} // namespace view
