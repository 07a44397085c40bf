// The command line of both fault matrices.
#include "faults/faults.h"

#include <CLI/CLI.hpp>
#include <cstdio>

static const char kAbout[] =
    "Makes the library's system calls fail. A cell is a move, a call and which of those calls "
    "fails,\n"
    "played by a process with a virtual camera of its own. There are three kinds:\n"
    "  - Each call that the library makes, once and for ever, in the middle of each move. It must\n"
    "    say its message, come to rest and keep its counters within the limits; a fault that "
    "keeps\n"
    "    nothing from the motors must leave the lens where it is counted.\n"
    "  - Each transfer, GPIO open and GPIO call of a move, once. Judged by the lens: where it "
    "stands,\n"
    "    the steps that it lost, the rules of the hardware broken. The library repeats no call, "
    "so\n"
    "    many cells end wrong: tests/faults/table.txt keeps how many and how badly.\n"
    "  - The same with recovery on, once and for ever, before and after the effect, and at random\n"
    "    (--storms): none may end wrong, and the next order must be obeyed.";

static const char kTrace[] = "build/fault.trace";

static std::string listNames() {
    std::string text = "CALL is transfer, gpio-open or gpio-call, OFFSET how many of them go well "
                       "before, MOVE one of";
    for (int move = 0; move < faults::kMoveCount; ++move)
        text += std::string(move % 5 == 0 ? "\n  " : ", ") + faults::kMoves[move].name;
    return text;
}

static int replay(bool isGood) {
    printf(isGood ? "the cell's trace: %s\n"
                  : "failed, or no such cell: ./run faults --help; trace: %s\n",
           kTrace);
    return isGood ? 0 : 1;
}

int main(int argc, char **argv) {
    faults::Words offset;
    faults::Words middle;
    faults::Words recovery;
    int storms = -1;
    bool all = false;
    bool few = false;
    bool offsetsOnly = false;
    bool renews = false;
    CLI::App app(kAbout, "faults");
    app.footer(listNames());
    app.add_option("cell", offset, "MOVE CALL OFFSET: play one cell of the second kind")
        ->expected(3);
    app.add_option("--middle", middle, "play one cell of the first kind, as a failure names it")
        ->expected(3);
    app.add_option("--recovery", recovery, "play one cell of the third kind, as a failure names it")
        ->expected(3);
    app.add_flag_callback("--robust", faults::chooseEverySetting,
                          "the third kind with the settings for a real lens on as well");
    app.add_option("--storms", storms, "play the third kind, with so many seeds of random faults");
    app.add_flag("--all", all,
                 "every offset of calibration and curve drawing too, else each tenth");
    app.add_flag("--few", few, "offsets 0, 1, 5, 25 and 125 only");
    app.add_flag("--offsets", offsetsOnly, "the second kind only");
    app.add_flag("--renew", renews, "play every offset and keep the ends of today");
    CLI11_PARSE(app, argc, argv);

    if (!offset.empty())
        return replay(faults::replayOffset(offset, kTrace));
    if (!middle.empty())
        return replay(faults::replayCall(middle, kTrace));
    if (!recovery.empty())
        return replay(faults::replayRecovery(recovery, kTrace));
    faults::Extent extent = few ? faults::Extent::Few : faults::Extent::Usual;
    if (all || renews)
        extent = faults::Extent::All;
    if (storms >= 0)
        return faults::playRecoveryMatrix(extent, storms) ? 0 : 1;
    const bool isFirstGood = offsetsOnly || renews || faults::playCallMatrix();
    return faults::playOffsetMatrix(extent, renews) && isFirstGood ? 0 : 1;
}
