#include "report/charts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>

#include "statistics.h"

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

/// A colour a search, dashes by night.
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
        if (!isNumeric(findings.cell, condition))
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
                                    return one.points.size() < kLeastPoints || !isPlain(one, common);
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
/// The plane of a chart: where a value lies on the paper.
struct Plane {
    double left, top, right, bottom;
    std::vector<double> values; ///< Of the condition, evenly spaced whatever they are.

    double across(double value) const {
        const auto at = std::lower_bound(values.begin(), values.end(), value) - values.begin();
        const auto sections = static_cast<double>(values.size());
        return left + (right - left) * (static_cast<double>(at) + 0.5) / sections;
    }
    double up(double percent) const { return bottom - (bottom - top) * percent / 100; }
};
} // namespace

static Plane layPlane(const std::vector<Series> &series) {
    Plane plane = {60, 16, 560, 296, {}};
    for (const Series &one : series) {
        for (const Point &point : one.points)
            plane.values.push_back(point.value);
    }
    std::sort(plane.values.begin(), plane.values.end());
    plane.values.erase(std::unique(plane.values.begin(), plane.values.end()), plane.values.end());
    return plane;
}

static void drawPlane(Drawing &drawing, const Plane &plane, const std::string &condition) {
    for (int percent = 0; percent <= 100; percent += 20) {
        drawing.line(plane.left, plane.up(percent), plane.right, plane.up(percent), "grid");
        drawing.text(plane.left - 8, plane.up(percent) + 4, "end",
                     std::to_string(percent) + (percent == 100 ? " %" : ""), "small");
    }
    for (const double value : plane.values)
        drawing.text(plane.across(value), plane.bottom + 18, "middle",
                     spellNumber(value, value == std::floor(value) ? 0 : 1), "small");
    drawing.line(plane.left, plane.bottom, plane.right, plane.bottom, "axis");
    drawing.text((plane.left + plane.right) / 2, plane.bottom + 38, "middle", condition);
}

static void drawPoint(Drawing &drawing, const Plane &plane, const Point &point, double shift,
                      const std::string &looks) {
    const Share &share = point.findings->figures.within;
    const double x = plane.across(point.value) + shift;
    drawing.line(x, plane.up(share.low()), x, plane.up(share.high()), looks);
    drawing.dot(x, plane.up(share.percent()), 3.4, looks,
                describe(point.findings->cell) + ": " + spellNumber(share.percent(), 2) + " % of " +
                    std::to_string(share.whole));
}

static void drawSeries(Drawing &drawing, const Plane &plane, const Series &one, double shift) {
    std::string points;
    for (const Point &point : one.points)
        points += spellNumber(plane.across(point.value) + shift, 1) + "," +
                  spellNumber(plane.up(point.findings->figures.within.percent()), 1) + " ";
    drawing.path(points, one.looks + " thick" + (one.isNight ? " dashed" : ""));
    for (const Point &point : one.points)
        drawPoint(drawing, plane, point, shift, one.looks);
}

Drawing drawSuccess(const std::vector<CellFindings> &all, const std::string &condition) {
    const std::vector<Series> series = listSeries(all, condition);
    const Plane plane = layPlane(series);
    const auto count = static_cast<double>(series.size());
    Drawing drawing(kWidth, std::max(350.0, 30 + 20 * count));
    drawPlane(drawing, plane, condition);
    for (size_t number = 0; number < series.size(); ++number) {
        const Series &one = series[number];
        // Beside one another, where they would hide one another.
        drawSeries(drawing, plane, one, 4 * (static_cast<double>(number) - (count - 1) / 2));
        const double y = 26 + 20 * static_cast<double>(number);
        drawing.line(584, y - 4, 612, y - 4, one.looks + " thick" + (one.isNight ? " dashed" : ""));
        drawing.text(620, y, "start", one.name, "small");
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

Drawing drawFrames(const std::vector<CellFindings> &all) {
    const Settings common = findCommon(all);
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
    drawing.text(kMapLeft, bottom + 34, "start", "within one half depth:", "small soft");
    double x = kMapLeft + 130;
    for (const int percent : {100, 99, 90, 50, 0}) {
        drawing.box(x, bottom + 24, 12, 12,
                    "cell;fill:" + colourOf(static_cast<double>(percent) / 100));
        drawing.text(x + 16, bottom + 34, "start", std::to_string(percent) + " %", "small soft");
        x += 52;
    }
    return drawing;
}

} // namespace lab
