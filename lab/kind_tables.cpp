#include "kind_tables.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "autofocus_control.h"
#include "statistics.h"

namespace lab {

using Answer = std::vector<std::vector<std::string>>;

/// Numbers of the runs of an experiment.
static Answer askRuns(Store &store, const char *columns, const char *kind, const Played &played) {
    return store.ask(std::string("SELECT ") + columns + " FROM " + kind +
                     " WHERE experiment = " + std::to_string(played.experiment) + " AND run < " +
                     std::to_string(played.runs));
}

static int widthOf(const std::vector<Played> &cells) {
    size_t width = 4;
    for (const Played &played : cells)
        width = std::max(width, played.cell.size());
    return static_cast<int>(width);
}

static double numberOf(const std::string &text) {
    return atof(text.c_str());
}

// ---- Refocus

void printStill(Store &store, const std::vector<Played> &cells) {
    const int width = widthOf(cells);
    printf("Nothing happens\n%-*s %8s %12s %14s %14s\n", width, "cell", "hours", "refocuses",
           "a day", "hours with one");
    for (const Played &played : cells) {
        long refocuses = 0;
        Share withOne;
        for (const auto &row : askRuns(store, "refocuses", "still", played)) {
            refocuses += atol(row[0].c_str());
            withOne.part += row[0] != "0" ? 1 : 0;
            withOne.whole += 1;
        }
        const double days = static_cast<double>(withOne.whole) / 24;
        printf("%-*s %8ld %12ld %14.2f %12.2f %%\n", width, played.cell.c_str(), withOne.whole,
               refocuses, static_cast<double>(refocuses) / days, withOne.percent());
    }
    printf("\n");
}

namespace {
/// The changes of one size.
struct Changes {
    Share refocused;
    Share sharp; ///< Within one half depth in the end, of those refocused.
    std::vector<double> latencies;
};
} // namespace

/// A change that infinity or the nearest object has cut short is left out.
static std::map<double, Changes> groupChanges(const Answer &rows) {
    constexpr double kShare = 0.9;
    std::map<double, Changes> sizes;
    for (const auto &row : rows) {
        if (numberOf(row[3]) < kShare * numberOf(row[0]))
            continue;
        Changes &changes = sizes[numberOf(row[0])];
        const double latency = numberOf(row[1]);
        changes.refocused.whole += 1;
        if (latency < 0)
            continue;
        changes.refocused.part += 1;
        changes.latencies.push_back(latency);
        changes.sharp.whole += 1;
        changes.sharp.part += std::fabs(numberOf(row[2])) <= 1 ? 1 : 0;
    }
    return sizes;
}

void printChange(Store &store, const std::vector<Played> &cells) {
    for (const Played &played : cells) {
        printf("The object changes its distance: %s\n%12s %8s %12s %20s %14s\n",
               played.cell.c_str(), "half depths", "runs", "refocused %", "latency 50 / 95 %",
               "then sharp %");
        for (auto &[size, changes] :
             groupChanges(askRuns(store, "wanted, latency, error, size", "change", played))) {
            std::sort(changes.latencies.begin(), changes.latencies.end());
            printf("%12.1f %8ld %12.1f %13.0f / %3.0f  %14.1f\n", size, changes.refocused.whole,
                   changes.refocused.percent(), quantileOf(changes.latencies, 0.5),
                   quantileOf(changes.latencies, 0.95), changes.sharp.percent());
        }
        printf("\n");
    }
}

void printDrift(Store &store, const std::vector<Played> &cells) {
    const int width = widthOf(cells);
    printf("The curves drift, up to 32 steps in an hour\n%-*s %8s %12s %18s %18s %14s\n", width,
           "cell", "hours", "refocuses", "blurred minutes %", "worst 50 / 95 % h",
           "sharp at end %");
    for (const Played &played : cells) {
        double refocuses = 0;
        double blurred = 0;
        std::vector<double> worst;
        Share sharp;
        for (const auto &row :
             askRuns(store, "refocuses, blurred_minutes, worst, error", "drift", played)) {
            refocuses += numberOf(row[0]);
            blurred += numberOf(row[1]);
            worst.push_back(numberOf(row[2]));
            sharp.whole += 1;
            sharp.part += std::fabs(numberOf(row[3])) <= 1 ? 1 : 0;
        }
        std::sort(worst.begin(), worst.end());
        const auto hours = static_cast<double>(std::max(sharp.whole, 1L));
        printf("%-*s %8ld %12.2f %18.1f %11.1f / %4.1f %14.1f\n", width, played.cell.c_str(),
               sharp.whole, refocuses / hours, blurred / hours / 60 * 100, quantileOf(worst, 0.5),
               quantileOf(worst, 0.95), sharp.percent());
    }
    printf("\n");
}

// ---- Tracking

static const double kFarthest[] = {0, 0.05, 0.125, 0.25, 0.4, 0.7}; // dioptres: bounds of the rows

namespace {
/// Zooms in one direction on objects about one distance.
struct Zooms {
    long runs = 0;
    std::vector<double> worst[4];
    std::vector<double> last;
};
} // namespace

static size_t bandOf(double dioptres) {
    size_t band = 0;
    while (band + 2 < sizeof kFarthest / sizeof kFarthest[0] && dioptres >= kFarthest[band + 1])
        ++band;
    return band;
}

static double medianOf(std::vector<double> &values) {
    std::sort(values.begin(), values.end());
    return quantileOf(values, 0.5);
}

static std::string nameBand(size_t band) {
    char text[40];
    if (band == 0)
        snprintf(text, sizeof text, "beyond %.0f m", 1 / kFarthest[1]);
    else
        snprintf(text, sizeof text, "%.1f to %.1f m", 1 / kFarthest[band], 1 / kFarthest[band + 1]);
    return text;
}

void printTracking(Store &store, const std::vector<Played> &cells) {
    for (const Played &played : cells) {
        std::map<std::pair<std::string, size_t>, Zooms> groups;
        for (const auto &row :
             askRuns(store, "direction, dioptres, worst_1, worst_2, worst_3, worst_4, last",
                     "tracking", played)) {
            Zooms &zooms = groups[{row[0], bandOf(numberOf(row[1]))}];
            zooms.runs += 1;
            for (size_t part = 0; part < 4; ++part)
                zooms.worst[part].push_back(numberOf(row[2 + part]));
            zooms.last.push_back(std::fabs(numberOf(row[6])));
        }
        printf("Zooming from end to end: %s\nmedian of the worst error in a quarter of the "
               "travel, wide to tele, and at the end; half depths\n%-6s %-16s %6s %8s %8s %8s %8s "
               "%8s\n",
               played.cell.c_str(), "toward", "object", "runs", "1st", "2nd", "3rd", "4th", "end");
        for (auto &[group, zooms] : groups) {
            printf("%-6s %-16s %6ld", group.first.c_str(), nameBand(group.second).c_str(),
                   zooms.runs);
            for (std::vector<double> &worst : zooms.worst)
                printf(" %8.1f", medianOf(worst));
            printf(" %8.1f\n", medianOf(zooms.last));
        }
        printf("\n");
    }
}

// ---- Verdicts

static constexpr int kVerdicts = AF_OUTCOME_BLIND + 1;

namespace {
struct Confusion {
    long counts[3][kVerdicts] = {}; ///< By error (within 1, within 2, beyond) and verdict.
};
} // namespace

static void count(Confusion &confusion, double error, int verdict) {
    const double size = std::fabs(error);
    if (verdict >= 0 && verdict < kVerdicts)
        confusion.counts[size <= 1 ? 0 : size <= 2 ? 1 : 2][verdict] += 1;
}

static void printConfusion(const std::string &name, const Confusion &confusion, int width) {
    static const char *const kErrors[] = {"within 1", "1 to 2", "beyond 2"};
    for (int error = 0; error < 3; ++error) {
        printf("%-*s %-9s", width, error == 0 ? name.c_str() : "", kErrors[error]);
        for (int verdict = AF_OUTCOME_FOCUSED; verdict < kVerdicts; ++verdict)
            printf(" %8ld", confusion.counts[error][verdict]);
        printf("\n");
    }
}

void printVerdicts(Store &store, const std::vector<Played> &cells) {
    const int width = widthOf(cells);
    printf("%-*s %-9s %8s %8s %8s %8s %8s\n", width, "half depths off, by verdict", "", "focused",
           "unsure", "flat", "edge", "blind");
    std::map<std::string, Confusion> bySearch;
    for (const Played &played : cells) {
        Confusion confusion;
        Confusion &all = bySearch["all of " + played.cell.substr(0, played.cell.find(' '))];
        for (const auto &row : askRuns(store, "error, verdict", "focus", played)) {
            count(confusion, numberOf(row[0]), atoi(row[1].c_str()));
            count(all, numberOf(row[0]), atoi(row[1].c_str()));
        }
        printConfusion(played.cell, confusion, width);
    }
    for (const auto &[search, confusion] : bySearch)
        printConfusion(search, confusion, width);
}

} // namespace lab
