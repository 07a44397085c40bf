// Line charts as SVG files: stacked panels over one horizontal axis, each with its own scale.
//
// The colours are told apart by colour-blind people too; nothing is written over a curve.
#pragma once

#include <string>
#include <vector>

namespace demo {

// A palette for all kinds of eyes.
inline const char *const kBlue = "#0072b2";
inline const char *const kOrange = "#d55e00";
inline const char *const kGreen = "#009e73";
inline const char *const kYellow = "#f0c419";

struct PlotPoint {
    double x;
    double y;
};

enum class PlotStyle {
    Line,
    WideLine, ///< As a background that a line may run over.
    Dots,     ///< A line with a dot at every point.
    Arrows,   ///< Dots, and an arrow at every step, in its direction.
};

struct PlotSeries {
    std::string label; ///< Empty: not in the legend.
    std::string colour;
    std::vector<PlotPoint> points;
    PlotStyle style = PlotStyle::Line;
};

/// A vertical line, named in the legend.
struct PlotNote {
    double x;
    std::string text;
};

struct PlotPanel {
    std::string yLabel; ///< With the unit.
    std::vector<PlotSeries> series;
    std::vector<PlotNote> notes;
    double band = 0; ///< Shaded from minus to plus this; 0: none.
    double most = 0; ///< Values beyond plus and minus this are drawn there; 0: all as they are.
};

/// A stretch of the horizontal axis with a name, to its end.
struct PlotPhase {
    double from;
    double to;
    std::string name;
};

struct Plot {
    std::string title;
    std::string xLabel;
    std::vector<PlotPanel> panels;
    std::vector<PlotPhase> phases; ///< Named above the first panel.
};

/// Write the chart; false when the file cannot be written.
bool writePlot(const std::string &path, const Plot &plot);

} // namespace demo
