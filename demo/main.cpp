// The demo's command line.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <string>

#include "calibrate.h"
#include "camera_options.h"
#include "first_light.h"
#include "presets.h"

static int parseLens(const std::string &name) {
    return name == "A" ? 0 : 1;
}

int main(int argc, char **argv) {
    vcam::CameraOptions options;
    std::string lens = "B";
    std::string out = "out";
    CLI::App app("The lens-control library on a virtual camera: from power-on to a sharp picture.",
                 "demo");
    app.add_option("--seed", options.seed,
                   "where the lens stands at power-on, how this unit's "
                   "curves differ from the built-in ones, the noise");
    app.add_option("--lens", lens, "lens model, A or B")->check(CLI::IsMember({"A", "B"}));
    app.add_option("--pace", options.pace,
                   "virtual seconds a real second; 1 is real time, with a pseudo-terminal for "
                   "controller programs; 0, the default, is as fast as it goes")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--picture", options.picture,
                   "PNG or JPEG to look at instead of the generated "
                   "scene")
        ->check(CLI::ExistingFile);
    app.add_flag("--gaussian", options.gaussianBlur, "blur without the disc's side lobes");
    app.add_option("--vcd", options.vcdFile,
                   "draw the trace as a waveform (VCD) into this file; of a story with two "
                   "power-ons, into two");
    app.add_option("--out", out, "folder for pictures, plots, trace and the host's files");
    app.fallthrough();
    CLI::App *calibrate = app.add_subcommand(
        "calibrate", "measure the unit's infinity curve, restart, compare the zoom tracking");
    CLI::App *presets = app.add_subcommand(
        "presets", "presets and direct zoom over the serial port, across a power cycle");
    CLI11_PARSE(app, argc, argv);

    options.lensType = parseLens(lens);
    // The story begins with a camera fresh from the box; nothing else in the folder is touched.
    for (const char *leftover : {"/store", "/camera"}) {
        std::error_code ignored;
        std::filesystem::remove_all(out + leftover, ignored);
    }
    std::filesystem::create_directories(out);
    fprintf(stdout, "seed %llu, lens %s%s%s\n\n", static_cast<unsigned long long>(options.seed),
            lens.c_str(), options.picture.empty() ? "" : ", picture ", options.picture.c_str());
    if (calibrate->parsed())
        return demo::playCalibration(options, out);
    if (presets->parsed())
        return demo::playPresets(options, out);
    return options.pace > 0 ? demo::playLive(options, out) : demo::playFirstLight(options, out);
}
