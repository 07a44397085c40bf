// "lab chunk" as a program of its own that needs no store: for other processors, and for tests.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cell.h"
#include "chunk.h"
#include "kind.h"
#include "option_table.h"

static int refuse(const std::string &what) {
    fprintf(stderr,
            "lab_rows: %s\n"
            "usage: lab_rows KIND FIRST COUNT [\"search=built-in noise=4\"]\n",
            what.c_str());
    return EXIT_FAILURE;
}

int main(int argc, char **argv) {
    uint64_t first = 0;
    uint64_t count = 0;
    if (argc < 4 || argc > 5)
        return refuse("takes three or four words");
    const lab::Kind *kind = lab::findKind(argv[1]);
    if (kind == nullptr)
        return refuse(std::string("there is no kind '") + argv[1] + "'");
    if (!vcam::parseWhole(argv[2], first) || !vcam::parseWhole(argv[3], count) || count == 0)
        return refuse("FIRST and COUNT are whole numbers");
    lab::Cell cell;
    const std::string complaint = lab::readCell(argc == 5 ? argv[4] : "", cell);
    if (!complaint.empty())
        return refuse(complaint);
    return lab::printChunk(*kind, cell, static_cast<long>(first), static_cast<long>(count),
                           "unnamed");
}
