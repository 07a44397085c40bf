// The kinds of move in which calls are made to fail, and how a cell of a matrix is played and
// named.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "scenario/scenario.h"

namespace faults {

struct Move {
    const char *name;
    void (*begin)();              ///< nullptr: the library's start.
    int middleMs;                 ///< So long after its begin the motors turn; 0: nobody asks when.
    void (*during)();             ///< What the host does itself once the calls fail, or nullptr.
    double limitS;                ///< A dead ISP costs each sample a second.
    bool isOneMoreMiddle = false; ///< Of the move before it.
    bool isLong = false;          ///< Minutes, and thousands of calls.
    unsigned beyondTele = 0;      ///< The zoom may be counted so far; it looks only between points.
};

extern const Move kMoves[];
extern const int kMoveCount;

bool isAtStart(const Move &move);

/// Set up the host and start the library; @p arm, which lets calls fail, comes before a start-up,
/// else when the lens has come to rest after it.
void startFor(const Move &move, const std::function<void()> &arm);

/// Wait until the lens rests. Looks seldom, since looking costs more than the rest.
void settle(double limitS);

scenario::Place countedPlace();

using Words = std::vector<std::string>;

/// -1: it is no number from 0 to @p count - 1.
int toNumber(const std::string &word, int count);

/// The number of what @p word names, or of what it is the number; -1: there is none.
template <typename Named> int findNamed(const Named *all, int count, const std::string &word) {
    for (int index = 0; index < count; ++index) {
        if (word == all[index].name)
            return index;
    }
    return toNumber(word, count);
}

/// Which offsets are played: 0, 1, 5, 25 and 125; every one, but of a long move only each tenth
/// beside those; every one.
enum class Extent { Few, Usual, All };

Extent extentOf(const Move &move, Extent asked);
bool isIn(Extent extent, int offset);

/// Every call that the library makes fails, once and for ever, in the middle of each kind of move.
bool playCallMatrix();

/// Each transfer to the driver chip, GPIO open and GPIO call of each kind of move fails once. The
/// ends are compared with the kept table, or kept.
bool playOffsetMatrix(Extent extent, bool renews);

/// The same calls with recovery on, before and after their effect, once and for ever, and @p storms
/// seeds of random ones.
bool playRecoveryMatrix(Extent extent, int storms);

/// From now on the third kind is played with the robust search and tracking, a backlash and a
/// delay.
void chooseEverySetting();

/// One cell of it: MOVE LINK OFFSET, or storm at-random SEED.
bool replayRecovery(const Words &words, const std::string &traceFile);

/// One cell: MOVE FAULT TIMING of the first matrix, all but the move as numbers, or MOVE CALL
/// OFFSET of the second. False also when there is no such cell.
bool replayCall(const Words &words, const std::string &traceFile);
bool replayOffset(const Words &words, const std::string &traceFile);

} // namespace faults
