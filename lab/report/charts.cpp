#include "report/charts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

#include "searches.h"
#include "statistics.h"
#include "table.h"

namespace lab {

static constexpr double kWidth = 860;
static constexpr size_t kLeastPoints = 3; // of a line

// ---- Success over a condition

namespace {
struct Point {
    double value;
    const CellFindings *findings;
};

struct Series {
    Cell rest; ///< What its cells have in common.
    std::string name;
    std::string looks;
    bool isNight;
    std::vector<Point> points;
};
} // namespace

static Cell without(const Cell &cell, const std::string &condition) {
    Cell rest = cell;
    rest.settings.erase(
        std::remove_if(rest.settings.begin(), rest.settings.end(),
                       [&](const auto &setting) { return setting.first == condition; }),
        rest.settings.end());
    return rest;
}

static double valueOf(const Cell &cell, const std::string &condition) {
    return atof(settingOf(cell, condition).c_str());
}

/// A condition that is no number has no axis.
static bool isNumeric(const Cell &cell, const std::string &condition) {
    const std::string text = settingOf(cell, condition);
    char *end = nullptr;
    strtod(text.c_str(), &end);
    return *end == '\0';
}

/// A search that is there to be the worst would only hide others.
static bool isPlanted(const Cell &cell) {
    return cell.search->name == std::string("blur");
}

/// A colour a search.
static std::string looksOf(const Cell &cell) {
    return seriesClass(static_cast<size_t>(cell.search - allSearches().data()));
}

static std::vector<Series> groupSeries(const std::vector<CellFindings> &all,
                                       const std::string &condition) {
    const Settings common = findCommon(all);
    std::vector<Series> series;
    std::map<std::string, size_t> known;
    for (const CellFindings &findings : all) {
        const Cell rest = without(findings.cell, condition);
        if (!isNumeric(findings.cell, condition) || isPlanted(findings.cell))
            continue;
        const auto [at, isNew] = known.emplace(spell(rest), series.size());
        if (isNew)
            series.push_back({rest,
                              describe(rest, common),
                              looksOf(rest),
                              settingOf(rest, "night") == "on",
                              {}});
        series[at->second].points.push_back({valueOf(findings.cell, condition), &findings});
    }
    return series;
}

/// Beside the light only one condition changes in a chart.
static bool isPlain(const Series &series, const Settings &common) {
    return series.rest.settings.size() <= common.size() + (series.isNight ? 1 : 0);
}

static std::vector<Series> listSeries(const std::vector<CellFindings> &all,
                                      const std::string &condition) {
    const Settings common = findCommon(all);
    std::vector<Series> series = groupSeries(all, condition);
    series.erase(std::remove_if(series.begin(), series.end(),
                                [&](const Series &one) {
                                    return one.points.size() < kLeastPoints ||
                                           !isPlain(one, common);
                                }),
                 series.end());
    for (Series &one : series)
        std::sort(one.points.begin(), one.points.end(),
                  [](const Point &a, const Point &b) { return a.value < b.value; });
    return series;
}

std::vector<std::string> listVaried(const std::vector<CellFindings> &all) {
    std::vector<std::string> names;
    for (const CellFindings &findings : all) {
        for (const auto &[name, value] : findings.cell.settings) {
            const bool isKnown = std::find(names.begin(), names.end(), name) != names.end();
            if (!isKnown && name != "night" && !listSeries(all, name).empty())
                names.push_back(name);
        }
    }
    return names;
}

namespace {
/// Where a value of the condition lies on the paper, evenly spaced whatever it is.
class Plane {
public:
    Plane(double from, const std::vector<Series> &series) : left(from) {
        for (const Series &one : series) {
            for (const Point &point : one.points)
                values.push_back(point.value);
        }
        std::sort(values.begin(), values.end());
        values.erase(std::unique(values.begin(), values.end()), values.end());
    }

    double across(double value) const {
        const auto at = std::lower_bound(values.begin(), values.end(), value) - values.begin();
        const auto sections = static_cast<double>(values.size());
        return left + kPlaneWidth * (static_cast<double>(at) + 0.5) / sections;
    }

    static double up(double percent) {
        return kPlaneBottom - (kPlaneBottom - kPlaneTop) * percent / 100;
    }

    void draw(Drawing &drawing, const std::string &title, const std::string &condition) const {
        const double right = left + kPlaneWidth;
        for (int percent = 0; percent <= 100; percent += 20) {
            drawing.line(left, up(percent), right, up(percent), "grid");
            drawing.text(left - 8, up(percent) + 4, "end",
                         std::to_string(percent) + (percent == 100 ? " %" : ""), "small");
        }
        for (const double value : values)
            drawing.text(across(value), kPlaneBottom + 18, "middle",
                         spellNumber(value, value == std::floor(value) ? 0 : 2), "small");
        drawing.line(left, kPlaneBottom, right, kPlaneBottom, "axis");
        drawing.text(left + kPlaneWidth / 2, kPlaneTop - 14, "middle", title, "head");
        drawing.text(left + kPlaneWidth / 2, kPlaneBottom + 38, "middle", condition);
    }

private:
    static constexpr double kPlaneTop = 40;
    static constexpr double kPlaneBottom = 300;
    static constexpr double kPlaneWidth = 290;

    double left;
    std::vector<double> values;
};
} // namespace

static void drawPoint(Drawing &drawing, const Plane &plane, const Point &point, double shift,
                      const std::string &looks) {
    const Share &share = point.findings->figures.within;
    const double x = plane.across(point.value) + shift;
    drawing.line(x, Plane::up(share.low()), x, Plane::up(share.high()), looks);
    drawing.dot(x, Plane::up(share.percent()), 3.2, looks,
                describe(point.findings->cell) + ": " + spellNumber(share.percent(), 2) + " % of " +
                    std::to_string(share.whole));
}

static void drawSeries(Drawing &drawing, const Plane &plane, const Series &one, double shift) {
    std::string points;
    for (const Point &point : one.points)
        points += spellNumber(plane.across(point.value) + shift, 1) + "," +
                  spellNumber(Plane::up(point.findings->figures.within.percent()), 1) + " ";
    drawing.path(points, one.looks + " thick");
    for (const Point &point : one.points)
        drawPoint(drawing, plane, point, shift, one.looks);
}

/// Lines beside one another where they would hide one another.
static void drawLight(Drawing &drawing, const Plane &plane, const std::vector<Series> &series,
                      bool isNight) {
    double shift = -2.0 * static_cast<double>(series.size()) / 2;
    for (const Series &one : series) {
        if (one.isNight == isNight)
            drawSeries(drawing, plane, one, shift);
        shift += 2;
    }
}

Drawing drawSuccess(const std::vector<CellFindings> &all, const std::string &condition) {
    const std::vector<Series> series = listSeries(all, condition);
    Drawing drawing(kWidth, 348);
    const Plane day(56, series);
    const Plane night(406, series);
    day.draw(drawing, "day", condition);
    night.draw(drawing, "night", condition);
    drawLight(drawing, day, series, false);
    drawLight(drawing, night, series, true);
    std::set<std::string> named;
    double y = 56;
    for (const Series &one : series) {
        if (!named.insert(one.rest.search->name).second)
            continue;
        drawing.line(714, y - 4, 740, y - 4, one.looks + " thick");
        drawing.text(748, y, "start", one.rest.search->name, "small");
        y += 20;
    }
    return drawing;
}

// ---- Frames

static constexpr double kFramesLeft = 300;
static constexpr double kFramesRow = 24;

static double niceEnd(double most) {
    const double unit = std::pow(10, std::floor(std::log10(std::max(most, 1.0))));
    for (const double factor : {1.0, 2.0, 3.0, 5.0, 10.0}) {
        if (factor * unit >= most)
            return factor * unit;
    }
    return most;
}

/// Of the sorted frames: ends of the strip, ends of the box, median, most.
static std::array<double, 6> takeQuantiles(const CellFindings &findings) {
    std::vector<double> frames;
    for (const FocusRun &run : findings.runs)
        frames.push_back(run.frames);
    std::sort(frames.begin(), frames.end());
    return {quantileOf(frames, 0.05), quantileOf(frames, 0.25), quantileOf(frames, 0.5),
            quantileOf(frames, 0.75), quantileOf(frames, 0.95), quantileOf(frames, 1)};
}

/// Beside the light nothing is special, unless there are few cells.
static std::vector<CellFindings> chooseForFrames(const std::vector<CellFindings> &cells) {
    constexpr size_t kMostRows = 40;
    if (cells.size() <= kMostRows)
        return cells;
    const Settings common = findCommon(cells);
    std::vector<CellFindings> chosen;
    for (const CellFindings &findings : cells) {
        const size_t light = settingOf(findings.cell, "night") == "on" ? 1 : 0;
        if (findings.cell.settings.size() == common.size() + light)
            chosen.push_back(findings);
    }
    return chosen;
}

Drawing drawFrames(const std::vector<CellFindings> &cells) {
    const std::vector<CellFindings> all = chooseForFrames(cells);
    const Settings common = findCommon(cells);
    double most = 1;
    for (const CellFindings &findings : all)
        most = std::max(most, takeQuantiles(findings)[5]);
    const double end = niceEnd(most);
    const double bottom = 20 + kFramesRow * static_cast<double>(all.size());
    const double right = kWidth - 20;
    const auto across = [&](double frames) {
        return kFramesLeft + (right - kFramesLeft) * frames / end;
    };
    Drawing drawing(kWidth, bottom + 48);
    for (int part = 0; part <= 5; ++part) {
        const double frames = end * part / 5;
        drawing.line(across(frames), 8, across(frames), bottom, "grid");
        drawing.text(across(frames), bottom + 16, "middle", spellNumber(frames, 0), "small");
    }
    drawing.text((kFramesLeft + right) / 2, bottom + 38, "middle",
                 "frames from the order to its end");
    double y = 20;
    for (const CellFindings &findings : all) {
        const std::array<double, 6> at = takeQuantiles(findings);
        const std::string looks = looksOf(findings.cell);
        const std::string tip = describe(findings.cell) + ": median " + spellNumber(at[2], 0) +
                                ", 95 % " + spellNumber(at[4], 0) + ", most " +
                                spellNumber(at[5], 0);
        drawing.text(kFramesLeft - 10, y + 8, "end", describe(findings.cell, common), "small");
        drawing.line(across(at[0]), y + 4, across(at[4]), y + 4, looks);
        drawing.box(across(at[1]), y - 2, std::max(1.0, across(at[3]) - across(at[1])), 12,
                    looks + " pale", tip);
        drawing.line(across(at[2]), y - 3, across(at[2]), y + 11, looks + " thick");
        drawing.dot(across(at[5]), y + 4, 2, looks, tip);
        y += kFramesRow;
    }
    return drawing;
}

// ---- Maps

static constexpr size_t kMapColumns = 16;
static constexpr size_t kMapRows = 8;
static constexpr double kMapLeft = 62;
static constexpr double kMapTop = 34;
static constexpr double kMapColumn = 22;
static constexpr double kMapRow = 18;
static constexpr double kZoomFrom = 10000;
static constexpr double kZoomTo = 20520;

/// From a calm colour where all is well to a loud one where half is lost, and on to black; a red
/// that grows darker too, so that it can be told without its colour.
static std::string colourOf(double share) {
    const double loss = std::clamp((1 - share) * 2, 0.0, 1.0);
    const double rest = std::clamp((0.5 - share) * 2, 0.0, 1.0);
    const auto mix = [&](double well, double lost, double worst) {
        const double half = well + (lost - well) * std::sqrt(loss);
        return std::to_string(static_cast<int>(half + (worst - half) * rest));
    };
    return "rgb(" + mix(222, 200, 60) + "," + mix(235, 60, 0) + "," + mix(247, 30, 10) + ")";
}

static size_t binOf(double value, double from, double to, size_t bins) {
    const double share = (value - from) / (to - from);
    const auto bin = static_cast<long>(share * static_cast<double>(bins));
    return static_cast<size_t>(std::clamp(bin, 0L, static_cast<long>(bins) - 1));
}

Drawing drawMap(const CellFindings &findings, const Settings &common) {
    double mostDioptres = 0.1;
    for (const FocusRun &run : findings.runs)
        mostDioptres = std::max(mostDioptres, run.dioptres);
    std::array<std::array<Share, kMapColumns>, kMapRows> shares{};
    for (const FocusRun &run : findings.runs) {
        Share &share = shares[binOf(run.dioptres, 0, mostDioptres, kMapRows)]
                             [binOf(run.zoom, kZoomFrom, kZoomTo, kMapColumns)];
        share.whole += 1;
        share.part += std::fabs(run.error) <= 1 ? 1 : 0;
    }
    Drawing drawing(kMapLeft + kMapColumn * kMapColumns + 10, kMapTop + kMapRow * kMapRows + 42);
    drawing.text(4, 18, "start", describe(findings.cell, common), "head");
    for (size_t row = 0; row < kMapRows; ++row) {
        const double y = kMapTop + kMapRow * static_cast<double>(row);
        const double dioptres =
            mostDioptres * (static_cast<double>(row) + 0.5) / static_cast<double>(kMapRows);
        drawing.text(kMapLeft - 6, y + 13, "end", spellNumber(1 / dioptres, 1) + " m", "small");
        for (size_t column = 0; column < kMapColumns; ++column) {
            const Share &share = shares[row][column];
            if (share.whole == 0)
                continue;
            drawing.box(kMapLeft + kMapColumn * static_cast<double>(column), y, kMapColumn - 1,
                        kMapRow - 1, "cell;fill:" + colourOf(share.percent() / 100),
                        std::to_string(share.part) + " of " + std::to_string(share.whole) +
                            " within one half depth");
        }
    }
    const double bottom = kMapTop + kMapRow * kMapRows;
    drawing.text(kMapLeft, bottom + 16, "start", "wide", "small soft");
    drawing.text(kMapLeft + kMapColumn * kMapColumns, bottom + 16, "end", "tele", "small soft");
    drawing.text(kMapLeft, bottom + 34, "start", "within 1 h:", "small soft");
    double x = kMapLeft + 80;
    for (const int percent : {100, 99, 90, 50, 0}) {
        drawing.box(x, bottom + 24, 12, 12,
                    "cell;fill:" + colourOf(static_cast<double>(percent) / 100));
        drawing.text(x + 16, bottom + 34, "start", std::to_string(percent) + " %", "small soft");
        x += 52;
    }
    return drawing;
}

} // namespace lab
