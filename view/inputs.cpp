#include "inputs.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <thread>
#include <vector>

#include "autofocus/lens_state.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "boundary/faults.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "isp/isp.h"
#include "option_table.h"
#include "platform/shared_word.h"
#include "session_log.h"

namespace view {

static constexpr size_t kMostBytes = 256;
static constexpr long kMostStepsLost = 2000;
static constexpr long kFarthestPlace = 30000;
static constexpr int kRunUp = 30; // steps with which a lens arrives where it is put
static constexpr int64_t kLongestStallUs = 3600000000;
static constexpr int kNight = 1; // of AF_Manager_Set_ICUTStatusLast_API
static constexpr int kDay = 2;

namespace {
struct Verb {
    const char *name;
    bool (*isGood)(const std::string &rest);
    void (*apply)(const std::string &rest, vcam::CameraOptions &options);
};
struct Fault {
    const char *name;
    void (*set)(bool isOn);
};
struct Order {
    const char *name;
    int most; ///< Of its number; 0: it takes none.
    int (*give)(int number);
};
} // namespace

// ---- Words

static std::string takeWord(std::string &rest) {
    const size_t end = rest.find(' ');
    std::string word = rest.substr(0, end);
    rest = end == std::string::npos ? "" : rest.substr(end + 1);
    return word;
}

static bool parseWithin(const std::string &text, long least, long most, long &number) {
    char *end = nullptr;
    number = strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && number >= least && number <= most;
}

// ---- Bytes on the serial line

static bool areBytes(const std::string &rest) {
    std::vector<uint8_t> bytes;
    return parseHex(rest, bytes) && bytes.size() <= kMostBytes;
}

static void sendBytes(const std::string &rest, vcam::CameraOptions &) {
    std::vector<uint8_t> bytes;
    parseHex(rest, bytes);
    vcam::controllerSends(bytes);
}

// ---- The world: every option that can change while the camera runs

static bool isChange(const std::string &rest) {
    std::string value = rest;
    const vcam::Option *option = vcam::findOption(takeWord(value));
    vcam::CameraOptions ignored;
    return option != nullptr && option->apply != nullptr &&
           vcam::takeOption(*option, value, ignored).empty();
}

/// A host has a light sensor, and tells the library, which keeps the caller for two seconds.
static void reportLight(bool isNight) {
    std::thread([isNight] { AF_Manager_Set_ICUTStatusLast_API(isNight ? kNight : kDay); }).detach();
}

static void change(const std::string &rest, vcam::CameraOptions &options) {
    std::string value = rest;
    const bool wasNight = options.night;
    vcam::changeOption(*vcam::findOption(takeWord(value)), value, options);
    if (options.night != wasNight)
        reportLight(options.night);
}

// ---- The library's settings

static bool isSetting(const std::string &rest) {
    std::string value = rest;
    long setting = 0;
    long number = 0;
    return parseWithin(takeWord(value), 0, AF_SETTING_TRACKING, setting) &&
           parseWithin(value, -1, 64, number);
}

static void makeSetting(const std::string &rest, vcam::CameraOptions &) {
    std::string value = rest;
    const int setting = atoi(takeWord(value).c_str());
    AF_Manager_Set_Setting_API(setting, atoi(value.c_str()));
}

// ---- Orders of the host

static constexpr Order kOrders[] = {
    {"autofocus", 0, [](int) { return AF_Manager_Autofocus_API(); }},
    {"cancel", 0, [](int) { return AF_Manager_Cancel_API(0); }},
    {"home", 0, [](int) { return AF_Manager_Home_API(); }},
    {"calibrate", 0, [](int) { return AF_Manager_Calibrate_API(); }},
    {"zoom-to", UINT16_MAX,
     [](int position) { return AF_Manager_Zoom_To_API(static_cast<unsigned short>(position)); }},
    {"focus-to", UINT16_MAX,
     [](int position) { return AF_Manager_Focus_To_API(static_cast<unsigned short>(position)); }},
    {"preset-set", 254, [](int preset) { return AF_Manager_Preset_Set_API(preset); }},
    {"preset-call", 254, [](int preset) { return AF_Manager_Preset_Call_API(preset); }},
    {"preset-clear", 254, [](int preset) { return AF_Manager_Preset_Clear_API(preset); }},
};

static const Order *findOrder(const std::string &name) {
    for (const Order &order : kOrders)
        if (name == order.name)
            return &order;
    return nullptr;
}

static bool isOrder(const std::string &rest) {
    std::string value = rest;
    const Order *order = findOrder(takeWord(value));
    long number = 0;
    return order != nullptr &&
           (order->most == 0 ? value.empty() : parseWithin(value, 0, order->most, number));
}

static void giveOrder(const std::string &rest, vcam::CameraOptions &) {
    std::string value = rest;
    const Order *order = findOrder(takeWord(value));
    const int ticket = order->give(atoi(value.c_str()));
    vcam::trace("host", "order", "name=%s ticket=%d", order->name, ticket);
}

// ---- Faults

/// The sensor gives for ever what it gives now.
static void stick(vcam::Axis axis, bool isOn) {
    vcam::stickPhotoInterrupter(axis, isOn ? vcam::readPhotoInterrupter(axis) : -1);
}

static constexpr Fault kFaults[] = {
    {"zoom-sensor", [](bool isOn) { stick(vcam::Axis::Zoom, isOn); }},
    {"focus-sensor", [](bool isOn) { stick(vcam::Axis::Focus, isOn); }},
    {"driver-bus",
     [](bool isOn) {
         vcam::clearFaults();
         if (isOn)
             vcam::failCalls("ioctl", "/dev/spidev1.0", vcam::kAlways, EIO);
     }},
    {"isp-stall",
     [](bool isOn) { vcam::stallFramesUntilUs(vcam::nowUs() + (isOn ? kLongestStallUs : 0)); }},
};

static const Fault *findFault(const std::string &name) {
    for (const Fault &fault : kFaults)
        if (name == fault.name)
            return &fault;
    return nullptr;
}

static bool isFault(const std::string &rest) {
    std::string value = rest;
    return findFault(takeWord(value)) != nullptr && (value == "on" || value == "off");
}

static void setFault(const std::string &rest, vcam::CameraOptions &) {
    std::string value = rest;
    const Fault *fault = findFault(takeWord(value));
    vcam::trace("host", "fault", "name=%s on=%d", fault->name, value == "on" ? 1 : 0);
    fault->set(value == "on");
}

/// The lens falls back by so many steps that the library has counted.
static bool isLoss(const std::string &rest) {
    std::string value = rest;
    const std::string axis = takeWord(value);
    long steps = 0;
    return (axis == "zoom" || axis == "focus") &&
           parseWithin(value, -kMostStepsLost, kMostStepsLost, steps);
}

static void loseSteps(const std::string &rest, vcam::CameraOptions &) {
    std::string value = rest;
    const vcam::Axis axis = takeWord(value) == "zoom" ? vcam::Axis::Zoom : vcam::Axis::Focus;
    vcam::placeAt(axis, vcam::truePosition(axis) - atoi(value.c_str()));
}

// ---- A lens that stands elsewhere, and the library knows

namespace {
struct Place {
    long zoom = 0;
    long focus = 0;
    std::string from;   ///< The side from which the focus comes, "near" or "far".
    std::string toward; ///< The last direction of the zoom, "wide" or "tele".
};
} // namespace

static bool parsePlace(const std::string &text, Place &place) {
    std::string rest = text;
    const bool isNumber = parseWithin(takeWord(rest), 0, kFarthestPlace, place.zoom) &&
                          parseWithin(takeWord(rest), 0, kFarthestPlace, place.focus);
    place.from = takeWord(rest);
    place.toward = rest;
    return isNumber && (place.from == "near" || place.from == "far") &&
           (place.toward == "wide" || place.toward == "tele");
}

static bool isPlace(const std::string &rest) {
    Place ignored;
    return parsePlace(rest, ignored);
}

static bool isAtRest() {
    AF_Status_ST status = {};
    status.size = sizeof status;
    AF_Manager_Get_Status_API(&status);
    return status.activity == AF_ACTIVITY_IDLE;
}

/// It arrives with a run-up, which takes up what play there is. A lens that moves is left alone.
static void takePlace(const std::string &rest, vcam::CameraOptions &) {
    Place place;
    parsePlace(rest, place);
    if (!isAtRest())
        return;
    const auto keep = [](long value, unsigned low, unsigned high) {
        return static_cast<int>(std::clamp<long>(value, low, high));
    };
    const bool isFromNear = place.from == "near";
    const int zoom = keep(place.zoom, ZM_Wide_Limit, ZM_Tele_Limit);
    const int focus = keep(place.focus, FM_Near_Limit + kRunUp, FM_Far_Limit - kRunUp);
    const int start = isFromNear ? focus - kRunUp : focus + kRunUp;
    vcam::placeAt(vcam::Axis::Zoom, zoom);
    vcam::placeAt(vcam::Axis::Focus, start);
    storeWord(&ZM_Step_Local, static_cast<unsigned>(zoom));
    storeWord(&FM_Step_Local, static_cast<unsigned>(start));
    storeWord(&g_ZoomDir, place.toward == "tele" ? MS_Z_TELE : MS_Z_WIDE);
    lensMotorFocusRunSteps(isFromNear ? MS_F_FAR : MS_F_NEAR, kRunUp);
}

// ---- The table

/// Whoever runs the camera ends the part; nothing comes to the camera itself.
static bool isNothing(const std::string &rest) {
    return rest.empty();
}

static constexpr Verb kVerbs[] = {
    {"send", areBytes, sendBytes},
    {"set", isChange, change},
    {"setting", isSetting, makeSetting},
    {"order", isOrder, giveOrder},
    {"fault", isFault, setFault},
    {"lose", isLoss, loseSteps},
    {"place", isPlace, takePlace},
    {"power-cycle", isNothing, [](const std::string &, vcam::CameraOptions &) {}},
};

static const Verb *findVerb(const std::string &name) {
    for (const Verb &verb : kVerbs)
        if (name == verb.name)
            return &verb;
    return nullptr;
}

std::string checkInput(const std::string &text) {
    std::string rest = text;
    const Verb *verb = findVerb(takeWord(rest));
    if (!isPlainText(text) || verb == nullptr)
        return "there is no such input";
    return verb->isGood(rest) ? "" : "'" + rest + "' is nothing for '" + verb->name + "'";
}

void applyInput(const std::string &text, vcam::CameraOptions &options) {
    std::string rest = text;
    findVerb(takeWord(rest))->apply(rest, options);
}

} // namespace view
