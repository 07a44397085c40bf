#include "report/report.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "autofocus_control.h"
#include "cell.h"
#include "kind_tables.h"
#include "report/charts.h"
#include "report/findings.h"
#include "report/line_chart.h"
#include "report/pivot.h"
#include "report/svg.h"
#include "searches.h"
#include "statistics.h"
#include "table.h"

namespace lab {

static constexpr size_t kWorst = 10;
static constexpr size_t kMostMaps = 40;

static const char *const kVerdicts[] = {"never ended", "done",  "focused",  "unsure",    "flat",
                                        "edge",        "blind", "replaced", "cancelled", "fault"};
static constexpr size_t kVerdictCount = sizeof kVerdicts / sizeof kVerdicts[0];

static size_t placeOfVerdict(int verdict) {
    return std::min(static_cast<size_t>(std::max(verdict, 0)), kVerdictCount - 1);
}

// ---- Files

static bool writeFile(const std::string &path, const std::string &content) {
    std::ofstream file(path);
    file << content;
    file.close();
    if (!file.fail())
        printf("%s\n", path.c_str());
    else
        fprintf(stderr, "lab: %s: can't be written: %s\n", path.c_str(), strerror(errno));
    return !file.fail();
}

// ---- Tables

static std::string cellOf(const std::string &text, bool isNumber = true) {
    return std::string("<td") + (isNumber ? " class=n>" : ">") + text + "</td>";
}

static std::string headOf(const std::vector<std::string> &names) {
    std::string row = "<tr>";
    for (const std::string &name : names)
        row += "<th>" + name + "</th>";
    return row + "</tr>\n";
}

static std::string spellShare(const Share &share) {
    if (share.whole == 0)
        return "–";
    return spellNumber(share.percent(), 2) + " <small>" + spellNumber(share.low(), 2) + "–" +
           spellNumber(share.high(), 2) + "</small>";
}

static std::string spellQuantiles(const double (&at)[3]) {
    return spellNumber(at[0], 0) + " / " + spellNumber(at[1], 0) + " / " + spellNumber(at[2], 0);
}

static std::string makeTable(const std::vector<CellFindings> &all) {
    const Settings common = findCommon(all);
    std::string table =
        "<table>" +
        headOf({"cell", "runs", "within 1 half depth, % <small>95 % interval</small>",
                "frames<br><small>median / 95 % / most</small>", "called focused, over 2 off, %",
                "within 1, not called focused, %", "began far out, %"});
    for (const CellFindings &findings : all) {
        const FocusFigures &figures = findings.figures;
        const bool isJudged = figures.judged > 0;
        table += "<tr>" + cellOf(escapeMarkup(describe(findings.cell, common)), false) +
                 cellOf(std::to_string(figures.within.whole)) + cellOf(spellShare(figures.within)) +
                 cellOf(spellQuantiles(figures.frames)) +
                 cellOf(isJudged ? spellShare(figures.wrong) : "–") +
                 cellOf(isJudged ? spellShare(figures.refused) : "–") +
                 cellOf(spellNumber(figures.farOut, 0)) + "</tr>\n";
    }
    return table + "</table>\n";
}

/// Day above night.
static std::string breakAtSlash(const std::string &field) {
    const size_t slash = field.find(" / ");
    return slash == std::string::npos ? field
                                      : field.substr(0, slash) + "<br>" + field.substr(slash + 3);
}

static std::string makePivot(const Pivot &pivot) {
    std::vector<std::string> heads = {"condition"};
    heads.insert(heads.end(), pivot.searches.begin(), pivot.searches.end());
    std::string table = "<table>" + headOf(heads);
    for (const Pivot::Row &row : pivot.rows) {
        table += "<tr>" + cellOf(escapeMarkup(row.condition), false);
        for (const std::string &field : row.fields)
            table += cellOf(breakAtSlash(field));
        table += "</tr>\n";
    }
    return table + "</table>\n";
}

namespace {
/// Verdicts of a search's runs by how far they truly ended off: within 1, to 2, beyond.
struct Confusion {
    std::array<std::array<long, 3>, kVerdictCount> counts{};
};
} // namespace

static size_t bandOf(double error) {
    const double size = std::fabs(error);
    return size <= 1 ? 0 : size <= 2 ? 1 : 2;
}

static std::string spellConfusion(const std::string &search, const Confusion &confusion) {
    std::string rows;
    for (size_t verdict = 0; verdict < kVerdictCount; ++verdict) {
        const std::array<long, 3> &row = confusion.counts[verdict];
        if (row[0] + row[1] + row[2] > 0)
            rows += "<tr>" + cellOf(search, false) + cellOf(kVerdicts[verdict], false) +
                    cellOf(std::to_string(row[0])) + cellOf(std::to_string(row[1])) +
                    cellOf(std::to_string(row[2])) + "</tr>\n";
    }
    return rows;
}

/// Verdict against truth, over all cells of each of the library's own searches.
static std::string makeConfusion(const std::vector<CellFindings> &all) {
    std::string table = "<table>" + headOf({"search", "verdict", "within 1", "1 to 2",
                                            "more than 2 half depths off"});
    for (const Search &search : allSearches()) {
        Confusion confusion;
        for (const CellFindings &findings : all) {
            if (findings.cell.search != &search || search.rival != nullptr)
                continue;
            for (const FocusRun &run : findings.runs)
                confusion.counts[placeOfVerdict(run.verdict)][bandOf(run.error)] += 1;
        }
        table += spellConfusion(search.name, confusion);
    }
    return table + "</table>\n";
}

namespace {
struct Worst {
    const CellFindings *findings;
    const FocusRun *run;
};
} // namespace

/// Of the library's own searches where there is something to see: what rivals lose, and what nobody
/// can find, says nothing about a camera.
static std::vector<Worst> findWorst(const std::vector<CellFindings> &all, bool isCalledFocused) {
    std::vector<Worst> worst;
    for (const CellFindings &findings : all) {
        if (findings.cell.search->rival != nullptr || settingOf(findings.cell, "contrast") == "0")
            continue;
        for (const FocusRun &run : findings.runs) {
            if (!isCalledFocused || run.verdict == AF_OUTCOME_FOCUSED)
                worst.push_back({&findings, &run});
        }
    }
    const size_t count = std::min(kWorst, worst.size());
    std::partial_sort(worst.begin(), worst.begin() + static_cast<std::ptrdiff_t>(count),
                      worst.end(), [](const Worst &a, const Worst &b) {
                          return std::fabs(a.run->error) > std::fabs(b.run->error);
                      });
    worst.resize(count);
    return worst;
}

static std::string makeWorst(const std::vector<CellFindings> &all, bool isCalledFocused) {
    std::string table = "<table>" + headOf({"off, half depths", "verdict", "zoom", "object",
                                            "began off", "frame by frame, and for the page"});
    for (const Worst &worst : findWorst(all, isCalledFocused)) {
        const FocusRun &run = *worst.run;
        const std::string object =
            run.dioptres > 0 ? spellNumber(1 / run.dioptres, 1) + " m" : "far away";
        table += "<tr>" + cellOf(spellNumber(run.error, 1)) +
                 cellOf(kVerdicts[placeOfVerdict(run.verdict)], false) +
                 cellOf(spellNumber(run.zoom, 0)) + cellOf(object) +
                 cellOf(spellNumber(run.startError, 1)) +
                 cellOf("<code>./run lab show " + std::to_string(run.run) + " --cell \"" +
                            escapeMarkup(spell(worst.findings->cell)) + "\"</code>",
                        false) +
                 "</tr>\n";
    }
    return table + "</table>\n";
}

/// Of the library's own searches: the cells without special conditions, and those that lose runs.
static std::string makeMaps(const std::vector<CellFindings> &all) {
    const Settings common = findCommon(all);
    std::string maps = "<div class=maps>";
    size_t count = 0;
    for (const CellFindings &findings : all) {
        constexpr double kGood = 99.9;
        const size_t light = settingOf(findings.cell, "night") == "on" ? 1 : 0;
        const bool isPlain = findings.cell.settings.size() == common.size() + light;
        const bool isWorthIt = isPlain || findings.figures.within.percent() < kGood;
        if (findings.cell.search->rival == nullptr && isWorthIt && count++ < kMostMaps)
            maps += drawMap(findings, common).inPage();
    }
    return maps + "</div>\n";
}

// ---- The other kinds

static std::vector<Played> listPlayed(Store &store, const char *kind, const std::string &commit) {
    std::vector<Played> played;
    for (const Experiment &experiment : store.experiments())
        if (experiment.kind == kind && experiment.commit == commit && experiment.rows > 0)
            played.push_back({experiment.id, experiment.cell, LONG_MAX});
    return played;
}

static std::string spellTable(const TextTable &table) {
    std::string text = "<p>" + escapeMarkup(table.title) + "</p>\n<table>" + headOf(table.heads);
    for (const std::vector<std::string> &row : table.rows) {
        text += "<tr>" + cellOf(escapeMarkup(row[0]), false);
        for (size_t column = 1; column < row.size(); ++column)
            text += cellOf(escapeMarkup(row[column]));
        text += "</tr>\n";
    }
    return text + "</table>\n";
}

namespace {
struct OtherKind {
    const char *kind;
    const char *title;
    Figures (*tabulate)(Store &store, const std::vector<Played> &cells);
    const char *up; ///< Of its curves.
    bool isLogarithmic;
};
} // namespace

static constexpr OtherKind kOtherKinds[] = {
    {"change", "Refocusing by itself", tabulateChange,
     "refocused, %, by the size of the change in half depths", false},
    {"still", "Refocusing for nothing", tabulateStill, "", false},
    {"drift", "A lens in the warmth", tabulateDrift, "", false},
    {"tracking", "Focus while zooming", tabulateTracking,
     "median of the worst error in a quarter, half depths", true},
};

static std::string makeOther(Store &store, const OtherKind &other, const std::string &commit) {
    const std::vector<Played> played = listPlayed(store, other.kind, commit);
    if (played.empty())
        return "";
    const Figures figures = other.tabulate(store, played);
    std::string text = "<h2>" + std::string(other.title) + "</h2>\n";
    if (!figures.curves.empty())
        text += drawCurves(figures, other.up, other.isLogarithmic).inPage();
    for (const TextTable &table : figures.tables)
        text += spellTable(table);
    return text;
}

// ---- The page

static const char *const kStyle = R"(
:root{color-scheme:light dark;--ink:#24292f;--soft:#57606a;--paper:#fff;--rule:#d8dee4;
--band:#f6f8fa}
@media(prefers-color-scheme:dark){:root{--ink:#c9d1d9;--soft:#8b949e;--paper:#0d1117;
--rule:#30363d;--band:#161b22}}
body{font:15px/1.55 system-ui,'DejaVu Sans',sans-serif;color:var(--ink);background:var(--paper);
max-width:1080px;margin:2.5rem auto;padding:0 1.5rem}
h1{font-size:1.7rem;margin-bottom:.2rem}h2{font-size:1.2rem;margin-top:2.6rem;
border-bottom:1px solid var(--rule);padding-bottom:.3rem}
p.soft,small{color:var(--soft)}small{font-size:.8em;white-space:nowrap}
table{border-collapse:collapse;font-size:.92em;margin:1rem 0;width:100%}
th{font-weight:600;text-align:left;vertical-align:bottom;padding:.35rem .7rem;
border-bottom:2px solid var(--rule)}
td{padding:.3rem .7rem;border-bottom:1px solid var(--rule)}tr:nth-child(even) td{
background:var(--band)}
td:first-child{white-space:nowrap}th:not(:first-child){text-align:right}td.n{text-align:right;
font-variant-numeric:tabular-nums;white-space:nowrap}code{font-size:.85em}
.drawing{max-width:100%;height:auto;display:block;margin:1rem 0}.maps{display:flex;
flex-wrap:wrap;gap:1rem 2rem}
)";

static std::string openPage(const std::string &commit, long runs) {
    return "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width\">"
           "<title>Autofocus, measured</title>\n<style>" +
           std::string(kStyle) + drawingStyle() + "@media(prefers-color-scheme:dark){" +
           drawingStyle(true) + "}</style></head><body>\n<h1>Autofocus, measured</h1>\n" +
           "<p class=soft>" + std::to_string(runs) +
           " runs on virtual cameras, judged by where the lens truly ended. Built from " +
           escapeMarkup(commit) +
           ".</p>\n<p>One run: a unit with curves of its own, a random zoom on and off the grid, "
           "an "
           "object somewhere between near and infinity, the focus somewhere in and about its "
           "range; one autofocus. A half depth of focus is the distance at which blur begins to "
           "show.</p>\n";
}

static std::string section(const std::string &title, const std::string &content) {
    return "<h2>" + title + "</h2>\n" + content;
}

static std::string nameCommon(const Settings &common) {
    std::string text;
    for (const auto &[name, value] : common)
        text.append(text.empty() ? "" : ", ").append(name).append(" ").append(value);
    return text.empty() ? "" : "<p>Of all cells: " + escapeMarkup(text) + ".</p>\n";
}

static std::string makePage(Store &store, const std::vector<CellFindings> &all,
                            const std::string &commit) {
    long runs = 0;
    for (const CellFindings &findings : all)
        runs += findings.figures.within.whole;
    std::string page = openPage(commit, runs);
    page += section(
        "At a glance",
        nameCommon(findCommon(all)) +
            "<p class=soft>Percent within one half depth, above by day, below by night.</p>" +
            makePivot(pivotSuccess(all)) +
            "<p class=soft>Frames, median–95 %, above by day, below by night.</p>" +
            makePivot(pivotFrames(all)));
    for (const std::string &condition : listVaried(all))
        page += section("Within one half depth, against " + condition,
                        drawSuccess(all, condition).inPage());
    page += section("How long it takes", drawFrames(all).inPage() +
                                             "<p class=soft>Box: the middle half, with the median. "
                                             "Line: 5 to 95 %. Dot: the most.</p>\n");
    page += section("What the verdicts are worth", makeConfusion(all));
    page += section("Where it misses", makeMaps(all));
    page += section("The worst that were called focused", makeWorst(all, true));
    page += section("The worst of all", makeWorst(all, false));
    for (const OtherKind &other : kOtherKinds)
        page += makeOther(store, other, commit);
    page += section("Every cell", makeTable(all));
    return page + "</body></html>\n";
}

int writeReport(Store &store, const std::string &build, const std::string &folder) {
    std::string commit = build;
    const std::vector<CellFindings> all = gatherFindings(store, commit);
    if (all.empty()) {
        fprintf(stderr, "lab: the store has no rows%s\n",
                build.empty() ? "" : (" of " + build).c_str());
        return EXIT_FAILURE;
    }
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    bool isWhole = writeFile(folder + "/lab.html", makePage(store, all, commit)) &&
                   writeFile(folder + "/lab_frames.svg", drawFrames(all).asFile()) &&
                   writeFile(folder + "/lab.md", asMarkdown(pivotSuccess(all), "within 1 h, %") +
                                                     "\n" + asMarkdown(pivotFrames(all), "frames"));
    for (const std::string &condition : listVaried(all)) {
        const std::string path = std::string(folder).append("/lab_").append(condition);
        isWhole = isWhole && writeFile(path + ".svg", drawSuccess(all, condition).asFile());
    }
    return isWhole ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace lab
