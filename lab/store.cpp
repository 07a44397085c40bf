#include "store.h"

#include <algorithm>
#include <cstdlib>
#include <sqlite3.h>
#include <sstream>

namespace lab {

static constexpr int kBusyMs = 30000; // another lab may be writing

static const char *const kExperiments =
    "CREATE TABLE IF NOT EXISTS experiments (id INTEGER PRIMARY KEY, kind TEXT, cell TEXT, "
    "hash TEXT, built TEXT, begun TEXT DEFAULT CURRENT_TIMESTAMP, UNIQUE (kind, hash, built))";

static std::string quote(const std::string &text) {
    std::string quoted = "'";
    for (const char letter : text)
        quoted += letter == '\'' ? "''" : std::string(1, letter);
    return quoted + "'";
}

/// The first column and the experiment are the key.
static std::string describeTable(const Kind &kind) {
    std::string table =
        std::string("CREATE TABLE IF NOT EXISTS ") + kind.name + " (experiment INTEGER";
    for (const Column &column : kind.columns)
        table += std::string(", ") + column.name + " " + column.type;
    return table + ", PRIMARY KEY (experiment, " + kind.columns.front().name + ")) WITHOUT ROWID";
}

Store::Store(const std::string &path) {
    if (sqlite3_open(path.c_str(), &database) != SQLITE_OK) {
        complaint = sqlite3_errmsg(database);
        return;
    }
    sqlite3_busy_timeout(database, kBusyMs);
    bool isGood = execute("PRAGMA journal_mode = WAL") && execute("PRAGMA synchronous = NORMAL") &&
                  execute(kExperiments);
    for (const Kind &kind : allKinds())
        isGood = isGood && execute(describeTable(kind));
}

Store::~Store() {
    sqlite3_close(database);
}

bool Store::execute(const std::string &statement) {
    if (sqlite3_exec(database, statement.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK)
        return true;
    complaint = sqlite3_errmsg(database);
    return false;
}

std::vector<std::vector<std::string>> Store::ask(const std::string &question) {
    std::vector<std::vector<std::string>> answer;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(database, question.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        complaint = sqlite3_errmsg(database);
        return answer;
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
        std::vector<std::string> row;
        for (int column = 0; column < sqlite3_column_count(statement); ++column) {
            const auto *text =
                reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
            row.emplace_back(text == nullptr ? "" : text);
        }
        answer.push_back(row);
    }
    sqlite3_finalize(statement);
    return answer;
}

long Store::enter(const Kind &kind, const Cell &cell, const std::string &commit) {
    const std::string key = quote(kind.name) + ", " + quote(hashOf(cell)) + ", " + quote(commit);
    if (!execute("INSERT OR IGNORE INTO experiments (kind, hash, built, cell) VALUES (" + key +
                 ", " + quote(spell(cell)) + ")"))
        return -1;
    const auto found = ask("SELECT id FROM experiments WHERE (kind, hash, built) = (" + key + ")");
    return found.empty() ? -1 : atol(found[0][0].c_str());
}

static std::vector<std::string> splitValues(const RowText &row) {
    std::vector<std::string> values;
    size_t start = 0;
    for (size_t comma; (comma = row.find(',', start)) != std::string::npos; start = comma + 1)
        values.push_back(row.substr(start, comma - start));
    values.push_back(row.substr(start));
    return values;
}

bool Store::add(const Kind &kind, long experiment, const std::vector<RowText> &rows) {
    std::string question = std::string("INSERT OR IGNORE INTO ") + kind.name + " VALUES (?";
    for (size_t column = 0; column < kind.columns.size(); ++column)
        question += ", ?";
    sqlite3_stmt *statement = nullptr;
    bool isGood = execute("BEGIN") && sqlite3_prepare_v2(database, (question + ")").c_str(), -1,
                                                         &statement, nullptr) == SQLITE_OK;
    for (const RowText &row : rows) {
        const std::vector<std::string> values = splitValues(row);
        isGood = isGood && values.size() == kind.columns.size();
        if (!isGood)
            break;
        sqlite3_bind_int64(statement, 1, experiment);
        for (size_t column = 0; column < values.size(); ++column)
            sqlite3_bind_text(statement, static_cast<int>(column) + 2, values[column].c_str(), -1,
                              SQLITE_TRANSIENT);
        isGood = sqlite3_step(statement) == SQLITE_DONE && sqlite3_reset(statement) == SQLITE_OK;
    }
    sqlite3_finalize(statement);
    if (!isGood)
        complaint = sqlite3_errmsg(database);
    return execute(isGood ? "COMMIT" : "ROLLBACK") && isGood;
}

std::vector<long> Store::findMissing(const Kind &kind, long experiment, long first, long count) {
    std::ostringstream question;
    question << "SELECT " << kind.columns.front().name << " / " << kind.runsPerUnit
             << ", COUNT(*) FROM " << kind.name << " WHERE experiment = " << experiment
             << " GROUP BY 1 HAVING COUNT(*) = " << kind.runsPerUnit << " ORDER BY 1";
    std::vector<long> present;
    for (const auto &row : ask(question.str()))
        present.push_back(atol(row[0].c_str()));
    std::vector<long> missing;
    for (long unit = first / kind.runsPerUnit; unit * kind.runsPerUnit < first + count; ++unit) {
        if (!std::binary_search(present.begin(), present.end(), unit))
            missing.push_back(unit);
    }
    return missing;
}

std::vector<Experiment> Store::experiments() {
    std::vector<Experiment> all;
    for (const auto &row : ask("SELECT id, kind, cell, hash, built FROM experiments ORDER BY id")) {
        const auto count = ask("SELECT COUNT(*) FROM " + row[1] + " WHERE experiment = " + row[0]);
        all.push_back({atol(row[0].c_str()), row[1], row[2], row[3], row[4],
                       count.empty() ? 0 : atol(count[0][0].c_str())});
    }
    return all;
}

} // namespace lab
