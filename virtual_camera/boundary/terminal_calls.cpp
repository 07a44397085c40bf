// What a host does to set its serial port up. The settings are kept and given back; nothing on the
// simulated line depends on them.
#include "boundary/placeholders.h"
#include "clock/next_call.h"
#include "clock/thread_table.h"

#include <cerrno>
#include <termios.h>
#include <unistd.h>

namespace vcam {

static NextCall<int(int, struct termios *)> nextTcgetattr{"tcgetattr"};
static NextCall<int(int, int, const struct termios *)> nextTcsetattr{"tcsetattr"};
static NextCall<int(int, int)> nextTcflush{"tcflush"};
static NextCall<int(int)> nextTcdrain{"tcdrain"};
static NextCall<int(int)> nextIsatty{"isatty"};

static struct termios settings;

static bool isSerialPort(int descriptor) {
    return isRegisteredThread() && findDevice(descriptor) == Device::Serial;
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int tcgetattr(int descriptor, struct termios *result) __THROW {
    if (!vcam::isSerialPort(descriptor))
        return vcam::nextTcgetattr(descriptor, result);
    *result = vcam::settings;
    return 0;
}

int tcsetattr(int descriptor, int when, const struct termios *wanted) __THROW {
    if (!vcam::isSerialPort(descriptor))
        return vcam::nextTcsetattr(descriptor, when, wanted);
    vcam::settings = *wanted;
    return 0;
}

int tcflush(int descriptor, int queue) __THROW {
    return vcam::isSerialPort(descriptor) ? 0 : vcam::nextTcflush(descriptor, queue);
}

int tcdrain(int descriptor) {
    return vcam::isSerialPort(descriptor) ? 0 : vcam::nextTcdrain(descriptor);
}

int isatty(int descriptor) __THROW {
    return vcam::isSerialPort(descriptor) ? 1 : vcam::nextIsatty(descriptor);
}
}
#pragma GCC visibility pop
