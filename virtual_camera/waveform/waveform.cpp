// Events are drawn at their instants, with one exception: SPI frames take no virtual time, and a
// dozen of them at one instant could not be seen. They are drawn as long as they last on the wire,
// one after the other, the last one ending at their instant; so they stand before the VD pulse that
// latches them.
#include "waveform/waveform.h"

#include "waveform/motor_track.h"
#include "waveform/trace_line.h"
#include "waveform/vcd_file.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace vcam {

static constexpr int64_t kFrameUs = 24; // 24 bits at 1 MHz
static constexpr int64_t kFrameGapUs = 4;
/// As wide as can be seen; the next one is 10 ms away at least.
static constexpr int64_t kPulseUs = 1000;
static constexpr double kUsPerUnit = 25000.0 / 28203;
static constexpr int kHexBase = 16;
static constexpr int kRegisterBits = 8;
static constexpr int kValueBits = 16;
static constexpr unsigned kAddressMask = 0x3F;

static constexpr int kZoomSensorPin = 3;
static constexpr int kFocusSensorPin = 4;
static constexpr int kVdPin = 46;

namespace {
class Drawing {
public:
    Drawing();
    void draw(const TraceLine &line);
    void finish(int64_t timeUs);
    bool write(const std::string &path) { return vcd.write(path); }

private:
    void drawSerial(const TraceLine &line);
    void drawPulse(const TraceLine &line);
    void drawRun(const TraceLine &line);
    void drawSensor(const TraceLine &line);
    void drawLens(const TraceLine &line);
    void drawFrames();
    MotorTrack &trackOf(const TraceLine &line) {
        return line.get("axis") == "zoom" ? zoomTrack : focusTrack;
    }

    VcdFile vcd;
    VcdFile::Signal toCamera = vcd.addText("serial", "to_camera");
    VcdFile::Signal fromCamera = vcd.addText("serial", "from_camera");
    VcdFile::Signal spiFrame = vcd.addBit("spi", "frame");
    VcdFile::Signal spiRegister = vcd.addBus("spi", "register", kRegisterBits);
    VcdFile::Signal spiValue = vcd.addBus("spi", "value", kValueBits);
    VcdFile::Signal vdPulse = vcd.addBit("gpio", "vd");
    VcdFile::Signal vdPeriod = vcd.addNumber("gpio", "vd_period_us");
    VcdFile::Signal zoomSensor = vcd.addBit("gpio", "zoom_interrupter");
    VcdFile::Signal focusSensor = vcd.addBit("gpio", "focus_interrupter");
    VcdFile::Signal reset = vcd.addBit("chip", "reset_n");
    VcdFile::Signal zoomSteps = vcd.addNumber("chip", "zoom_steps");
    VcdFile::Signal focusSteps = vcd.addNumber("chip", "focus_steps");
    VcdFile::Signal zoomPosition = vcd.addNumber("lens", "zoom");
    VcdFile::Signal focusPosition = vcd.addNumber("lens", "focus");
    VcdFile::Signal frameNumber = vcd.addNumber("isp", "frame_number");
    VcdFile::Signal focusValue = vcd.addNumber("isp", "focus_value");
    VcdFile::Signal console = vcd.addText("library", "console");

    MotorTrack zoomTrack{vcd, zoomPosition};
    MotorTrack focusTrack{vcd, focusPosition};
    std::vector<uint32_t> frames; // of one instant: register and value
    int64_t framesUs = 0;
    int64_t wireFreeUs = 0;
};
} // namespace

// What is known before the first event. The photo-interrupters are not: nobody has read them.
Drawing::Drawing() {
    for (const VcdFile::Signal bits : {spiFrame, vdPulse, reset})
        vcd.changeBits(bits, 0, 0);
    for (const VcdFile::Signal number : {vdPeriod, zoomSteps, focusSteps, frameNumber, focusValue})
        vcd.changeNumber(number, 0, 0);
    for (const VcdFile::Signal text : {toCamera, fromCamera})
        vcd.changeText(text, 0, "");
}

void Drawing::drawFrames() {
    const auto count = static_cast<int64_t>(frames.size());
    int64_t atUs = std::max(framesUs - count * kFrameUs, wireFreeUs);
    for (const uint32_t frame : frames) {
        vcd.changeBits(spiFrame, atUs, 1);
        vcd.changeBits(spiRegister, atUs, frame >> kValueBits);
        vcd.changeBits(spiValue, atUs, frame & 0xFFFF);
        vcd.changeBits(spiFrame, atUs + kFrameUs - kFrameGapUs, 0);
        atUs += kFrameUs;
    }
    wireFreeUs = atUs;
    frames.clear();
}

/// Register and value; sent in wire order: address, low byte, high byte.
static uint32_t decodeFrame(const TraceLine &line) {
    const auto sent = static_cast<uint32_t>(strtoul(line.get("sent").c_str(), nullptr, kHexBase));
    const uint32_t address = sent >> 16 & kAddressMask;
    return address << kValueBits | (sent & 0xFF) << 8 | (sent >> 8 & 0xFF);
}

void Drawing::drawSerial(const TraceLine &line) {
    if (line.event == "receive")
        vcd.changeText(toCamera, line.timeUs, line.get("bytes"));
    if (line.event == "write")
        vcd.changeText(fromCamera, line.timeUs, line.get("bytes"));
}

// A pulse latches both channels: what still ran ends, and what runs now is told by the events that
// follow.
void Drawing::drawPulse(const TraceLine &line) {
    if (line.getNumber("pin") != kVdPin)
        return;
    vcd.changeBits(vdPulse, line.timeUs, 1);
    vcd.changeBits(vdPulse, line.timeUs + kPulseUs, 0);
    vcd.changeNumber(vdPeriod, line.timeUs, static_cast<double>(line.getNumber("period_us")));
    vcd.changeNumber(zoomSteps, line.timeUs, 0);
    vcd.changeNumber(focusSteps, line.timeUs, 0);
    zoomTrack.stop(line.timeUs);
    focusTrack.stop(line.timeUs);
}

void Drawing::drawRun(const TraceLine &line) {
    const bool isZoom = line.get("channel") == "AB";
    const int64_t steps = line.getNumber("steps");
    const double stepUs = static_cast<double>(line.getNumber("units")) * kUsPerUnit;
    vcd.changeNumber(isZoom ? zoomSteps : focusSteps, line.timeUs, static_cast<double>(steps));
    (isZoom ? zoomTrack : focusTrack).run(line.timeUs, steps, stepUs);
}

/// The level that the library has read last.
void Drawing::drawSensor(const TraceLine &line) {
    const int64_t pin = line.getNumber("pin");
    const bool isOn = line.getNumber("level") != 0;
    if (pin == kZoomSensorPin)
        vcd.changeBits(zoomSensor, line.timeUs, isOn ? 1 : 0);
    if (pin == kFocusSensorPin)
        vcd.changeBits(focusSensor, line.timeUs, isOn ? 1 : 0);
}

void Drawing::drawLens(const TraceLine &line) {
    if (line.event == "start" || line.event == "place")
        trackOf(line).place(line.timeUs, line.getNumber("position"));
    if (line.event == "lost") {
        trackOf(line).stop(line.timeUs);
        trackOf(line).takeBack(line.timeUs, line.getNumber("steps"));
    }
}

void Drawing::draw(const TraceLine &line) {
    if (line.timeUs != framesUs)
        drawFrames();
    framesUs = line.timeUs;
    if (line.is("spi", "frame"))
        frames.push_back(decodeFrame(line));
    if (line.device == "serial")
        drawSerial(line);
    if (line.is("gpio", "vd"))
        drawPulse(line);
    if (line.is("gpio", "read"))
        drawSensor(line);
    if (line.is("chip", "run"))
        drawRun(line);
    if (line.is("chip", "reset")) {
        vcd.changeBits(reset, line.timeUs, line.getNumber("level") != 0 ? 1 : 0);
        zoomTrack.stop(line.timeUs);
        focusTrack.stop(line.timeUs);
    }
    if (line.device == "lens")
        drawLens(line);
    if (line.is("isp", "frame")) {
        vcd.changeNumber(frameNumber, line.timeUs, static_cast<double>(line.getNumber("number")));
        vcd.changeNumber(focusValue, line.timeUs, static_cast<double>(line.getNumber("value")));
    }
    if (line.is("console", "line"))
        vcd.changeText(console, line.timeUs, line.get("text"));
}

void Drawing::finish(int64_t timeUs) {
    drawFrames();
    zoomTrack.stop(timeUs);
    focusTrack.stop(timeUs);
}

bool writeWaveform(const std::string &traceFile, const std::string &vcdFile, std::string &error) {
    std::ifstream trace(traceFile);
    Drawing drawing;
    TraceLine line;
    int64_t endUs = 0;
    int number = 0;
    for (std::string text; error.empty() && std::getline(trace, text);) {
        ++number;
        if (parseTraceLine(text, line)) {
            drawing.draw(line);
            endUs = line.timeUs;
        } else if (!trace.eof()) { // a process that was killed leaves a part of a line
            error = traceFile + ": line " + std::to_string(number) + " is not one of a trace";
        }
    }
    drawing.finish(endUs);
    if (!error.empty())
        return false;
    if (!trace.eof())
        error = traceFile + ": can't be read";
    else if (!drawing.write(vcdFile))
        error = vcdFile + ": can't be written";
    return error.empty();
}

} // namespace vcam
