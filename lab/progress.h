// How far an experiment has come, for whoever waits: runs done, runs a second, when it will end.
#pragma once

#include <ctime>

namespace lab {

class Progress {
public:
    explicit Progress(long runs) : all(runs) {}

    /// More runs are done. On a terminal the line is drawn anew four times a second, elsewhere
    /// there is a line a minute.
    void add(long runs);

    /// Take the line away.
    static void clear();

    /// How many runs took how long, if there were any.
    void sumUp() const;

private:
    double runsPerSecond() const;
    void draw() const;

    long all;
    long done = 0;
    double startS = nowS();
    double shownS = startS;

    static double nowS();
};

} // namespace lab
