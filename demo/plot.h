// Line charts as SVG files: stacked panels over one horizontal axis, each with its own scale.
#pragma once

#include <string>
#include <vector>

namespace demo {

struct PlotPoint {
    double x;
    double y;
};

struct PlotSeries {
    std::string label; ///< Empty: not in the legend.
    std::string colour;
    std::vector<PlotPoint> points;
    bool isMarked = false; ///< A dot at every point.
};

struct PlotPanel {
    std::string yLabel; ///< With the unit.
    std::vector<PlotSeries> series;
    std::vector<PlotPoint> notesAt; ///< Where the notes stand; y is ignored.
    std::vector<std::string> notes; ///< One a point of notesAt, drawn as vertical lines.
};

/// Write the chart; false when the file cannot be written.
bool writePlot(const std::string &path, const std::string &title, const std::string &xLabel,
               const std::vector<PlotPanel> &panels);

} // namespace demo
