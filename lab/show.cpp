#include "show.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "kind.h"
#include "player.h"
#include "row_text.h"
#include "searches.h"
#include "session.h"

namespace lab {

static constexpr double kUsPerMs = 1000;
static constexpr double kMsPerS = 1000;

namespace {
/// A frame as the trace has it: "time_us thread isp frame number=.. zoom=.. focus=.. value=..".
struct Frame {
    double ms;
    double focus;
    double value;
};
} // namespace

static bool readFrame(const std::string &line, Frame &frame) {
    int64_t us = 0;
    int read = 0;
    if (sscanf(line.c_str(), "%" SCNd64 " %*s isp frame number=%*d zoom=%*d focus=%lf value=%lf%n",
               &us, &frame.focus, &frame.value, &read) != 3)
        return false;
    frame.ms = static_cast<double>(us) / kUsPerMs;
    return true;
}

/// Where the focus should stand is a straight consequence of the row: it ended so many half depths
/// from there, or began so.
static void printFrames(const std::string &traceFile, double fromMs, double toMs, double sharp,
                        double halfDepth) {
    std::ifstream trace(traceFile);
    std::string line;
    Frame frame = {};
    printf("%10s %8s %8s %10s\n", "ms", "focus", "value", "half dof");
    while (std::getline(trace, line)) {
        if (readFrame(line, frame) && frame.ms >= fromMs && frame.ms <= toMs)
            printf("%10.0f %8.0f %8.0f %+10.2f\n", frame.ms - fromMs, frame.focus, frame.value,
                   (frame.focus - sharp) / halfDepth);
    }
}

static double valueOf(const RowText &row, const Kind &kind, const char *name) {
    size_t start = 0;
    for (const Column &column : kind.columns) {
        if (strcmp(column.name, name) == 0)
            return atof(row.c_str() + start);
        start = row.find(',', start) + 1;
    }
    return NAN;
}

static void printRow(const RowText &row, const Kind &kind) {
    size_t start = 0;
    for (const Column &column : kind.columns) {
        const size_t end = row.find(',', start);
        printf("%s %s   ", column.name, row.substr(start, end - start).c_str());
        start = end + 1;
    }
    printf("\n");
}

/// Where the unit's runs were placed, from its trace: "... lab place dioptres=.. at=ZOOM FOCUS
/// ...".
static std::vector<UnitRun> readPlaces(const std::string &traceFile) {
    static const std::string kPlace = " lab place dioptres=";
    std::vector<UnitRun> places;
    std::ifstream trace(traceFile);
    for (std::string line; std::getline(trace, line);) {
        const size_t at = line.find(kPlace);
        if (at == std::string::npos)
            continue;
        const std::string rest = line.substr(at + kPlace.size());
        places.push_back({0, rest.substr(rest.find("at=") + 3), atof(rest.c_str()), 0, 0});
    }
    return places;
}

/// The unit up to this run, for the page. A rival is no search that it could play.
static void keepSession(const Cell &cell, long run, const std::vector<RowText> &rows,
                        const std::string &traceFile) {
    const Kind &kind = *findKind("focus");
    const std::string path = traceFile + ".session";
    std::vector<UnitRun> runs = readPlaces(traceFile);
    runs.resize(std::min(runs.size(), static_cast<size_t>(run % kind.runsPerUnit) + 1));
    if (cell.search->rival != nullptr || runs.empty())
        return;
    for (size_t index = 0; index < runs.size(); ++index) {
        runs[index].run = atol(rows[index].c_str());
        runs[index].orderedMs = valueOf(rows[index], kind, "at_ms");
        runs[index].ms = valueOf(rows[index], kind, "ms");
    }
    std::ofstream file(path);
    file << spellSession(cell, run / kind.runsPerUnit, runs);
    file.close();
    if (file.fail())
        fprintf(stderr, "lab: %s: can't be written\n", path.c_str());
    else
        printf("on the page: ./run view --replay %s --from %.0f\n", path.c_str(),
               std::floor(runs.back().orderedMs / kMsPerS) - 1);
}

int showRun(const Cell &cell, long run, const std::string &traceFile) {
    const Kind &kind = *findKind("focus");
    const std::vector<RowText> rows = playUnitApart(kind, cell, run / kind.runsPerUnit, traceFile);
    for (const RowText &row : rows) {
        if (atol(row.c_str()) != run)
            continue;
        printRow(row, kind);
        const double halfDepth = valueOf(row, kind, "half_depth");
        const double sharp =
            valueOf(row, kind, "start") - valueOf(row, kind, "start_error") * halfDepth;
        const double fromMs = valueOf(row, kind, "at_ms");
        printFrames(traceFile, fromMs, fromMs + valueOf(row, kind, "ms"), sharp, halfDepth);
        printf("the unit's whole trace: %s\n", traceFile.c_str());
        keepSession(cell, run, rows, traceFile);
        return EXIT_SUCCESS;
    }
    fprintf(stderr, "lab: the unit has not come to its end\n");
    return EXIT_FAILURE;
}

} // namespace lab
