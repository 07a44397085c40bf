#include "chunk.h"

#include <cstdio>
#include <cstdlib>

#include "player.h"
#include "row_text.h"

namespace lab {

std::string headOf(const Kind &kind, const Cell &cell, const std::string &commit) {
    return std::string("# ") + kind.name + " " + spell(cell) + " built " + commit;
}

int printChunk(const Kind &kind, const Cell &cell, long first, long count,
               const std::string &commit) {
    printf("%s\n", headOf(kind, cell, commit).c_str());
    for (long unit = first / kind.runsPerUnit; unit * kind.runsPerUnit < first + count; ++unit) {
        const std::vector<RowText> rows = playUnitApart(kind, cell, unit);
        if (rows.empty()) {
            fprintf(stderr, "lab: unit %ld has not come to its end\n", unit);
            return EXIT_FAILURE;
        }
        for (const RowText &row : rows) {
            const long run = atol(row.c_str());
            if (run >= first && run < first + count)
                printf("%s\n", row.c_str());
        }
    }
    return fflush(stdout) == 0 && ferror(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace lab
