// The lab: how often does the autofocus miss, under which conditions, and is another search better?
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "chunk.h"
#include "condition.h"
#include "experiment.h"
#include "grid.h"
#include "report/report.h"
#include "show.h"
#include "table.h"

namespace {

struct Words {
    std::string store = "out/lab.sqlite";
    std::string commit = "unknown";
    std::string searches = "built-in";
    std::string cell;
    std::map<std::string, std::string> lists; // by option
    std::string out = "out";
    std::string build;
    std::string trace = "out/lab_trace.txt";
    long runs = 10000;
    long first = 0;
    long count = 0;
};

const char *const kCellHelp =
    "\"search=built-in noise=4\"; the library as loaded, by day, if not given";
constexpr long kMostRuns = 100000000;

int complain(const std::string &what) {
    fprintf(stderr, "lab: %s\n", what.c_str());
    return EXIT_FAILURE;
}

void offerList(CLI::App &app, Words &words, const std::string &name, const std::string &meaning) {
    app.add_option_function<std::string>(
           "--" + name, [&words, name](const std::string &list) { words.lists[name] = list; },
           meaning)
        ->type_name("LIST");
}

/// Every condition that the camera knows, as a list of values.
void offerConditions(CLI::App &app, Words &words) {
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
        ->type_name("LIST");
    offerList(app, words, "scene", "what is in front of the lens, of: " + lab::nameScenes());
    app.add_option_function<std::string>(
           "--backlash",
           [&words](const std::string &list) { words.lists["backlash-focus"] = list; },
           "short for --backlash-focus")
        ->type_name("LIST");
    for (const lab::Condition &condition : lab::allConditions()) {
        if (condition.name != "night")
            offerList(app, words, condition.name, condition.meaning);
    }
}

/// In the conditions' order, whatever the command line's.
std::vector<lab::Axis> listAxes(const Words &words) {
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

int tellEnding(lab::Ending ending) {
    constexpr int kInterrupted = 130;
    if (ending == lab::Ending::Interrupted)
        fprintf(stderr, "lab: interrupted; the same call goes on from here\n");
    return ending == lab::Ending::Whole         ? EXIT_SUCCESS
           : ending == lab::Ending::Interrupted ? kInterrupted
                                                : EXIT_FAILURE;
}

int playFocus(const Words &words) {
    lab::Plan plan = {lab::findKind("focus"), {}, words.runs, words.commit};
    const std::string complaint =
        lab::makeCells(lab::splitList(words.searches), listAxes(words), plan.cells);
    if (!complaint.empty())
        return complain(complaint);
    lab::Store store(words.store);
    if (!store.error().empty())
        return complain(words.store + ": " + store.error());
    std::vector<long> experiments;
    const lab::Ending ending = lab::play(plan, store, experiments);
    std::vector<lab::FocusFigures> rows;
    for (size_t index = 0; index < experiments.size(); ++index)
        rows.push_back(
            lab::sumUpFocus(store, experiments[index], lab::spell(plan.cells[index]), words.runs));
    lab::printFocusTable(rows);
    return tellEnding(ending);
}

int report(const Words &words) {
    if (!std::filesystem::exists(words.store))
        return complain(words.store + ": there is no such store");
    lab::Store store(words.store);
    if (!store.error().empty())
        return complain(words.store + ": " + store.error());
    return lab::writeReport(store, words.build, words.out);
}

int show(const Words &words) {
    lab::Cell cell;
    const std::string complaint = lab::readCell(words.cell, cell);
    if (!complaint.empty())
        return complain("--cell: " + complaint);
    return lab::showRun(cell, words.first, words.trace);
}

int printRows(const Words &words) {
    lab::Cell cell;
    const std::string complaint = lab::readCell(words.cell, cell);
    if (!complaint.empty())
        return complain("--cell: " + complaint);
    return lab::printChunk(*lab::findKind("focus"), cell, words.first, words.count, words.commit);
}

} // namespace

int main(int argc, char **argv) {
    Words words;
    CLI::App app("How often does the autofocus miss, and is another search better? Plays seeded "
                 "runs on virtual cameras and keeps a row of each. Conditions that are lists are "
                 "crossed.",
                 "lab");
    app.add_option("--store", words.store, "SQLite file; out/lab.sqlite unless given");
    app.add_option("--commit", words.commit, "what the program was built from")->group("");
    app.add_option("--runs", words.runs, "of each cell; 10000 unless given")
        ->check(CLI::Range(1L, kMostRuns));
    app.add_option("--search", words.searches, "searches, of: " + lab::nameSearches())
        ->type_name("LIST");
    offerConditions(app, words);
    CLI::App *chunk = app.add_subcommand("chunk", "print rows of one cell");
    chunk->add_option("first", words.first, "number of the first run")
        ->required()
        ->check(CLI::Range(0L, kMostRuns));
    chunk->add_option("count", words.count, "how many")
        ->required()
        ->check(CLI::Range(1L, kMostRuns));
    chunk->add_option("--cell", words.cell, kCellHelp);
    CLI::App *shown = app.add_subcommand("show", "one run again, frame by frame");
    shown->add_option("run", words.first, "its number")
        ->required()
        ->check(CLI::Range(0L, kMostRuns));
    shown->add_option("--cell", words.cell, kCellHelp);
    shown->add_option("--trace", words.trace, "where its unit's trace goes; out/lab_trace.txt");
    CLI::App *reported = app.add_subcommand("report", "a page of what the store holds");
    reported->add_option("--store", words.store, "out/lab.sqlite unless given");
    reported->add_option("--out", words.out, "folder of lab.html and its charts; out unless given");
    reported->add_option("--build", words.build, "whose rows; the last one's unless given");
    CLI11_PARSE(app, argc, argv);

    const int status = chunk->parsed()      ? printRows(words)
                       : shown->parsed()    ? show(words)
                       : reported->parsed() ? report(words)
                                            : playFocus(words);
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return status;
    return complain("standard output can't be written");
}
