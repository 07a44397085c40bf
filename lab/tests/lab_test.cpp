// The lab's own arithmetic: cells and their texts, shares, grids, the store.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>

#include "cell.h"
#include "condition.h"
#include "grid.h"
#include "kind.h"
#include "row_text.h"
#include "statistics.h"
#include "store.h"

static std::string respell(const std::string &text) {
    lab::Cell cell;
    const std::string complaint = lab::readCell(text, cell);
    return complaint.empty() ? lab::spell(cell) : "! " + complaint;
}

TEST(Cell, has_one_text_whatever_the_order_and_spelling_of_its_conditions) {
    const std::string text = "search=golden noise=4 backlash-focus=8";
    EXPECT_EQ(respell("backlash-focus=8 noise=+4.0 search=golden"), text);
    EXPECT_EQ(respell("backlash-focus=8 night=off delay=0 noise=4 nearest=1.50 search=golden"),
              text);
    lab::Cell one;
    lab::Cell other;
    lab::readCell("noise=4 delay=1", one);
    lab::readCell("noise=4 delay=2", other);
    EXPECT_NE(lab::hashOf(one), lab::hashOf(other));
}

TEST(Cell, says_what_is_wrong_with_a_text) {
    EXPECT_EQ(respell("noise=loud"), "! noise: loud is no factor from 0 to 100");
    EXPECT_EQ(respell("seed=4"), "! seed is no condition of a run");
    EXPECT_EQ(respell("noise=2 noise=4"), "! noise is said twice");
    EXPECT_EQ(respell("noise"), "! noise is no NAME=VALUE");
    EXPECT_EQ(respell("search=best").substr(0, 20), "! best is no search:");
    EXPECT_EQ(respell("nearest=1").substr(0, 2), "! ");
}

TEST(Grid, crosses_conditions_and_keeps_equal_cells_once) {
    std::vector<lab::Cell> cells;
    EXPECT_EQ(lab::makeCells({"built-in", "hill"},
                             {{"night", {"off", "on"}}, {"noise", {"1", "4", "1"}}}, cells),
              "");
    ASSERT_EQ(cells.size(), 8U);
    EXPECT_EQ(lab::spell(cells[0]), "search=built-in");
    EXPECT_EQ(lab::spell(cells[3]), "search=built-in night=on noise=4");
    EXPECT_NE(lab::makeCells({"built-in"}, {{"scene", {"sunset"}}}, cells), "");
}

TEST(Grid, knows_every_scene_and_search_that_it_names) {
    for (const lab::Scene &scene : lab::allScenes()) {
        std::vector<lab::Cell> cells;
        EXPECT_EQ(lab::makeCells({"built-in"}, {{"scene", {scene.name}}}, cells), "") << scene.name;
    }
}

TEST(Share, has_wilsons_interval) {
    // As in the textbooks' tables for 95 %.
    EXPECT_NEAR((lab::Share{8, 10}.low()), 49.02, 0.01);
    EXPECT_NEAR((lab::Share{8, 10}.high()), 94.33, 0.01);
    EXPECT_NEAR((lab::Share{0, 10}.high()), 27.75, 0.01);
    EXPECT_EQ((lab::Share{0, 10}.low()), 0);
    EXPECT_NEAR((lab::Share{10, 10}.low()), 72.25, 0.01);
}

TEST(Quantile, is_the_smallest_value_that_the_share_does_not_exceed) {
    const std::vector<double> sorted = {1, 2, 3, 4};
    EXPECT_EQ(lab::quantileOf(sorted, 0.5), 2);
    EXPECT_EQ(lab::quantileOf(sorted, 0.51), 3);
    EXPECT_EQ(lab::quantileOf(sorted, 1), 4);
    EXPECT_EQ(lab::quantileOf({}, 0.5), 0);
}

namespace {
/// A store in a file that goes with it.
class StoreTest : public testing::Test {
protected:
    StoreTest() {
        const int file = mkstemp(path);
        close(file);
        lab::readCell("noise=4", cell);
    }
    ~StoreTest() override {
        for (const char *suffix : {"", "-wal", "-shm"})
            unlink((path + std::string(suffix)).c_str());
    }

    static std::vector<lab::RowText> makeRows(long from, long to) {
        std::vector<lab::RowText> rows;
        for (long run = from; run < to; ++run)
            rows.push_back(std::to_string(run) + ",A,12880,0.214,-0.067,0,0.067");
        return rows;
    }

    char path[32] = "/tmp/lab_test.XXXXXX";
    const lab::Kind &kind = *lab::findKind("still"); // 24 runs a unit
    lab::Cell cell;
};
} // namespace

TEST_F(StoreTest, plays_again_what_is_missing_and_nothing_else) {
    lab::Store store(path);
    const long experiment = store.enter(kind, cell, "one");
    EXPECT_TRUE(store.add(kind, experiment, makeRows(24, 48)));
    EXPECT_TRUE(store.add(kind, experiment, makeRows(72, 80))); // a unit cut short
    EXPECT_EQ(store.findMissing(kind, experiment, 0, 96), (std::vector<long>{0, 2, 3}));
    EXPECT_EQ(store.findMissing(kind, experiment, 24, 24), (std::vector<long>{}));
}

TEST_F(StoreTest, keeps_a_row_once_and_builds_apart) {
    lab::Store store(path);
    const long experiment = store.enter(kind, cell, "one");
    EXPECT_TRUE(store.add(kind, experiment, makeRows(0, 24)));
    EXPECT_TRUE(store.add(kind, experiment, makeRows(12, 48)));
    EXPECT_EQ(store.enter(kind, cell, "one"), experiment);
    EXPECT_NE(store.enter(kind, cell, "other"), experiment);
    ASSERT_EQ(store.experiments().size(), 2U);
    EXPECT_EQ(store.experiments().front().rows, 48);
}

TEST_F(StoreTest, takes_all_rows_of_a_unit_or_none) {
    lab::Store store(path);
    const long experiment = store.enter(kind, cell, "one");
    std::vector<lab::RowText> rows = makeRows(0, 3);
    rows.emplace_back("3,A,12880");
    EXPECT_FALSE(store.add(kind, experiment, rows));
    EXPECT_EQ(store.experiments().front().rows, 0);
}
