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

static double numberOf(const std::string &text) {
    return atof(text.c_str());
}

static std::string spell(double value, int digits) {
    char text[40];
    snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

/// With the interval that holds the true one in 95 of 100 experiments.
static std::string spell(const Share &share) {
    if (share.whole == 0)
        return "-";
    return spell(share.percent(), 1) + " (" + spell(share.low(), 1) + "-" + spell(share.high(), 1) +
           ")";
}

static double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return quantileOf(values, 0.5);
}

/// With the ranks between which the true one lies in 95 of 100 experiments.
static std::string spellMedian(std::vector<double> values, int digits) {
    constexpr double kDeviations = 0.98; // 1.96 of a rank's, which is half the root of the count
    if (values.empty())
        return "-";
    std::sort(values.begin(), values.end());
    const double aside = kDeviations / std::sqrt(static_cast<double>(values.size()));
    return spell(quantileOf(values, 0.5), digits) + " (" +
           spell(quantileOf(values, std::max(0.5 - aside, 0.0)), digits) + "-" +
           spell(quantileOf(values, std::min(0.5 + aside, 1.0)), digits) + ")";
}

static std::string spellRange(std::vector<double> values, int digits) {
    if (values.empty())
        return "-";
    std::sort(values.begin(), values.end());
    return spell(quantileOf(values, 0.5), digits) + " / " + spell(quantileOf(values, 0.95), digits);
}

// ---- For a terminal

static std::vector<size_t> widthsOf(const TextTable &table) {
    std::vector<size_t> widths;
    for (const std::string &head : table.heads)
        widths.push_back(head.size());
    for (const std::vector<std::string> &row : table.rows)
        for (size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    return widths;
}

static void printRow(const std::vector<std::string> &row, const std::vector<size_t> &widths) {
    printf("%-*s", static_cast<int>(widths[0]), row[0].c_str());
    for (size_t column = 1; column < row.size(); ++column)
        printf("  %*s", static_cast<int>(widths[column]), row[column].c_str());
    printf("\n");
}

void print(const TextTable &table) {
    const std::vector<size_t> widths = widthsOf(table);
    printf("%s\n", table.title.c_str());
    printRow(table.heads, widths);
    for (const std::vector<std::string> &row : table.rows)
        printRow(row, widths);
    printf("\n");
}

// ---- Refocus

Figures tabulateStill(Store &store, const std::vector<Played> &cells) {
    TextTable table = {
        "Nothing happens", {"cell", "hours", "refocuses", "a day", "hours with one, %"}, {}};
    for (const Played &played : cells) {
        long refocuses = 0;
        Share withOne;
        for (const auto &row : askRuns(store, "refocuses", "still", played)) {
            refocuses += atol(row[0].c_str());
            withOne.part += row[0] != "0" ? 1 : 0;
            withOne.whole += 1;
        }
        const double days = static_cast<double>(std::max(withOne.whole, 1L)) / 24;
        table.rows.push_back({played.cell, std::to_string(withOne.whole), std::to_string(refocuses),
                              spell(static_cast<double>(refocuses) / days, 2), spell(withOne)});
    }
    return {{table}, {}, {}};
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

Figures tabulateChange(Store &store, const std::vector<Played> &cells) {
    Figures figures;
    for (const Played &played : cells) {
        TextTable table = {
            "The object changes its distance: " + played.cell,
            {"half depths", "runs", "refocused, %", "latency 50 / 95 %, frames", "then sharp, %"},
            {}};
        Curve curve = {played.cell, {}};
        figures.places.clear();
        for (const auto &[size, changes] :
             groupChanges(askRuns(store, "wanted, latency, error, size", "change", played))) {
            table.rows.push_back({spell(size, 1), std::to_string(changes.refocused.whole),
                                  spell(changes.refocused), spellRange(changes.latencies, 0),
                                  spell(changes.sharp)});
            figures.places.push_back(spell(size, 1));
            curve.values.push_back(changes.refocused.percent());
        }
        figures.tables.push_back(table);
        figures.curves.push_back(curve);
    }
    return figures;
}

Figures tabulateDrift(Store &store, const std::vector<Played> &cells) {
    TextTable table = {"The curves drift, up to 32 steps in an hour",
                       {"cell", "hours", "refocuses an hour", "blurred minutes, %",
                        "worst 50 / 95 %, half depths", "sharp at the end, %"},
                       {}};
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
        const auto hours = static_cast<double>(std::max(sharp.whole, 1L));
        table.rows.push_back({played.cell, std::to_string(sharp.whole), spell(refocuses / hours, 2),
                              spell(blurred / hours / 60 * 100, 1), spellRange(worst, 1),
                              spell(sharp)});
    }
    return {{table}, {}, {}};
}

// ---- Tracking

static const double kFarthest[] = {0, 0.05, 0.125, 0.25, 0.4, 0.7}; // dioptres: bounds of the rows
static constexpr size_t kParts = 5;                                 // quarters, and the end

namespace {
/// Zooms in one direction on objects about one distance.
struct Zooms {
    std::vector<double> errors[kParts];
};
} // namespace

static size_t bandOf(double dioptres) {
    size_t band = 0;
    while (band + 2 < sizeof kFarthest / sizeof kFarthest[0] && dioptres >= kFarthest[band + 1])
        ++band;
    return band;
}

static std::string nameBand(size_t band) {
    if (band == 0)
        return "beyond " + spell(1 / kFarthest[1], 0) + " m";
    return spell(1 / kFarthest[band], 1) + " to " + spell(1 / kFarthest[band + 1], 1) + " m";
}

static void add(Zooms &zooms, const std::vector<std::string> &row) {
    for (size_t part = 0; part < kParts; ++part)
        zooms.errors[part].push_back(std::fabs(numberOf(row[2 + part])));
}

static std::vector<double> mediansOf(const Zooms &zooms) {
    std::vector<double> medians;
    for (const std::vector<double> &errors : zooms.errors)
        medians.push_back(medianOf(errors));
    return medians;
}

static Curve drawZooms(const std::string &cell, const std::string &direction, const Zooms &zooms) {
    return {"toward " + direction + ", " + cell, mediansOf(zooms)};
}

Figures tabulateTracking(Store &store, const std::vector<Played> &cells) {
    Figures figures;
    figures.places = {"1st quarter (wide)", "2nd", "3rd", "4th (tele)", "at the end"};
    for (const Played &played : cells) {
        TextTable table = {"Zooming from end to end: " + played.cell +
                               "; median of the worst error in a quarter of the travel, wide to "
                               "tele, and at the end; half depths",
                           {"toward, object", "runs", "1st", "2nd", "3rd", "4th", "end"},
                           {}};
        std::map<std::pair<std::string, size_t>, Zooms> groups;
        std::map<std::string, Zooms> directions;
        for (const auto &row :
             askRuns(store, "direction, dioptres, worst_1, worst_2, worst_3, worst_4, last",
                     "tracking", played)) {
            add(groups[{row[0], bandOf(numberOf(row[1]))}], row);
            add(directions[row[0]], row);
        }
        for (const auto &[group, zooms] : groups) {
            std::vector<std::string> row = {group.first + ", " + nameBand(group.second),
                                            std::to_string(zooms.errors[0].size())};
            for (const std::vector<double> &errors : zooms.errors)
                row.push_back(spellMedian(errors, 1));
            table.rows.push_back(row);
        }
        for (const auto &[direction, zooms] : directions)
            figures.curves.push_back(drawZooms(played.cell, direction, zooms));
        figures.tables.push_back(table);
    }
    return figures;
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

static void addConfusion(TextTable &table, const std::string &name, const Confusion &confusion) {
    static const char *const kErrors[] = {"within 1", "1 to 2", "beyond 2"};
    for (int error = 0; error < 3; ++error) {
        std::vector<std::string> row = {error == 0 ? name : "", kErrors[error]};
        for (int verdict = AF_OUTCOME_FOCUSED; verdict < kVerdicts; ++verdict)
            row.push_back(std::to_string(confusion.counts[error][verdict]));
        table.rows.push_back(row);
    }
}

Figures tabulateVerdicts(Store &store, const std::vector<Played> &cells) {
    TextTable table = {"The verdicts against the truth: half depths off, by verdict",
                       {"cell", "off", "focused", "unsure", "flat", "edge", "blind"},
                       {}};
    std::map<std::string, Confusion> bySearch;
    for (const Played &played : cells) {
        Confusion confusion;
        Confusion &all = bySearch["all of " + played.cell.substr(0, played.cell.find(' '))];
        for (const auto &row : askRuns(store, "error, verdict", "focus", played)) {
            count(confusion, numberOf(row[0]), atoi(row[1].c_str()));
            count(all, numberOf(row[0]), atoi(row[1].c_str()));
        }
        addConfusion(table, played.cell, confusion);
    }
    for (const auto &[search, confusion] : bySearch)
        addConfusion(table, search, confusion);
    return {{table}, {}, {}};
}

} // namespace lab
