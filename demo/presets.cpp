#include "presets.h"

#include <cstdio>
#include <cstdlib>

#include "autofocus.h"
#include "autofocus/mailbox.h"
#include "autofocus/types.h"
#include "devices/lens.h"
#include "file_store.h"
#include "host/controller_frames.h"
#include "isp/isp.h"
#include "power_cycle.h"
#include "stage.h"

namespace demo {

static constexpr unsigned char kGate = 5;
static constexpr unsigned char kYard = 7;
static constexpr unsigned kDirectTarget = 0x3000; // lies between two quarter points
static constexpr int64_t kTeleUs = 1500000;
static constexpr int64_t kWideUs = 800000;
static constexpr int64_t kShortWideUs = 400000;
static constexpr int64_t kLetStartUs = 100000;
static constexpr double kMoveLimitS = 60;

using vcam::Axis;

namespace {
struct Place {
    int zoom;
    int focus;
    unsigned zoom16;
};

/// What one power-on leaves to the next.
struct PowerOn {
    Place gate;
    Place yard;
    Place last;
};
} // namespace

static Place placeNow() {
    unsigned short zoom16 = 0;
    lensGetZMapPosition(&zoom16);
    return {vcam::truePosition(Axis::Zoom), vcam::truePosition(Axis::Focus), zoom16};
}

static bool standsAt(const Place &place) {
    return vcam::truePosition(Axis::Zoom) == place.zoom &&
           vcam::truePosition(Axis::Focus) == place.focus;
}

static Place setPreset(Stage &stage, unsigned char number, const char *name) {
    stage.check(AF_Mamager_SetPreset_API(number) == 0,
                std::string("the host sets preset ") + std::to_string(number) + ", the " + name);
    stage.report(std::string("preset set: the ") + name);
    return placeNow();
}

// A direct zoom to a preset's zoom position recalls the preset, focus included.
static void recall(Stage &stage, const Place &place, const char *name) {
    stage.send("controller: direct zoom (VISCA)", vcam::viscaDirectZoom(place.zoom16));
    stage.advanceUs(kLetStartUs);
    const int64_t frames = vcam::frameCount();
    if (stage.advanceUntilIdle("going there", kMoveLimitS))
        stage.report(std::string("the ") + name + " recalled, " +
                     std::to_string(vcam::frameCount() - frames) + " frames");
    stage.check(standsAt(place), std::string("zoom and focus stand exactly at the ") + name);
    stage.checkCountersTrue("recall");
}

static void zoomDirectly(Stage &stage) {
    stage.send("controller: direct zoom (VISCA)", vcam::viscaDirectZoom(kDirectTarget));
    stage.advanceUs(kLetStartUs);
    stage.awaitRun("direct zoom and autofocus");
    stage.check(placeNow().zoom16 >= kDirectTarget, "the request is rounded up to a quarter point");
}

// A host reaches the commands that have no controller through the exported record: argument first.
static void clearPreset(Stage &stage, unsigned char number) {
    __atomic_store_n(&g_ShaPosInfo->shValue, number, __ATOMIC_RELEASE);
    __atomic_store_n(&g_ShaPosInfo->shCommand, CMD_CLPST, __ATOMIC_RELEASE);
    stage.advanceUs(kLetStartUs);
    if (stage.advanceUntilIdle("clearing", kMoveLimitS))
        stage.report("preset " + std::to_string(number) + " cleared");
    PRESET_INF kept;
    const bool isKept = FileStore(stage.folder() + "/store").read("PresetInfo", &kept, sizeof kept);
    stage.check(isKept && kept.zoom[number] == 0 && kept.focus[number] == 0,
                "the host's file holds zeros for it");
}

static int playFirstPowerOn(const vcam::CameraOptions &options, const std::string &out,
                            PowerOn *left) {
    Stage stage(options, out, "_first");
    stage.boot();
    stage.hold("tele (Pelco-D)", vcam::kPelcoTele, kTeleUs, vcam::kPelcoStop);
    stage.awaitRun("autofocus at the gate");
    left->gate = setPreset(stage, kGate, "gate");
    stage.hold("wide (VISCA)", vcam::kViscaWide, kWideUs, vcam::kViscaZoomStop);
    stage.awaitRun("autofocus at the yard");
    left->yard = setPreset(stage, kYard, "yard");
    zoomDirectly(stage);
    recall(stage, left->gate, "gate");
    clearPreset(stage, kGate);
    stage.hold("wide (Pelco-D)", vcam::kPelcoWide, kShortWideUs, vcam::kPelcoStop);
    stage.awaitRun("autofocus after the zoom");
    left->last = placeNow();
    return stage.giveVerdict();
}

static int playSecondPowerOn(const vcam::CameraOptions &options, const std::string &out,
                             PowerOn *left) {
    Stage stage(options, out, "_second");
    stage.boot();
    recall(stage, left->last, "place before power-off");
    recall(stage, left->yard, "yard");
    return stage.giveVerdict();
}

int playPresets(const vcam::CameraOptions &options, const std::string &outFolder) {
    PowerOn left = {};
    const bool first = playInProcess<PowerOn>(
        &left, [&](PowerOn *result) { return playFirstPowerOn(options, outFolder, result); });
    fprintf(stdout, "\nThe camera is switched off and on again.\n\n");
    vcam::CameraOptions again = options;
    again.zoomStart = left.last.zoom;
    again.focusStart = left.last.focus;
    const bool second = playInProcess<PowerOn>(
        &left, [&](PowerOn *result) { return playSecondPowerOn(again, outFolder, result); });
    fprintf(stdout, "\nPRESETS: %s\n", first && second ? "good" : "BAD");
    return first && second ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace demo
