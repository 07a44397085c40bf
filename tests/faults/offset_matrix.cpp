// Each transfer to the driver chip, each open of the GPIO device and each call on it that a move
// makes from its command until the lens rests fails once: a cell each, in a process of its own.
//
// Judged by the lens at rest: how far it stands from where the library counts it (the worse axis),
// the steps lost at the stops, the rules of the hardware broken. A cell with any of these is wrong.
// The library repeats no call, so many are; how many, and how badly, is kept in a table with sums
// over all ends, so that a change anywhere shows. Where a move went is not judged, but is in the
// sums. The refocus trigger is off: from a wrong place it would fire for ever.
#include "faults/faults.h"
#include "scenario/scenario.h"

#include "boundary/call_counts.h"
#include "boundary/faults.h"
#include "clock/trace.h"
#include "devices/lens.h"
#include "host/workers.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <fstream>

namespace faults {

namespace {

const char kTable[] = "tests/faults/table.txt";
const char kTableHead[] =
    "# One failed call in each move: in how many places it can fail, how many of them end wrong, "
    "the\n"
    "# worst error and the most steps lost; sums over the ends of the few offsets that sanitizers\n"
    "# play, of each tenth beside them, of all. Written by ./run faults --renew.\n"
    "# move        call      cells wrong  error   lost  few              tenth            all\n";
constexpr size_t kNamesAndCells = 29; // letters of a row

struct Call {
    const char *name;
    const char *call;
    const char *subject;
    int error;
};

const Call kCalls[] = {
    {"transfer", "ioctl", "/dev/spidev1.0", EIO},
    {"gpio-open", "open", "/dev/hi_gpio", EMFILE},
    {"gpio-call", "ioctl", "/dev/hi_gpio", EIO},
};
constexpr int kCallCount = sizeof kCalls / sizeof kCalls[0];
constexpr int kMostRows = 64;
constexpr int kMostCells = 1 << 16;
constexpr int kNoFault = kMostCells - 1; // an offset that no move reaches

// ---- One cell

struct End {
    scenario::Place truth, counted;
    int lost, violations, command, status;
};

struct Cell {
    int move, call;
    int offset; ///< How many such calls of the move go well before one fails.
    End *end;
};

struct Shared {
    int counts[kMostRows]; ///< By move and call: so many such calls a move without a fault makes.
    End ends[kMostCells];
    int failed;
};

Shared *shared;

int errorOf(const End &end) {
    return std::max(abs(static_cast<int>(end.truth.first - end.counted.first)),
                    abs(static_cast<int>(end.truth.second - end.counted.second)));
}

bool isWrong(const End &end) {
    return errorOf(end) != 0 || end.lost != 0 || end.violations != 0;
}

void noteCounts(int move) {
    vcam::CallCounts made = vcam::takeCallCounts();
    for (int call = 0; call < kCallCount; ++call)
        shared->counts[move * kCallCount + call] =
            made[std::string(kCalls[call].call) + " " + kCalls[call].subject];
}

void playMove(const Cell &cell) {
    const Move &move = kMoves[cell.move];
    const Call &call = kCalls[cell.call];
    startFor(move, [&] {
        AF_Manager_SetFocusMode_API(0);
        vcam::failCalls(call.call, call.subject, 1, call.error, cell.offset);
        if (cell.offset == kNoFault)
            vcam::countCallsOf("");
    });
    if (!isAtStart(move))
        move.begin();
    if (move.during != nullptr)
        move.during();
    settle(move.limitS);
    const long lost = vcam::lostSteps(vcam::Axis::Zoom) + vcam::lostSteps(vcam::Axis::Focus);
    *cell.end = {scenario::truePlace(),
                 countedPlace(),
                 static_cast<int>(lost),
                 vcam::violationCount(),
                 static_cast<int>(Lens_Get_Command()),
                 0};
}

void judgeCell(const Cell &cell, const std::string &traceFile) {
    vcam::CameraOptions options;
    options.traceFile = traceFile;
    const scenario::Ending ending = scenario::runToEnd(options, [&] {
        playMove(cell);
        if (cell.offset != kNoFault)
            return;
        noteCounts(cell.move);
        EXPECT_FALSE(isWrong(*cell.end)) << "without a fault";
    });
    cell.end->status = ending.status;
    if (ending.status == 0)
        return;
    __atomic_add_fetch(&shared->failed, 1, __ATOMIC_RELAXED);
    printf("%sstatus %d; replay: ./run faults %s %s %d\n", ending.said.c_str(), ending.status,
           kMoves[cell.move].name, kCalls[cell.call].name, cell.offset);
    fflush(stdout);
}

// ---- A row of the table: a move and call

struct Row {
    int move, call, count;
    End *ends; ///< One an offset.
};

Extent extentOf(const Row &row, Extent asked) {
    return extentOf(kMoves[row.move], asked);
}

std::vector<Cell> cellsOf(const Row &row, Extent extent) {
    std::vector<Cell> cells;
    for (int offset = 0; offset < row.count; ++offset) {
        if (isIn(extent, offset))
            cells.push_back({row.move, row.call, offset, row.ends + offset});
    }
    return cells;
}

/// A sum in which each number of each end counts, and their order.
std::string sumOf(const Row &row, Extent extent) {
    const uint64_t prime = 0x100000001B3;
    uint64_t sum = 0xCBF29CE484222325;
    for (const Cell &cell : cellsOf(row, extent)) {
        const End &end = *cell.end;
        for (const unsigned number :
             {end.truth.first, end.truth.second, end.counted.first, end.counted.second,
              unsigned(end.lost), unsigned(end.violations), unsigned(end.command),
              unsigned(end.status)})
            sum = (sum ^ number) * prime;
    }
    char text[24];
    snprintf(text, sizeof text, " %016" PRIx64, sum);
    return text;
}

struct Figures {
    int cells, wrong, worstError, worstLoss;
};

void addTo(Figures &figures, const Row &row, Extent extent) {
    for (const Cell &cell : cellsOf(row, extent)) {
        figures.cells += 1;
        figures.wrong += isWrong(*cell.end) ? 1 : 0;
        figures.worstError = std::max(figures.worstError, errorOf(*cell.end));
        figures.worstLoss = std::max(figures.worstLoss, cell.end->lost);
    }
}

std::string lineOf(const Row &row, Extent extent) {
    Figures figures = {};
    addTo(figures, row, extent);
    char text[100];
    snprintf(text, sizeof text, "%-13s %-9s %5d %5d %6d %6d ", kMoves[row.move].name,
             kCalls[row.call].name, row.count, figures.wrong, figures.worstError,
             figures.worstLoss);
    return text + sumOf(row, Extent::Few) + sumOf(row, Extent::Usual) + sumOf(row, Extent::All);
}

/// Of a row that is played in part: the same number of cells, the same sum over that part.
bool isKept(const std::string &kept, const Row &row, Extent extent) {
    const std::string line = lineOf(row, extent);
    const bool isSamePart = kept.compare(0, kNamesAndCells, line, 0, kNamesAndCells) == 0 &&
                            kept.find(sumOf(row, extent)) != std::string::npos;
    return kept == line || (extent != Extent::All && isSamePart);
}

// ---- The table

/// What a move without a fault calls is what can fail.
std::vector<Row> layOutRows() {
    vcam::playAll(kMoveCount, [](int move) {
        if (!kMoves[move].isOneMoreMiddle)
            judgeCell({move, 0, kNoFault, &shared->ends[move]}, "");
    });
    std::vector<Row> rows;
    End *ends = shared->ends;
    for (int row = 0; row < kMoveCount * kCallCount; ++row) {
        const int count = shared->counts[row];
        if (count > 0)
            rows.push_back({row / kCallCount, row % kCallCount, count, ends});
        ends += count;
    }
    return rows;
}

/// From the last on: the long moves are among those, and nobody waits for one of them at the end.
void playRows(const std::vector<Row> &rows, Extent asked) {
    std::vector<Cell> cells;
    for (const Row &row : rows) {
        const std::vector<Cell> more = cellsOf(row, extentOf(row, asked));
        cells.insert(cells.begin(), more.begin(), more.end());
    }
    vcam::playAll(static_cast<int>(cells.size()),
                  [&](int index) { judgeCell(cells[static_cast<size_t>(index)], ""); });
}

bool compareTable(const std::vector<Row> &rows, Extent asked) {
    std::ifstream file(kTable);
    std::string kept;
    while (getline(file, kept) && kept[0] == '#') {
    }
    bool isSame = true;
    for (const Row &row : rows) {
        const Extent extent = extentOf(row, asked);
        if (!isKept(kept, row, extent))
            printf("kept   %s\nplayed %s\n", kept.c_str(), lineOf(row, extent).c_str());
        isSame = isSame && isKept(kept, row, extent);
        kept.clear();
        getline(file, kept);
    }
    isSame = isSame && kept.empty();
    printf("fault matrix: ends %s\n",
           isSame ? "as kept" : "not as kept; if that is meant: ./run faults --renew");
    return isSame;
}

bool writeTable(const std::vector<Row> &rows) {
    std::ofstream file(kTable);
    file << kTableHead;
    for (const Row &row : rows)
        file << lineOf(row, Extent::All) << "\n";
    file.close();
    printf("fault matrix: %s %s\n", file ? "kept in" : "can't write", kTable);
    return static_cast<bool>(file);
}

} // namespace

bool playOffsetMatrix(Extent extent, bool renews) {
    shared = vcam::share<Shared>();
    const std::vector<Row> rows = layOutRows();
    playRows(rows, extent);
    Figures all = {};
    for (const Row &row : rows)
        addTo(all, row, extentOf(row, extent));
    printf(
        "fault matrix: one call fails, %d cells: %d wrong, at worst %d steps off and %d lost; %d "
        "did not end well\n",
        all.cells, all.wrong, all.worstError, all.worstLoss, shared->failed);
    const bool isGood = renews ? writeTable(rows) : compareTable(rows, extent);
    return isGood && shared->failed == 0;
}

bool replayOffset(const Words &words, const std::string &traceFile) {
    shared = vcam::share<Shared>();
    End &end = shared->ends[0];
    const int move = findNamed(kMoves, kMoveCount, words[0]);
    const int call = findNamed(kCalls, kCallCount, words[1]);
    const int offset = toNumber(words[2], kMostCells);
    if (move < 0 || call < 0 || offset < 0)
        return false;
    judgeCell({move, call, offset, &end}, traceFile);
    printf("%s: zoom is at %u, counted %u; focus at %u, counted %u; %d steps lost, %d violations, "
           "command %d\n",
           isWrong(end) ? "wrong" : "right", end.truth.first, end.counted.first, end.truth.second,
           end.counted.second, end.lost, end.violations, end.command);
    return end.status == 0;
}

} // namespace faults
