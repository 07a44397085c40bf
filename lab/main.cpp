// The lab: how often does the autofocus miss, under which conditions, and is another search better?
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cell.h"
#include "chunk.h"
#include "condition.h"
#include "exchange.h"
#include "experiment.h"
#include "grid.h"
#include "kind.h"
#include "kind_tables.h"
#include "report/report.h"
#include "searches.h"
#include "show.h"
#include "store.h"
#include "table.h"

namespace {
struct Words {
    std::string store = "out/lab.sqlite";
    std::string commit = "unknown";
    std::string searches = "built-in";
    std::string cell;
    std::string kind = "focus";
    std::map<std::string, std::string> lists; // by option
    std::string out = "out";
    std::string build;
    std::string trace = "out/lab_trace.txt";
    long runs = 10000;
    long chunk = 2000;
    long first = 0;
    long count = 0;
};
} // namespace

static const char *const kCellHelp =
    "\"search=built-in noise=4\"; the library as loaded, by day, if not given";
static constexpr long kMostRuns = 100000000;

static int complain(const std::string &what) {
    fprintf(stderr, "lab: %s\n", what.c_str());
    return EXIT_FAILURE;
}

static void offerList(CLI::App &app, Words &words, const std::string &name,
                      const std::string &takes, const std::string &meaning) {
    app.add_option_function<std::string>(
           "--" + name, [&words, name](const std::string &list) { words.lists[name] = list; },
           meaning)
        ->type_name(takes + ",...");
}

/// Every condition that the camera knows, as a list of values.
static void offerConditions(CLI::App &app, Words &words) {
    app.add_option_function<std::string>(
           "--light",
           [&words](const std::string &list) {
               std::string switches;
               for (const std::string &light : lab::splitList(list)) {
                   if (light != "day" && light != "night")
                       throw CLI::ValidationError("--light", light + " is neither day nor night");
                   switches +=
                       std::string(switches.empty() ? "" : ",") + (light == "night" ? "on" : "off");
               }
               words.lists["night"] = switches;
           },
           "day, night or both; day unless given")
        ->type_name("LIGHT,...");
    offerList(app, words, "scene", "NAME",
              "what is in front of the lens, of: " + lab::nameScenes());
    app.add_option_function<std::string>(
           "--backlash",
           [&words](const std::string &list) { words.lists["backlash-focus"] = list; },
           "short for --backlash-focus")
        ->type_name("STEPS,...");
    for (const lab::Condition &condition : lab::allConditions()) {
        if (condition.name != "night")
            offerList(app, words, condition.name, condition.takes, condition.meaning);
    }
}

/// In the conditions' order, whatever the command line's.
static std::vector<lab::Axis> listAxes(const Words &words) {
    std::vector<lab::Axis> axes;
    std::vector<std::string> names = {"scene"};
    for (const lab::Condition &condition : lab::allConditions())
        names.push_back(condition.name);
    for (const std::string &name : names) {
        const auto found = words.lists.find(name);
        if (found != words.lists.end())
            axes.emplace_back(name, lab::splitList(found->second));
    }
    return axes;
}

static int tellEnding(lab::Ending ending) {
    constexpr int kInterrupted = 130;
    if (ending == lab::Ending::Interrupted)
        fprintf(stderr, "lab: interrupted; the same call goes on from here\n");
    return ending == lab::Ending::Whole         ? EXIT_SUCCESS
           : ending == lab::Ending::Interrupted ? kInterrupted
                                                : EXIT_FAILURE;
}

using Tabulate = lab::Figures(lab::Store &store, const std::vector<lab::Played> &cells);

static void printFigures(const lab::Figures &figures) {
    for (const lab::TextTable &table : figures.tables)
        print(table);
}

/// Play the cells and say what they came to by @p print, whole or not.
static int
playKind(const Words &words, const char *kind, long runs, const std::vector<lab::Cell> &cells,
         const std::function<void(lab::Store &, const std::vector<lab::Played> &)> &tell) {
    lab::Store store(words.store);
    if (!store.error().empty())
        return complain(words.store + ": " + store.error());
    std::vector<long> experiments;
    const lab::Ending ending =
        lab::play({lab::findKind(kind), cells, runs, words.commit}, store, experiments);
    std::vector<lab::Played> played;
    for (size_t index = 0; index < experiments.size(); ++index)
        played.push_back({experiments[index], lab::spell(cells[index]), runs});
    tell(store, played);
    return tellEnding(ending);
}

/// The same, of a kind with tables of its own.
static int playKind(const Words &words, const char *kind, long runs,
                    const std::vector<lab::Cell> &cells, Tabulate *tabulate) {
    return playKind(words, kind, runs, cells,
                    [tabulate](lab::Store &store, const std::vector<lab::Played> &played) {
                        printFigures(tabulate(store, played));
                    });
}

static void printFocus(lab::Store &store, const std::vector<lab::Played> &cells) {
    std::vector<lab::FocusFigures> rows;
    rows.reserve(cells.size());
    for (const lab::Played &played : cells)
        rows.push_back(lab::sumUpFocus(store, played.experiment, played.cell, played.runs));
    lab::printFocusTable(rows);
}

/// Of the searches and conditions that were asked for; false, and said, when there is none.
static bool listCells(const Words &words, std::vector<lab::Cell> &cells) {
    const std::string complaint =
        lab::makeCells(lab::splitList(words.searches), listAxes(words), cells);
    if (!complaint.empty())
        complain(complaint);
    return complaint.empty();
}

/// A rival knows neither verdict, trigger nor zoom.
static bool requireLibrary(const std::vector<lab::Cell> &cells) {
    const auto rival = std::find_if(cells.begin(), cells.end(), [](const lab::Cell &cell) {
        return cell.search->rival != nullptr;
    });
    if (rival != cells.end())
        complain(std::string(rival->search->name) + " is none of the library's searches");
    return rival == cells.end();
}

static int playFocus(const Words &words) {
    std::vector<lab::Cell> cells;
    return listCells(words, cells) ? playKind(words, "focus", words.runs, cells, printFocus)
                                   : EXIT_FAILURE;
}

/// Hours take longer than runs: a tenth of them, and a twentieth with drift.
static int playRefocus(const Words &words) {
    std::vector<lab::Cell> cells;
    if (!listCells(words, cells) || !requireLibrary(cells))
        return EXIT_FAILURE;
    int status = playKind(words, "change", words.runs, cells, lab::tabulateChange);
    if (status == EXIT_SUCCESS)
        status =
            playKind(words, "still", std::max(24L, words.runs / 10), cells, lab::tabulateStill);
    if (status == EXIT_SUCCESS)
        status = playKind(words, "drift", std::max(4L, words.runs / 20), cells, lab::tabulateDrift);
    return status;
}

static int playTracking(const Words &given) {
    Words words = given;
    std::vector<lab::Cell> cells;
    words.lists.emplace("calibrated", "0,1");
    if (!listCells(words, cells) || !requireLibrary(cells))
        return EXIT_FAILURE;
    return playKind(words, "tracking", words.runs, cells, lab::tabulateTracking);
}

/// What a verdict has to stand, unless conditions are given: all of them crossed with the light,
/// and a flat scene.
static int playVerdicts(const Words &given) {
    Words words = given;
    std::vector<lab::Cell> cells;
    const bool isUsual = words.lists.empty();
    if (isUsual)
        words.lists = {{"night", "off,on"},
                       {"noise", "1,4"},
                       {"backlash-focus", "0,4"},
                       {"delay", "0,1"},
                       {"scene", "plain,low-contrast,flat,flicker,light-step,two-depths,moving"}};
    if (!listCells(words, cells) || !requireLibrary(cells))
        return EXIT_FAILURE;
    return playKind(words, "focus", words.runs, cells, lab::tabulateVerdicts);
}

/// The store that is there, for those who only look into it.
static int withStore(const Words &words, const std::function<int(lab::Store &store)> &use) {
    if (!std::filesystem::exists(words.store))
        return complain(words.store + ": there is no such store");
    lab::Store store(words.store);
    return store.error().empty() ? use(store) : complain(words.store + ": " + store.error());
}

static int report(const Words &words) {
    return withStore(
        words, [&](lab::Store &store) { return lab::writeReport(store, words.build, words.out); });
}

static int giveRows(const Words &words) {
    lab::Cell cell;
    const std::string complaint = lab::readCell(words.cell, cell);
    if (!complaint.empty())
        return complain("--cell: " + complaint);
    return withStore(words, [&](lab::Store &store) {
        return lab::printStored(store, *lab::findKind(words.kind), cell, words.commit);
    });
}

/// Words checked before a store is made.
static int plan(const Words &words) {
    std::vector<lab::Cell> cells;
    if (!listCells(words, cells))
        return EXIT_FAILURE;
    lab::Store store(words.store);
    if (!store.error().empty())
        return complain(words.store + ": " + store.error());
    lab::printMissing(store, *lab::findKind(words.kind), cells, words.runs, words.commit,
                      words.chunk);
    return EXIT_SUCCESS;
}

static int takeIn(const Words &words) {
    lab::Store store(words.store);
    return store.error().empty() ? lab::importChunks(store, words.commit)
                                 : complain(words.store + ": " + store.error());
}

static int show(const Words &words) {
    lab::Cell cell;
    const std::string complaint = lab::readCell(words.cell, cell);
    if (!complaint.empty())
        return complain("--cell: " + complaint);
    return lab::showRun(cell, words.first, words.trace);
}

static int printRows(const Words &words) {
    lab::Cell cell;
    const std::string complaint = lab::readCell(words.cell, cell);
    if (!complaint.empty())
        return complain("--cell: " + complaint);
    return lab::printChunk(*lab::findKind(words.kind), cell, words.first, words.count,
                           words.commit);
}

static std::vector<std::string> nameKinds() {
    std::vector<std::string> names;
    for (const lab::Kind &kind : lab::allKinds())
        names.emplace_back(kind.name);
    return names;
}

namespace {
/// A word that chooses what is done, and whether conditions belong to it.
struct Command {
    CLI::App *app;
    int (*run)(const Words &words);
    bool takesConditions;
};
} // namespace

static void offerExperiments(CLI::App &app, std::vector<Command> &commands) {
    commands.push_back({app.add_subcommand("refocus", "false refocuses of still scenes, changes of "
                                                      "distance by their size, drift"),
                        playRefocus, true});
    commands.push_back(
        {app.add_subcommand("tracking", "how far off the focus is while the lens zooms"),
         playTracking, true});
    commands.push_back({app.add_subcommand("verdict", "verdicts against the truth, over many "
                                                      "conditions unless some are given"),
                        playVerdicts, true});
}

static void offerLooks(CLI::App &app, Words &words, std::vector<Command> &commands) {
    CLI::App *reported = app.add_subcommand("report", "a page of what the store holds");
    reported->add_option("--out", words.out, "folder of lab.html and its charts; out unless given");
    reported->add_option("--build", words.build, "whose rows; the last one's unless given");
    CLI::App *shown = app.add_subcommand("show", "one run again, frame by frame");
    shown->add_option("run", words.first, "its number")
        ->required()
        ->check(CLI::Range(0L, kMostRuns));
    shown->add_option("--cell", words.cell, kCellHelp);
    shown->add_option("--trace", words.trace, "where its unit's trace goes; out/lab_trace.txt");
    commands.push_back({reported, report, false});
    commands.push_back({shown, show, false});
}

static void offerExchange(CLI::App &app, Words &words, std::vector<Command> &commands) {
    CLI::App *chunk = app.add_subcommand("chunk", "print rows of one cell");
    chunk->add_option("first", words.first, "number of the first run")
        ->required()
        ->check(CLI::Range(0L, kMostRuns));
    chunk->add_option("count", words.count, "how many")
        ->required()
        ->check(CLI::Range(1L, kMostRuns));
    CLI::App *planned = app.add_subcommand(
        "plan", "list the chunks that are missing, for other machines (docs/lab.md)");
    planned->add_option("--chunk", words.chunk, "runs of each; 2000 unless given")
        ->check(CLI::Range(1L, kMostRuns));
    CLI::App *given = app.add_subcommand("rows", "print the rows of a cell that the store holds");
    for (CLI::App *cells : {chunk, given})
        cells->add_option("--cell", words.cell, kCellHelp);
    for (CLI::App *kinds : {chunk, planned, given})
        kinds->add_option("--kind", words.kind, "focus unless given")
            ->check(CLI::IsMember(nameKinds()));
    commands.push_back({chunk, printRows, false});
    commands.push_back({planned, plan, true});
    commands.push_back({given, giveRows, false});
    commands.push_back(
        {app.add_subcommand("import", "take in chunks from standard input"), takeIn, false});
}

/// What belongs to all of them.
static void offerCommon(CLI::App &app, Words &words) {
    app.add_option("--store", words.store, "SQLite file; out/lab.sqlite unless given");
    app.add_option("--commit", words.commit, "what the program was built from")->group("");
    app.add_option("--runs", words.runs, "of each cell; 10000 unless given")
        ->check(CLI::Range(1L, kMostRuns));
    app.add_option("--search", words.searches, "searches, of: " + lab::nameSearches())
        ->type_name("NAME,...");
    offerConditions(app, words);
    app.fallthrough();
    app.require_subcommand(0, 1);
}

/// A word that would go without effect is refused.
static bool hasStrayWords(const CLI::App &app, const Words &words) {
    return !words.lists.empty() || app.count("--search") + app.count("--runs") > 0;
}

static int obey(const CLI::App &app, const std::vector<Command> &commands, const Words &words) {
    for (const Command &command : commands) {
        if (!command.app->parsed())
            continue;
        if (!command.takesConditions && hasStrayWords(app, words))
            return complain(command.app->get_name() +
                            " takes no runs, searches and conditions of an experiment");
        return command.run(words);
    }
    return playFocus(words);
}

static int play(int argc, char **argv) {
    Words words;
    CLI::App app("How often does the autofocus miss, and is another search better? Plays seeded "
                 "runs on virtual cameras and keeps a row of each. Conditions that are lists are "
                 "crossed.",
                 "lab");
    std::vector<Command> commands;
    offerCommon(app, words);
    offerExperiments(app, commands);
    offerLooks(app, words, commands);
    offerExchange(app, words, commands);
    CLI11_PARSE(app, argc, argv);
    const int status = obey(app, commands, words);
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return status;
    return complain("standard output can't be written");
}

int main(int argc, char **argv) {
    try {
        return play(argc, argv);
    } catch (const std::exception &failure) {
        fprintf(stderr, "lab: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
