#include "table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "autofocus_control.h"

namespace lab {

static constexpr double kShares[] = {0.5, 0.95, 1};

static void takeQuantiles(std::vector<double> &values, double (&quantiles)[3]) {
    std::sort(values.begin(), values.end());
    for (size_t index = 0; index < 3; ++index)
        quantiles[index] = quantileOf(values, kShares[index]);
}

FocusFigures sumUpFocus(Store &store, long experiment, const std::string &cell, long runs) {
    FocusFigures figures;
    figures.cell = cell;
    std::vector<double> frames;
    std::vector<double> samples;
    long farOut = 0;
    for (const auto &row :
         store.ask("SELECT error, frames, samples, verdict, far_out FROM focus "
                   "WHERE experiment = " +
                   std::to_string(experiment) + " AND run < " + std::to_string(runs))) {
        const double error = std::fabs(atof(row[0].c_str()));
        const int verdict = atoi(row[3].c_str());
        const bool isCalledFocused = verdict == AF_OUTCOME_FOCUSED;
        figures.within.whole += 1;
        figures.within.part += error <= 1 ? 1 : 0;
        figures.wrong.whole += isCalledFocused ? 1 : 0;
        figures.wrong.part += isCalledFocused && error > 2 ? 1 : 0;
        figures.refused.whole += error <= 1 ? 1 : 0;
        figures.refused.part += error <= 1 && !isCalledFocused ? 1 : 0;
        figures.judged += verdict != AF_OUTCOME_DONE ? 1 : 0;
        figures.broken += verdict == AF_OUTCOME_NONE ? 1 : 0;
        farOut += row[4] == "1" ? 1 : 0;
        frames.push_back(atof(row[1].c_str()));
        samples.push_back(atof(row[2].c_str()));
    }
    takeQuantiles(frames, figures.frames);
    takeQuantiles(samples, figures.samples);
    figures.farOut = Share{farOut, figures.within.whole}.percent();
    return figures;
}

void printFocusTable(const std::vector<FocusFigures> &rows) {
    size_t width = 4;
    for (const FocusFigures &row : rows)
        width = std::max(width, row.cell.size());
    printf("%-*s %8s  %-23s %-17s %8s %8s %6s\n", static_cast<int>(width), "cell", "runs",
           "within 1 h %  (95 %)", "frames 50/95/most", "wrong %", "refused%", "far %");
    for (const FocusFigures &row : rows) {
        char frames[32];
        snprintf(frames, sizeof frames, "%.0f / %.0f / %.0f", row.frames[0], row.frames[1],
                 row.frames[2]);
        char verdicts[32];
        snprintf(verdicts, sizeof verdicts, "%8.2f %8.1f", row.wrong.percent(),
                 row.refused.percent());
        printf("%-*s %8ld  %6.2f (%5.2f - %6.2f) %-17s %17s %6.1f\n", static_cast<int>(width),
               row.cell.c_str(), row.within.whole, row.within.percent(), row.within.low(),
               row.within.high(), frames, row.judged > 0 ? verdicts : "-        -", row.farOut);
        if (row.broken > 0)
            printf("    %ld runs of it never ended\n", row.broken);
    }
}

} // namespace lab
