// The demo's command line.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>

#include "calibrate.h"
#include "camera_options.h"
#include "first_light.h"
#include "lens_models/lens_model.h"
#include "live.h"
#include "option_table.h"
#include "presets.h"
#include "stage.h"

static std::string checkFolder(const std::string &text) {
    return text.empty() ? "a folder has a name" : "";
}

/// The story begins with a camera fresh from the box; nothing else in the folder is touched.
static bool prepare(const std::string &out) {
    std::error_code error;
    for (const char *leftover : {"/store", "/camera"}) {
        if (!error)
            std::filesystem::remove_all(out + leftover, error);
    }
    if (!error)
        std::filesystem::create_directories(out, error);
    if (error)
        fprintf(stderr, "demo: %s: can't be made ready: %s\n", out.c_str(),
                error.message().c_str());
    return !error;
}

static bool isOfStage(const vcam::Option &option) {
    const std::set<std::string> names = {"trace", "console", "serial", "scratch"};
    return names.count(option.name) > 0;
}

static void offer(CLI::App &app, const vcam::Option &option, vcam::CameraOptions &options) {
    const std::string name = "--" + option.name;
    const auto take = [&option, &options, name](const std::string &text) {
        const std::string complaint = vcam::takeOption(option, text, options);
        if (!complaint.empty())
            throw CLI::ValidationError(name, complaint);
    };
    if (vcam::isSwitch(option))
        app.add_flag_callback(
            name, [take] { take("on"); }, option.meaning);
    else
        app.add_option_function<std::string>(name, take, option.meaning)->type_name(option.takes);
}

static void greet(const vcam::CameraOptions &options) {
    fprintf(stdout, "seed %llu, lens %s", static_cast<unsigned long long>(options.seed),
            vcam::lensModelOf(options.lensType).name);
    if (!options.picture.empty())
        fprintf(stdout, ", picture %s", options.picture.c_str());
    if (std::isfinite(options.objectDistanceM))
        fprintf(stdout, ", object at %g m", options.objectDistanceM);
    fprintf(stdout, "%s\n\n", options.night ? ", night" : "");
}

int main(int argc, char **argv) {
    vcam::CameraOptions options;
    std::string out = "out";
    CLI::App app("The lens-control library on a virtual camera: from power-on to a sharp picture.",
                 "demo");
    for (const vcam::Option &option : vcam::allOptions()) {
        if (!isOfStage(option))
            offer(app, option, options);
    }
    options.serialReplies = 2;
    options.recovery = true;
    app.add_flag_callback(
        "--as-loaded",
        [&options] {
            const vcam::CameraOptions loaded;
            options.serialReplies = loaded.serialReplies;
            options.recovery = loaded.recovery;
            options.robustSearch = loaded.robustSearch;
            options.toldBacklash = loaded.toldBacklash;
            options.toldDelay = loaded.toldDelay;
            options.onObject = loaded.onObject;
        },
        "every setting of the library off, as it is at load: no replies, no recovery");
    app.add_option("--out", out, "folder for pictures, plots, trace and the host's files")
        ->check(CLI::Validator(checkFolder, "FOLDER", "out"));
    app.footer("A story with two power-ons draws two waveforms.");
    app.fallthrough();
    CLI::App *calibrate =
        app.add_subcommand("calibrate", "measure the unit's infinity curve, restart, compare the "
                                        "zoom tracking; by day, of a far object");
    CLI::App *presets = app.add_subcommand(
        "presets", "presets and direct zoom over the serial port, across a power cycle");
    CLI11_PARSE(app, argc, argv);

    if (!prepare(out))
        return EXIT_FAILURE;
    greet(options);
    int status = EXIT_SUCCESS;
    if (calibrate->parsed())
        status = demo::playCalibration(options, out);
    else if (presets->parsed())
        status = demo::playPresets(options, out);
    else if (options.pace > 0)
        status = demo::playLive(options, out);
    else
        status = demo::playFirstLight(options, out);
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return status;
    demo::complainOf("standard output", strerror(errno));
    return EXIT_FAILURE;
}
