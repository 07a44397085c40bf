#include "exchange.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "chunk.h"
#include "row_text.h"

namespace lab {

/// Whole units, for a unit of which runs are missing is played whole.
static long roundToUnits(long runs, const Kind &kind) {
    return (runs + kind.runsPerUnit - 1) / kind.runsPerUnit * kind.runsPerUnit;
}

void printMissing(Store &store, const Kind &kind, const std::vector<Cell> &cells, long wanted,
                  const std::string &commit, long about) {
    const long runs = roundToUnits(wanted, kind);
    const long chunk = roundToUnits(about, kind);
    for (const Cell &cell : cells) {
        const long experiment = store.enter(kind, cell, commit);
        for (long first = 0; first < runs; first += chunk) {
            const long count = std::min(chunk, runs - first);
            if (!store.findMissing(kind, experiment, first, count).empty())
                printf("%s\t%ld\t%ld\t%s\n", kind.name, first, count, spell(cell).c_str());
        }
    }
}

// ---- Taking in

namespace {
/// A chunk on its way into the store.
struct Incoming {
    const Kind *kind = nullptr;
    long experiment = -1;
    std::vector<RowText> rows;
    long taken = 0;
};
} // namespace

static bool complainOf(const std::string &what, const std::string &line) {
    fprintf(stderr, "lab: %s: %s\n", what.c_str(), line.c_str());
    return false;
}

static bool flush(Store &store, Incoming &incoming) {
    const bool isKept =
        incoming.rows.empty() || store.add(*incoming.kind, incoming.experiment, incoming.rows);
    incoming.taken += static_cast<long>(incoming.rows.size());
    incoming.rows.clear();
    return isKept || complainOf("the store refuses rows", store.error());
}

/// "# focus search=built-in noise=4 built 1a2b3c4"
static bool takeHead(Store &store, const std::string &commit, const std::string &line,
                     Incoming &incoming) {
    const std::string mark = " built ";
    const size_t kindEnd = line.find(' ', 2);
    const size_t built = line.rfind(mark);
    if (kindEnd == std::string::npos || built == std::string::npos || built < kindEnd)
        return complainOf("no head of a chunk", line);
    incoming.kind = findKind(line.substr(2, kindEnd - 2));
    Cell cell;
    if (incoming.kind == nullptr ||
        !readCell(line.substr(kindEnd + 1, built - kindEnd - 1), cell).empty())
        return complainOf("no head of a chunk", line);
    if (line.substr(built + mark.size()) != commit)
        return complainOf("another build than " + commit, line);
    incoming.experiment = store.enter(*incoming.kind, cell, commit);
    return incoming.experiment >= 0;
}

int importChunks(Store &store, const std::string &commit) {
    Incoming incoming;
    std::string line;
    bool isGood = true;
    while (std::getline(std::cin, line)) {
        if (line.rfind("# ", 0) == 0) {
            isGood = flush(store, incoming) && isGood;
            if (!takeHead(store, commit, line, incoming)) {
                incoming.kind = nullptr;
                isGood = false;
            }
        } else if (incoming.kind != nullptr) {
            incoming.rows.push_back(line);
        }
    }
    isGood = flush(store, incoming) && isGood;
    fprintf(stderr, "lab: %ld rows taken in\n", incoming.taken);
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}

// ---- Giving out

int printStored(Store &store, const Kind &kind, const Cell &cell, const std::string &commit) {
    const long experiment = store.enter(kind, cell, commit);
    std::string columns;
    for (const Column &column : kind.columns)
        columns += (columns.empty() ? "" : ", ") + std::string(column.name);
    const auto rows =
        store.ask("SELECT " + columns + " FROM " + kind.name +
                  " WHERE experiment = " + std::to_string(experiment) + " ORDER BY run");
    printf("%s\n", headOf(kind, cell, commit).c_str());
    for (const auto &row : rows) {
        for (size_t column = 0; column < row.size(); ++column)
            printf("%s%s", column == 0 ? "" : ",", row[column].c_str());
        printf("\n");
    }
    return rows.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace lab
