// What has been played, in one SQLite file: a table of experiments (kind, cell, who built the
// program) and a table a kind with its rows. A row that is there already stays as it is, so that
// whatever is played or imported twice does no harm.
#pragma once

#include <string>
#include <vector>

#include "cell.h"
#include "kind.h"
#include "row_text.h"

struct sqlite3;

namespace lab {

struct Experiment {
    long id = 0;
    std::string kind;
    std::string cell; ///< As spell() writes it.
    std::string hash;
    std::string commit;
    long rows = 0;
};

class Store {
public:
    /// Opens or makes the file; error() says why there is none.
    explicit Store(const std::string &path);
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    const std::string &error() const { return complaint; }

    /// The experiment's number; it is entered when it is new.
    long enter(const Kind &kind, const Cell &cell, const std::string &commit);

    /// In one transaction; false when the file refuses.
    bool add(const Kind &kind, long experiment, const std::vector<RowText> &rows);

    /// Units of which a row is missing among the first @p runs.
    std::vector<long> findMissing(const Kind &kind, long experiment, long first, long count);

    std::vector<Experiment> experiments();

    /// Any question, as rows of texts; NULL is empty.
    std::vector<std::vector<std::string>> ask(const std::string &question);

private:
    bool execute(const std::string &statement);

    sqlite3 *database = nullptr;
    std::string complaint;
};

} // namespace lab
