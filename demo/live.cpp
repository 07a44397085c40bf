#include "live.h"

#include <csignal>
#include <cstdio>

#include "autofocus/mailbox.h"
#include "autofocus/types.h"
#include "devices/serial_port.h"
#include "stage.h"

namespace demo {

static volatile std::sig_atomic_t isInterrupted = 0;

static void noteInterrupt(int) {
    isInterrupted = 1;
}

static std::string nameCommand(unsigned command) {
    static const char *const kNames[] = {"ZSTOP", "WIDE",  "TELE",   "NEAR",  "FAR",   "RESET",
                                         "FOCUS", "FLINE", "SPST",   "CAPST", "CLPST", "DZF",
                                         "RST",   "FSTOP", "MFMODE", "AFMODE"};
    return command < CMD_NONE ? kNames[command] : "NONE: idle";
}

int playLive(const vcam::CameraOptions &options, const std::string &outFolder) {
    std::signal(SIGINT, noteInterrupt);
    std::signal(SIGTERM, noteInterrupt);
    fprintf(stdout, "Live: until Ctrl-C the camera stays on, at %g virtual seconds a second.\n\n",
            options.pace);
    Stage stage(options, outFolder);
    stage.boot();
    fprintf(stdout,
            "\nThe camera waits for you: VISCA (camera 1) and Pelco-D (address 1) on %s.\n"
            "Ctrl-C ends it and gives the verdict. Without --pace a story plays by itself.\n\n",
            vcam::ptyName().c_str());
    fflush(stdout);
    unsigned shown = Lens_Get_Command();
    while (!isInterrupted) {
        stage.advanceUs(100000);
        const unsigned command = Lens_Get_Command();
        if (command != shown)
            stage.report("the mailbox holds " + nameCommand(command));
        shown = command;
    }
    return stage.giveVerdict();
}

} // namespace demo
