// Three controllers as they are met, on a real serial port:
//
//     controller strict PORT      one command at a time; waits for what is its due, no longer
//     controller careless PORT    a byte at a time, as fast as it can, and never reads an answer
//     controller noisy PORT       disturbances before every frame; sends again what was not
//     answered
//
// Exit 0: all went as this controller expects; else the reason is on standard error.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <vector>

using Bytes = std::vector<uint8_t>;

static const int kAnswerMs = 1000; // generous: machines that test are busy
static const int kMoveMs = 15000;

static int port = -1;

// ---- The port

[[noreturn]] static void give(const std::string &reason) {
    fprintf(stderr, "controller: %s\n", reason.c_str());
    exit(1);
}

static void openPort(const char *path) {
    port = open(path, O_RDWR | O_NOCTTY);
    struct termios settings = {};
    if (port < 0 || tcgetattr(port, &settings) != 0)
        give(std::string(path) + ": no serial port");
    cfmakeraw(&settings);
    tcsetattr(port, TCSANOW, &settings);
}

static void send(const Bytes &bytes) {
    if (write(port, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        give("can't write");
}

static std::string spell(const Bytes &bytes) {
    std::string text;
    char digits[4];
    for (const uint8_t byte : bytes) {
        snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

/// The next message, "9041ff"; "" when none has come in time.
static std::string hear(int timeoutMs) {
    static Bytes message;
    struct pollfd entry = {port, POLLIN, 0};
    while (poll(&entry, 1, timeoutMs) == 1) {
        uint8_t byte;
        if (read(port, &byte, 1) != 1)
            give("the line is dead");
        message.push_back(byte);
        if (byte != 0xFF)
            continue;
        const std::string text = spell(message);
        message.clear();
        return text;
    }
    return "";
}

static void expect(const std::string &expected, int timeoutMs, const Bytes &sent) {
    const std::string heard = hear(timeoutMs);
    if (heard != expected)
        give(spell(sent) + " was answered \"" + heard + "\", not \"" + expected + "\"");
}

// ---- Frames

static Bytes withPosition(Bytes frame, unsigned position) {
    for (int shift = 12; shift >= 0; shift -= 4)
        frame.push_back(position >> shift & 0xF);
    frame.push_back(0xFF);
    return frame;
}

static Bytes memory(uint8_t what, uint8_t number) {
    return {0x81, 0x01, 0x04, 0x3F, what, number, 0xFF};
}

static Bytes zoomTo(unsigned position) {
    return withPosition({0x81, 0x01, 0x04, 0x47}, position);
}

static const Bytes kTele = {0x81, 0x01, 0x04, 0x07, 0x02, 0xFF};
static const Bytes kZoomStop = {0x81, 0x01, 0x04, 0x07, 0x00, 0xFF};
static const Bytes kAskZoom = {0x81, 0x09, 0x04, 0x47, 0xFF};
static const Bytes kAskFocus = {0x81, 0x09, 0x04, 0x48, 0xFF};

// ---- The strict one

static void obtain(const Bytes &frame, const std::string &answer) {
    send(frame);
    expect(answer, kAnswerMs, frame);
}

static void haveDone(const Bytes &frame) {
    obtain(frame, "9041ff");
    expect("9051ff", kMoveMs, frame);
}

static unsigned ask(const Bytes &frame) {
    send(frame);
    const std::string answer = hear(kAnswerMs);
    if (answer.size() != 14 || answer.compare(0, 4, "9050") != 0)
        give(spell(frame) + " was answered \"" + answer + "\"");
    unsigned position = 0;
    for (size_t at = 5; at < 12; at += 2)
        position = position << 4 | static_cast<unsigned>(stoi(answer.substr(at, 1), nullptr, 16));
    return position;
}

static void expectAt(const Bytes &inquiry, unsigned low, unsigned high) {
    const unsigned position = ask(inquiry);
    if (position < low || position > high)
        give(spell(inquiry) + " says " + std::to_string(position));
}

static void beStrict() {
    obtain({0x88, 0x30, 0x01, 0xFF}, "883002ff");
    obtain({0x88, 0x01, 0x00, 0x01, 0xFF}, "88010001ff");
    obtain({0x81, 0x09, 0x04, 0x00, 0xFF}, "905002ff");
    haveDone({0x81, 0x01, 0x04, 0x00, 0x02, 0xFF}); // power on
    haveDone(zoomTo(0x2000));
    expectAt(kAskZoom, 0x2000, 0x2400);
    haveDone(withPosition({0x81, 0x01, 0x04, 0x48}, 0x9000));
    expectAt(kAskFocus, 0x8FF0, 0x9010);
    haveDone(memory(1, 5));
    haveDone(zoomTo(0));
    expectAt(kAskZoom, 0, 0);
    haveDone({0x81, 0x01, 0x04, 0x18, 0x01, 0xFF}); // one push
    haveDone(memory(2, 5));
    expectAt(kAskZoom, 0x2000, 0x2400);
    expectAt(kAskFocus, 0x8FF0, 0x9010);
    obtain({0x81, 0x01, 0x06, 0x01, 5, 5, 1, 3, 0xFF}, "906002ff"); // it has no pan
    obtain(zoomTo(0x3F00), "9041ff");
    obtain(zoomTo(0x1000), "9042ff");
    obtain(zoomTo(0x0800), "906003ff");
    obtain({0x81, 0x22, 0xFF}, "906204ff");
    obtain({0x81, 0x21, 0xFF}, "906104ff");
    haveDone(kTele);
    haveDone(kZoomStop);
    obtain(memory(2, 9), "9041ff"); // empty
    expect("906141ff", kMoveMs, memory(2, 9));
    if (!hear(300).empty())
        give("something comes that nobody has asked for");
}

// ---- The careless one: its answers fill whatever holds them

static void beCareless() {
    for (int i = 0; i < 30000; ++i)
        for (const uint8_t byte : kAskZoom)
            send({byte});
    for (int i = 0; i < 30; ++i) {
        for (const uint8_t byte : i % 2 == 0 ? kZoomStop : kTele)
            send({byte});
        usleep(5000);
    }
    usleep(500000); // the camera may have it all to read yet
}

// ---- The noisy one

static uint32_t draw() {
    static uint32_t state = 1;
    state = state * 1664525 + 1013904223;
    return state >> 16;
}

static Bytes makeNoise() {
    Bytes noise(draw() % 12);
    for (uint8_t &byte : noise) {
        const uint8_t kLikely[] = {0xFF, 0x81, 0x01, static_cast<uint8_t>(draw())};
        byte = kLikely[draw() % 4];
    }
    return noise;
}

/// Messages that noise may cause are passed over.
static bool isAnswered(const Bytes &frame) {
    send(makeNoise());
    send(frame);
    for (;;) {
        const std::string heard = hear(kAnswerMs / 4);
        if (heard.empty())
            return false;
        if (heard.size() == 14 && heard.compare(0, 4, "9050") == 0)
            return true;
    }
}

static void beNoisy() {
    for (int i = 0; i < 200; ++i)
        if (!isAnswered(kAskZoom) && !isAnswered(kAskZoom))
            give("not answered twice, at frame " + std::to_string(i));
    usleep(1500000); // what noise has begun is forgotten
    while (!hear(10).empty()) {
    }
    haveDone(zoomTo(0x1000));
}

int main(int argc, char **argv) {
    const std::string manner = argc == 3 ? argv[1] : "";
    const bool isKnown = manner == "strict" || manner == "careless" || manner == "noisy";
    if (!isKnown) {
        fprintf(stderr, "usage: controller strict|careless|noisy PORT\n");
        return 2;
    }
    openPort(argv[2]);
    if (manner == "strict")
        beStrict();
    else if (manner == "careless")
        beCareless();
    else
        beNoisy();
    return 0;
}
