#include "option_table.h"

#include "autofocus_control.h"
#include "flaws/flaws.h"
#include "lens_models/lens_model.h"
#include "optics/scene.h"
#include "optics/zone_values.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <type_traits>

namespace vcam {

static constexpr int kDecimal = 10;
/// At a slower pace than the slowest a picture would take minutes; no machine keeps the fastest.
static constexpr double kSlowestPace = 0.001;
static constexpr double kFastestPace = 1e6;
/// At tele the library does not search where a nearer object is in focus.
static constexpr double kNearestM = 1;
static constexpr Range kNoiseRange = {0, 100, 0.1, 1};
static constexpr double kLowestFrameRate = 5;
static constexpr double kHighestFrameRate = 120;
static constexpr uint64_t kMostReplies = 2;
static constexpr uint64_t kMostBacklash = 64;
static constexpr uint64_t kMostDelay = 4;
static constexpr uint64_t kLastPosition = 30000; // beyond every lens's stop

// ---- What a text says; false when it is none of that

bool parseWhole(const std::string &text, uint64_t &number) {
    errno = 0;
    number = strtoull(text.c_str(), nullptr, kDecimal);
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos && errno == 0;
}

static bool parseWithin(const std::string &text, double least, double most, double &number) {
    char *end = nullptr;
    number = strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && number >= least && number <= most;
}

static bool parsePace(const std::string &text, double &pace) {
    return parseWithin(text, 0, 0, pace) || parseWithin(text, kSlowestPace, kFastestPace, pace);
}

static bool parseDistance(const std::string &text, double &metres) {
    return parseWithin(text, kNearestM, HUGE_VAL, metres);
}

static bool parseNoise(const std::string &text, double &factor) {
    return parseWithin(text, kNoiseRange.least, kNoiseRange.most, factor);
}

static bool parseFrameRate(const std::string &text, double &hertz) {
    return parseWithin(text, kLowestFrameRate, kHighestFrameRate, hertz);
}

static bool parsePosition(const std::string &text, int &position) {
    uint64_t number = 0;
    const bool isGood = parseWhole(text, number) && number >= kTravelStart;
    position = static_cast<int>(number);
    return isGood && number <= kLastPosition;
}

static bool parseSwitch(const std::string &text, bool &isOn) {
    isOn = text == "on";
    return isOn || text == "off";
}

static bool parseReplies(const std::string &text, int &replies) {
    uint64_t number = 0;
    const bool isGood = parseWhole(text, number) && number <= kMostReplies;
    replies = static_cast<int>(number);
    return isGood;
}

static bool parseToldBacklash(const std::string &text, int &steps) {
    uint64_t number = 0;
    const bool isGood = parseWhole(text, number) && number <= kMostBacklash;
    steps = static_cast<int>(number);
    return isGood;
}

static bool parseToldDelay(const std::string &text, int &frames) {
    uint64_t number = 0;
    const bool isGood = text == "-1" || (parseWhole(text, number) && number <= kMostDelay);
    frames = text == "-1" ? -1 : static_cast<int>(number);
    return isGood;
}

static bool parseText(const std::string &text, std::string &value) {
    value = text;
    return true;
}

static bool parseReadable(const std::string &text, std::string &path) {
    path = text;
    return std::ifstream(path).is_open();
}

// ---- The table

template <auto Member, auto Parse>
static bool into(const std::string &text, CameraOptions &options) {
    auto value = options.*Member;
    const bool isGood = Parse(text, value);
    if (isGood)
        options.*Member = value;
    return isGood;
}

// ---- Flaws: numbers with a range, each of which can change while the camera runs

static std::string spellNumber(double number) {
    char text[32];
    snprintf(text, sizeof text, "%g", number);
    return text;
}

static void applyFlaws(const CameraOptions &options) {
    setFlaws(options.flaws);
}

template <class Number>
static Option makeFlaw(const char *name, const char *takes, const char *meaning,
                       Number Flaws::*member, Range range) {
    const bool isWhole = std::is_integral_v<Number>;
    const auto take = [=](const std::string &text, CameraOptions &options) {
        double number = 0;
        if (!parseWithin(text, range.least, range.most, number) ||
            (isWhole && number != std::floor(number)))
            return false;
        options.flaws.*member = static_cast<Number>(number);
        return true;
    };
    const std::string complaint = std::string("is no ") + (isWhole ? "whole " : "") +
                                  "number from " + spellNumber(range.least) + " to " +
                                  spellNumber(range.most);
    return {name, takes, meaning, complaint, take, applyFlaws, range};
}

/// A second object may be taken away again.
static bool parseSecond(const std::string &text, CameraOptions &options) {
    double &distanceM = options.flaws.secondDistanceM;
    if (text == "none")
        distanceM = 0;
    return text == "none" || parseDistance(text, distanceM);
}

static bool parseZones(const std::string &text, CameraOptions &options) {
    const bool isHex = !text.empty() && text.size() <= 16 &&
                       text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (isHex)
        options.flaws.secondZones = strtoull(text.c_str(), nullptr, 16);
    return isHex;
}

static std::vector<Option> makeFlaws() {
    return {
        makeFlaw("backlash-zoom", "STEPS",
                 "slack in the zoom's gear: the lens follows its motor only once it is taken up",
                 &Flaws::backlashZoom, {0, 64, 1, 0}),
        makeFlaw("backlash-focus", "STEPS", "the same in the focus's", &Flaws::backlashFocus,
                 {0, 64, 1, 0}),
        makeFlaw("delay", "FRAMES", "by which the focus statistics are late", &Flaws::delay,
                 {0, 4, 1, 0}),
        makeFlaw("exposure", "SHARE",
                 "of its period in which a frame sees the lens, instead of at its end",
                 &Flaws::exposure, {0, 1, 0.05, 0}),
        makeFlaw("slip", "SHARE", "of a motor's periods that lose one to four steps", &Flaws::slip,
                 {0, 1, 0.001, 0}),
        makeFlaw("flicker", "SHARE", "by which lamps make the light rise and fall", &Flaws::flicker,
                 {0, 0.5, 0.01, 0}),
        makeFlaw("flicker-rate", "HERTZ", "beat of the lamps with the frames", &Flaws::flickerHz,
                 {0.01, 20, 0.1, Flaws().flickerHz}),
        makeFlaw("brightness", "FACTOR", "on the light, which the exposure does not follow",
                 &Flaws::brightness, {0.1, 4, 0.1, 1}),
        makeFlaw("contrast", "FACTOR", "on the picture's contrast; 0 leaves nothing to see",
                 &Flaws::contrast, {0, 1, 0.01, 1}),
        {"second-distance", "METRES",
         "of a second object in a part of the picture; none, the default, is none",
         "is neither none, inf nor a distance from 1 m", parseSecond, applyFlaws},
        {"second-zones", "HEX",
         "where it is: 64 bits, row * 8 + column of the statistics' zones; the left half unless "
         "given",
         "is no hexadecimal number of 64 bits", parseZones, applyFlaws},
        makeFlaw("approach", "DIOPTRES",
                 "a second by which the object comes nearer, or goes away, from where it is put",
                 &Flaws::approach, {-1, 1, 0.01, 0}),
        makeFlaw("drift", "STEPS", "by which the curves have moved toward far in the warmth",
                 &Flaws::drift, {-200, 200, 1, 0}),
    };
}

static const char *const kNeither = "is neither on nor off";

static std::vector<Option> makeUnitAndScene() {
    using Camera = CameraOptions;
    const std::string seedRange = "is no whole number from 0 to 2^64 - 1";
    const std::string startRange = "is no position from 10000 to 30000";
    return {
        {"seed", "NUMBER",
         "where the lens stands at power-on, how this unit's curves differ from the built-in ones, "
         "the noise; 1 unless given",
         seedRange, into<&Camera::seed, parseWhole>},
        {"lens", nameLensModels(), "lens model; B unless given",
         "is no lens model: " + nameLensModels(), into<&Camera::lensType, findLensType>},
        {"pace", "NUMBER",
         "virtual seconds a real second; 1 is real time, with a pseudo-terminal for controller "
         "programs; 0, the default, is as fast as it goes",
         "is neither 0 nor a pace from 0.001 to 1000000", into<&Camera::pace, parsePace>},
        {"picture", "FILE", "PNG or JPEG to look at instead of the generated scene",
         "is no file that can be read", into<&Camera::picture, parseReadable>},
        {"distance", "METRES", "how far the object stands, from 1 m; inf, the default, is far away",
         "is neither inf nor a distance from 1 m", into<&Camera::objectDistanceM, parseDistance>,
         [](const Camera &camera) { setObjectDistanceM(camera.objectDistanceM); }},
        {"night", "", "the scene is dark, and the library is told so before it starts", kNeither,
         into<&Camera::night, parseSwitch>, [](const Camera &camera) { setNight(camera.night); }},
        {"noise", "FACTOR", "on the noise of the focus statistics; 0 is none, 1 the default",
         "is no factor from 0 to 100", into<&Camera::noise, parseNoise>,
         [](const Camera &camera) { setNoise(camera.noise); }, kNoiseRange},
        {"frame-rate", "HERTZ", "frames a second; 25 unless given",
         "is no frame rate from 5 to 120 Hz", into<&Camera::frameRateHz, parseFrameRate>},
        {"no-texture", "", "a picture without surface texture below its own pixels", kNeither,
         into<&Camera::plainPicture, parseSwitch>},
        {"gaussian", "", "blur without the disc's side lobes", kNeither,
         into<&Camera::gaussianBlur, parseSwitch>},
        {"built-in-curves", "", "a unit whose curves are exactly the library's built-in ones",
         kNeither, into<&Camera::builtInCurves, parseSwitch>},
        {"zoom-start", "POSITION", "true zoom position at power-on; from the seed unless given",
         startRange, into<&Camera::zoomStart, parsePosition>},
        {"focus-start", "POSITION", "true focus position at power-on; from the seed unless given",
         startRange, into<&Camera::focusStart, parsePosition>},
    };
}

static std::vector<Option> makeSettings() {
    using Camera = CameraOptions;
    return {
        {"replies", "0|1|2",
         "the library's serial replies: none but to inquiries, standard VISCA, Pelco-D too",
         "is none of 0, 1 and 2", into<&Camera::serialReplies, parseReplies>},
        {"recovery", "", "the library stops for faults of its links and finds home again", kNeither,
         into<&Camera::recovery, parseSwitch>},
        {"robust", "", "autofocus runs use the search that survives a real lens", kNeither,
         into<&Camera::robustSearch, parseSwitch>},
        {"told-backlash", "STEPS",
         "slack of the focus that the library reckons with; 0 unless given",
         "is no whole number from 0 to 64", into<&Camera::toldBacklash, parseToldBacklash>},
        {"told-delay", "FRAMES",
         "by which the library takes its statistics to be late; -1: it is to measure that",
         "is no whole number from -1 to 4", into<&Camera::toldDelay, parseToldDelay>},
        {"on-object", "", "zooming keeps the object sharp, once the unit is measured", kNeither,
         into<&Camera::onObject, parseSwitch>},
    };
}

static std::vector<Option> makeRun() {
    using Camera = CameraOptions;
    return {
        {"ties", "NUMBER",
         "seed of the lots that say who goes on first of threads due at one instant; 0, the "
         "default, is in order of their start",
         "is no whole number from 0 to 2^64 - 1", into<&Camera::tieSeed, parseWhole>},
        {"kernel-threads", "", "a kernel thread for each of the program's instead of a context",
         kNeither, into<&Camera::kernelThreads, parseSwitch>},
        {"vcd", "FILE", "draw the trace as a waveform (VCD) into this file", "",
         into<&Camera::vcdFile, parseText>},
        {"trace", "FILE", "where the trace goes", "", into<&Camera::traceFile, parseText>},
        {"console", "FILE", "where what is printed goes; - is standard output", "",
         into<&Camera::consoleFile, parseText>},
        {"serial", "PATH", "whose opening gives the serial port; /dev/virtual-serial unless given",
         "", into<&Camera::serialPath, parseText>},
        {"scratch", "FOLDER",
         "stands in for /tmp/af... and /mnt/flash/...; one that goes at the end unless given", "",
         into<&Camera::scratch, parseText>},
    };
}

static std::vector<Option> joinTables() {
    std::vector<Option> all;
    for (const auto &table : {makeUnitAndScene(), makeSettings(), makeFlaws(), makeRun()})
        all.insert(all.end(), table.begin(), table.end());
    return all;
}

const std::vector<Option> &allOptions() {
    static const std::vector<Option> table = joinTables();
    return table;
}

const Option *findOption(const std::string &name) {
    for (const Option &option : allOptions())
        if (option.name == name)
            return &option;
    return nullptr;
}

std::vector<LibrarySetting> librarySettings(const CameraOptions &options) {
    return {{"replies", AF_SETTING_SERIAL_REPLIES, options.serialReplies},
            {"recovery", AF_SETTING_RECOVERY, options.recovery ? 1 : 0},
            {"robust", AF_SETTING_FOCUS_SEARCH, options.robustSearch ? 1 : 0},
            {"told-backlash", AF_SETTING_FOCUS_BACKLASH, options.toldBacklash},
            {"told-delay", AF_SETTING_STATISTICS_DELAY, options.toldDelay},
            {"on-object", AF_SETTING_TRACKING, options.onObject ? 1 : 0}};
}

bool isSwitch(const Option &option) {
    return option.takes.empty();
}

std::string takeOption(const Option &option, const std::string &text, CameraOptions &options) {
    const std::string value = text.empty() ? "nothing" : text;
    return option.take(text, options) ? "" : value + " " + option.complaint;
}

std::string changeOption(const Option &option, const std::string &text, CameraOptions &options) {
    if (option.apply == nullptr)
        return option.name + " is chosen before the camera starts";
    std::string complaint = takeOption(option, text, options);
    if (complaint.empty())
        option.apply(options);
    return complaint;
}

} // namespace vcam
