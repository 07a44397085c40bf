#include "report/findings.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "searches.h"

namespace lab {

static std::vector<FocusRun> readRuns(Store &store, long experiment) {
    std::vector<FocusRun> runs;
    for (const auto &row :
         store.ask("SELECT run, zoom, dioptres, start_error, error, frames, verdict FROM focus "
                   "WHERE experiment = " +
                   std::to_string(experiment) + " ORDER BY run"))
        runs.push_back({atol(row[0].c_str()), atof(row[1].c_str()), atof(row[2].c_str()),
                        atof(row[3].c_str()), atof(row[4].c_str()), atof(row[5].c_str()),
                        atoi(row[6].c_str())});
    return runs;
}

static size_t rankOf(const Cell &cell) {
    return static_cast<size_t>(cell.search - allSearches().data());
}

std::vector<CellFindings> gatherFindings(Store &store, std::string &commit) {
    std::vector<CellFindings> all;
    const std::vector<Experiment> experiments = store.experiments();
    if (commit.empty() && !experiments.empty())
        commit = experiments.back().commit;
    for (const Experiment &experiment : experiments) {
        CellFindings findings;
        const bool isOurs = experiment.kind == "focus" && experiment.commit == commit;
        if (!isOurs || experiment.rows == 0 || !readCell(experiment.cell, findings.cell).empty())
            continue;
        findings.figures = sumUpFocus(store, experiment.id, experiment.cell, LONG_MAX);
        findings.runs = readRuns(store, experiment.id);
        all.push_back(std::move(findings));
    }
    std::stable_sort(all.begin(), all.end(), [](const CellFindings &a, const CellFindings &b) {
        return rankOf(a.cell) < rankOf(b.cell);
    });
    return all;
}

static bool has(const Settings &settings, const std::pair<std::string, std::string> &setting) {
    return std::find(settings.begin(), settings.end(), setting) != settings.end();
}

Settings findCommon(const std::vector<CellFindings> &all) {
    Settings common;
    if (all.empty())
        return common;
    for (const auto &setting : all.front().cell.settings) {
        if (std::all_of(all.begin(), all.end(), [&](const CellFindings &findings) {
                return has(findings.cell.settings, setting);
            }))
            common.push_back(setting);
    }
    return common;
}

static std::string describeSetting(const std::string &name, const std::string &value) {
    if (value == "on")
        return name;
    return name + " " + value;
}

std::string describe(const Cell &cell, const Settings &common) {
    std::string text = cell.search->name;
    for (const auto &setting : cell.settings) {
        if (!has(common, setting))
            text += ", " + describeSetting(setting.first, setting.second);
    }
    return text;
}

} // namespace lab
