#include "sony/replies/port.h"

#include "sony/replies/frames.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

static const unsigned char kFromCamera1 = 0x90;
static const unsigned int kErrorHead = 0x60;

// What is written by address is kept off the stack, where each function would guard it.
static int port = -1;
static bool isCut = false; // the last message ends in its midst

// A terminal that waits for several bytes is not readable before they have come.
static void wakeAtFirstByte(int fd) {
    static struct termios settings;
    if (tcgetattr(fd, &settings) != 0 || settings.c_cc[VMIN] <= 1)
        return;
    settings.c_cc[VMIN] = 1;
    tcsetattr(fd, TCSANOW, &settings);
}

void openPort(int fd) {
    port = fd;
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    wakeAtFirstByte(fd);
}

// A message that was cut short is ended before the next one, which would be taken for its rest.
void sendBytes(const unsigned char *bytes, int count) {
    if (isCut && write(port, &kFrameEnd, 1) != 1)
        return;
    const ssize_t written = write(port, bytes, static_cast<size_t>(count));
    isCut = written > 0 && written < count;
}

void sendReply(unsigned int head, const unsigned char *payload, int count) {
    static unsigned char message[kLongestFrame] = {kFromCamera1};
    message[1] = static_cast<unsigned char>(head);
    for (int i = 0; i < count; ++i)
        message[2 + i] = payload[i];
    message[2 + count] = kFrameEnd;
    sendBytes(message, count + 3);
}

void sendError(int socket, unsigned char error) {
    sendReply(kErrorHead + static_cast<unsigned int>(socket), &error, 1);
}
