#include "terminal_line.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace view {

static constexpr size_t kChunk = 64;

static int master = -1;

/// Raw, or the line would echo the camera's own bytes back to it.
static bool makeRaw(int descriptor) {
    struct termios settings = {};
    if (tcgetattr(descriptor, &settings) != 0)
        return false;
    cfmakeraw(&settings);
    return tcsetattr(descriptor, TCSANOW, &settings) == 0;
}

static void listen(const std::function<void(const Bytes &)> &take) {
    struct pollfd line = {master, POLLIN, 0};
    while (poll(&line, 1, -1) >= 0 || errno == EINTR) {
        uint8_t bytes[kChunk];
        const ssize_t count = read(master, bytes, sizeof bytes);
        if (count > 0)
            take(Bytes(bytes, bytes + count));
    }
}

std::string openTerminalLine(std::function<void(const Bytes &)> take) {
    master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    char name[64];
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0 ||
        ptsname_r(master, name, sizeof name) != 0)
        return "";
    // Kept open: without any opener the master would report a hang-up all the time.
    const int slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slave < 0 || !makeRaw(slave))
        return "";
    std::thread(listen, std::move(take)).detach();
    return name;
}

/// Nobody may read the other end: what does not fit is lost, as on a line.
void writeTerminalLine(const Bytes &bytes) {
    if (master >= 0 && write(master, bytes.data(), bytes.size()) < 0)
        return;
}

} // namespace view
