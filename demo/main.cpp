// The demo's command line.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "calibrate.h"
#include "camera_options.h"
#include "first_light.h"
#include "presets.h"
#include "stage.h"

static constexpr double kSlowestPace = 0.001;
static constexpr double kFastestPace = 1e6;

static int parseLens(const std::string &name) {
    return name == "A" ? 0 : 1;
}

// ---- What an option may be: an empty text when it may, else why not

static std::string checkSeed(const std::string &text) {
    const bool isWhole = text.find_first_not_of("0123456789") == std::string::npos;
    errno = 0;
    strtoull(text.c_str(), nullptr, 10);
    return isWhole && errno == 0 ? "" : text + " is no whole number from 0 to 2^64 - 1";
}

/// At a slower pace than the slowest a picture would take minutes; no machine keeps the fastest.
static std::string checkPace(const std::string &text) {
    char *end = nullptr;
    const double pace = strtod(text.c_str(), &end);
    const bool isNumber = !text.empty() && *end == '\0';
    const bool isPace = pace == 0 || (pace >= kSlowestPace && pace <= kFastestPace);
    return isNumber && isPace ? "" : text + " is neither 0 nor a pace from 0.001 to 1000000";
}

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

int main(int argc, char **argv) {
    vcam::CameraOptions options;
    std::string lens = "B";
    std::string out = "out";
    CLI::App app("The lens-control library on a virtual camera: from power-on to a sharp picture.",
                 "demo");
    app.add_option("--seed", options.seed,
                   "where the lens stands at power-on, how this unit's "
                   "curves differ from the built-in ones, the noise")
        ->check(CLI::Validator(checkSeed, "a number", "seed"));
    app.add_option("--lens", lens, "lens model, A or B")->check(CLI::IsMember({"A", "B"}));
    app.add_option("--pace", options.pace,
                   "virtual seconds a real second; 1 is real time, with a pseudo-terminal for "
                   "controller programs; 0, the default, is as fast as it goes")
        ->check(CLI::Validator(checkPace, "0, or 0.001 to 1000000", "pace"));
    app.add_option("--picture", options.picture,
                   "PNG or JPEG to look at instead of the generated "
                   "scene")
        ->check(CLI::ExistingFile);
    app.add_flag("--gaussian", options.gaussianBlur, "blur without the disc's side lobes");
    app.add_option("--vcd", options.vcdFile,
                   "draw the trace as a waveform (VCD) into this file; of a story with two "
                   "power-ons, into two");
    app.add_option("--out", out, "folder for pictures, plots, trace and the host's files")
        ->check(CLI::Validator(checkFolder, "FOLDER", "out"));
    app.fallthrough();
    CLI::App *calibrate = app.add_subcommand(
        "calibrate", "measure the unit's infinity curve, restart, compare the zoom tracking");
    CLI::App *presets = app.add_subcommand(
        "presets", "presets and direct zoom over the serial port, across a power cycle");
    CLI11_PARSE(app, argc, argv);

    options.lensType = parseLens(lens);
    if (!prepare(out))
        return EXIT_FAILURE;
    fprintf(stdout, "seed %llu, lens %s%s%s\n\n", static_cast<unsigned long long>(options.seed),
            lens.c_str(), options.picture.empty() ? "" : ", picture ", options.picture.c_str());
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
