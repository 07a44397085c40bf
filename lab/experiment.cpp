#include "experiment.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "player.h"
#include "progress.h"
#include "row_text.h"

namespace lab {

static volatile sig_atomic_t interrupts = 0;

static void noteInterrupt(int) {
    interrupts = interrupts + 1;
    if (interrupts > 1)
        _exit(130);
}

namespace {
/// Of one cell: its experiment and the units that are still to be played.
struct Task {
    const Cell *cell;
    long experiment;
    std::vector<long> units;
};
} // namespace

static std::vector<Task> listTasks(const Plan &plan, Store &store) {
    std::vector<Task> tasks;
    for (const Cell &cell : plan.cells) {
        const long experiment = store.enter(*plan.kind, cell, plan.commit);
        tasks.push_back(
            {&cell, experiment, store.findMissing(*plan.kind, experiment, 0, plan.runs)});
    }
    return tasks;
}

static long countRuns(const Plan &plan, const std::vector<Task> &tasks) {
    long units = 0;
    for (const Task &task : tasks)
        units += static_cast<long>(task.units.size());
    return units * plan.kind->runsPerUnit;
}

namespace {
/// What goes on while the cells are played.
struct Course {
    Progress progress;
    bool isBroken = false;
};
} // namespace

static void keep(const Plan &plan, const Task &task, Store &store, Course &course, long unit,
                 const std::vector<RowText> &rows) {
    const bool isWhole = rows.size() == static_cast<size_t>(plan.kind->runsPerUnit);
    if (!isWhole) {
        Progress::clear();
        fprintf(stderr, "lab: unit %ld of %s has not come to its end\n", unit,
                spell(*task.cell).c_str());
    } else if (!store.add(*plan.kind, task.experiment, rows)) {
        Progress::clear();
        fprintf(stderr, "lab: the store refuses rows: %s\n", store.error().c_str());
    } else {
        course.progress.add(plan.kind->runsPerUnit);
        return;
    }
    course.isBroken = true;
}

Ending play(const Plan &plan, Store &store, std::vector<long> &experiments) {
    const std::vector<Task> tasks = listTasks(plan, store);
    Course course = {Progress(countRuns(plan, tasks))};
    signal(SIGINT, noteInterrupt);
    for (const Task &task : tasks) {
        experiments.push_back(task.experiment);
        if (task.units.empty() || interrupts > 0)
            continue;
        playUnits(
            *plan.kind, *task.cell, task.units,
            [&](long unit, const std::vector<RowText> &rows) {
                keep(plan, task, store, course, unit, rows);
            },
            [] { return interrupts > 0; });
    }
    signal(SIGINT, SIG_DFL);
    Progress::clear();
    course.progress.sumUp();
    if (interrupts > 0)
        return Ending::Interrupted;
    if (countRuns(plan, listTasks(plan, store)) > 0) {
        fprintf(stderr, "lab: rows are missing; the same call plays them\n");
        course.isBroken = true;
    }
    return course.isBroken ? Ending::Broken : Ending::Whole;
}

} // namespace lab
