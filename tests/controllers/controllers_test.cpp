// Controllers on a real terminal line in front of the camera, which runs as fast as ten real ones;
// and on a line that the library reads and writes itself, without a lens.
#include "scenario/scenario.h"

#include "autofocus_control.h"
#include "devices/lens.h"
#include "devices/serial_port.h"

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

using namespace scenario;

namespace {

/// A controller in a process of its own, which waits to be told its port.
class Controller {
public:
    explicit Controller(const char *manner) {
        if (pipe(ports_) != 0 || pipe(ends_) != 0)
            abort();
        process_ = fork();
        if (process_ == 0)
            runWhenTold(manner);
        close(ends_[1]);
        fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    }

    void begin(const std::string &portName) const {
        const std::string line = portName + '\0';
        EXPECT_EQ(write(ports_[1], line.data(), line.size()), static_cast<ssize_t>(line.size()));
    }

    /// Its end of the pipe is closed with it.
    bool hasEnded() const {
        char byte;
        return read(ends_[0], &byte, 1) == 0;
    }

    int status() const {
        int status = -1;
        waitpid(process_, &status, 0);
        return status;
    }

private:
    [[noreturn]] void runWhenTold(const char *manner) const {
        char portName[64] = {};
        if (read(ports_[0], portName, sizeof portName - 1) > 0)
            execl(CONTROLLER_PROGRAM, CONTROLLER_PROGRAM, manner, portName, nullptr);
        _exit(3);
    }

    int ports_[2];
    int ends_[2];
    pid_t process_;
};

bool hasPtys() {
    return access("/dev/pts/ptmx", F_OK) == 0;
}

} // namespace

// ---- In front of the whole camera

static void playOnCamera(const char *manner, const std::function<void()> &judge) {
    if (!hasPtys())
        GTEST_SKIP() << "no terminal lines here";
    vcam::CameraOptions options;
    options.pace = 10;
    const Controller controller(manner);
    run(options, [&] {
        AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, 2);
        startAndSettle();
        controller.begin(vcam::ptyName());
        waitUntil([&] { return controller.hasEnded(); }, 600, "the controller has ended");
        waitSettled(60);
        judge();
        expectSound();
    });
    EXPECT_EQ(controller.status(), 0);
}

TEST(Controllers, strict_one_gets_each_answer_in_its_time) {
    playOnCamera("strict", [] {});
}

TEST(Controllers, careless_one_is_obeyed_to_its_last_frame) {
    playOnCamera("careless", [] {
        unsigned short zoom = 0;
        lensGetZMapPosition(&zoom);
        EXPECT_GT(zoom, 0x3000) << "it said tele, and nothing after";
    });
}

TEST(Controllers, noisy_one_is_answered_at_once_or_when_it_asks_again) {
    playOnCamera("noisy", [] {
        unsigned short zoom = 0;
        lensGetZMapPosition(&zoom);
        EXPECT_GE(zoom, 0x1000);
    });
}
