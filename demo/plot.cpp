#include "plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "close_whole.h"
#include "plot_scale.h"

namespace demo {

static constexpr double kWidth = 960;
static constexpr double kPanelHeight = 220;
static constexpr double kLeft = 90;
static constexpr double kRight = 30;
static constexpr double kTop = 64;
static constexpr double kPhaseRow = 14;
static constexpr double kBottom = 60;
static constexpr double kGap = 38;

static PlotPoint limit(const PlotPanel &panel, PlotPoint point) {
    if (panel.most > 0)
        point.y = std::clamp(point.y, -panel.most, panel.most);
    return point;
}

template <typename Visit> static void visitPoints(const PlotPanel &panel, Visit visit) {
    for (const PlotSeries &series : panel.series)
        for (const PlotPoint &point : series.points)
            visit(limit(panel, point));
}

static Scale fitX(const std::vector<PlotPanel> &panels) {
    Range range;
    for (const PlotPanel &panel : panels) {
        visitPoints(panel, [&](const PlotPoint &point) { range.include(point.x); });
        for (const PlotNote &note : panel.notes)
            range.include(note.x);
    }
    return makeScale(range, kLeft, kWidth - kRight);
}

static Scale fitY(const PlotPanel &panel, double top) {
    Range range;
    visitPoints(panel, [&](const PlotPoint &point) { range.include(point.y); });
    if (panel.band > 0) {
        range.include(-panel.band);
        range.include(panel.band);
    }
    return padToTicks(makeScale(range, top + kPanelHeight, top));
}

static std::string escape(const std::string &text) {
    std::string out;
    for (char c : text) {
        if (c == '<')
            out += "&lt;";
        else if (c == '&')
            out += "&amp;";
        else
            out += c;
    }
    return out;
}

static void drawText(FILE *svg, double x, double y, const char *anchor, const std::string &text) {
    fprintf(svg, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\">%s</text>\n", x, y, anchor,
            escape(text).c_str());
}

static void drawLine(FILE *svg, double x1, double y1, double x2, double y2, const char *style) {
    fprintf(svg, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" %s/>\n", x1, y1, x2, y2,
            style);
}

static std::string nameTick(double value, double tick) {
    char text[32];
    if (std::fabs(value) < tick / 2)
        value = 0; // not -0
    snprintf(text, sizeof text, "%.*f", tick < 1 ? 1 : 0, value);
    return text;
}

static void drawAxes(FILE *svg, const Scale &x, const Scale &y, const PlotPanel &panel, bool last) {
    const double top = y.toPixel;
    const double bottom = y.fromPixel;
    for (double v = std::ceil(y.low / y.tick) * y.tick; v <= y.high + y.tick / 2; v += y.tick) {
        drawLine(svg, kLeft, y.place(v), kWidth - kRight, y.place(v), "stroke=\"#e4e4e4\"");
        drawText(svg, kLeft - 8, y.place(v) + 4, "end", nameTick(v, y.tick));
    }
    for (double v = std::ceil(x.low / x.tick) * x.tick; v <= x.high; v += x.tick) {
        drawLine(svg, x.place(v), bottom, x.place(v), bottom + 5, "stroke=\"#444\"");
        if (last)
            drawText(svg, x.place(v), bottom + 20, "middle", nameTick(v, x.tick));
    }
    fprintf(svg,
            "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"none\" "
            "stroke=\"#444\"/>\n",
            kLeft, top, kWidth - kRight - kLeft, bottom - top);
    fprintf(svg,
            "<text transform=\"translate(20 %.1f) rotate(-90)\" text-anchor=\"middle\">%s</text>\n",
            (top + bottom) / 2, escape(panel.yLabel).c_str());
}

static void drawBand(FILE *svg, const Scale &y, const PlotPanel &panel) {
    if (panel.band <= 0)
        return;
    const double top = y.place(panel.band);
    fprintf(svg,
            "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"%s\" "
            "fill-opacity=\"0.25\"/>\n",
            kLeft, top, kWidth - kRight - kLeft, y.place(-panel.band) - top, kGreen);
}

static const char kNoteStyle[] = "stroke=\"#444\" stroke-width=\"1.4\" stroke-dasharray=\"5 3\"";

static void drawNotes(FILE *svg, const Scale &x, const Scale &y, const PlotPanel &panel) {
    for (const PlotNote &note : panel.notes)
        drawLine(svg, x.place(note.x), y.toPixel, x.place(note.x), y.fromPixel, kNoteStyle);
}

static void drawDot(FILE *svg, double x, double y, const std::string &colour) {
    fprintf(svg, "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"2.6\" fill=\"%s\"/>\n", x, y, colour.c_str());
}

/// A triangle in the middle of a step, turned into its direction; none where there is no room.
static void drawArrow(FILE *svg, double x1, double y1, double x2, double y2,
                      const std::string &colour) {
    const double shortest = 14;
    if (std::hypot(x2 - x1, y2 - y1) < shortest)
        return;
    const double degrees = std::atan2(y2 - y1, x2 - x1) * 180 / M_PI;
    fprintf(svg,
            "<path d=\"M5 0 L-4 -4 L-4 4 Z\" fill=\"%s\" "
            "transform=\"translate(%.1f %.1f) rotate(%.1f)\"/>\n",
            colour.c_str(), (x1 + x2) / 2, (y1 + y2) / 2, degrees);
}

static void drawMarks(FILE *svg, const std::vector<PlotPoint> &pixels, const PlotSeries &series) {
    for (size_t i = 0; i < pixels.size(); ++i) {
        drawDot(svg, pixels[i].x, pixels[i].y, series.colour);
        if (i > 0 && series.style == PlotStyle::Arrows)
            drawArrow(svg, pixels[i - 1].x, pixels[i - 1].y, pixels[i].x, pixels[i].y,
                      series.colour);
    }
}

static const char *styleOf(const PlotSeries &series) {
    return series.style == PlotStyle::WideLine
               ? "stroke-width=\"7\" stroke-opacity=\"0.7\" stroke-linejoin=\"round\""
               : "stroke-width=\"1.6\"";
}

static void drawSeries(FILE *svg, const Scale &x, const Scale &y, const PlotPanel &panel,
                       const PlotSeries &series) {
    std::vector<PlotPoint> pixels;
    for (const PlotPoint &point : series.points)
        pixels.push_back({x.place(point.x), y.place(limit(panel, point).y)});
    fprintf(svg, "<polyline fill=\"none\" stroke=\"%s\" %s points=\"", series.colour.c_str(),
            styleOf(series));
    for (const PlotPoint &pixel : pixels)
        fprintf(svg, "%.1f,%.1f ", pixel.x, pixel.y);
    fprintf(svg, "\"/>\n");
    if (series.style == PlotStyle::Dots || series.style == PlotStyle::Arrows)
        drawMarks(svg, pixels, series);
}

static double drawLegendEntry(FILE *svg, double at, double y, const std::string &label,
                              const std::string &style) {
    drawLine(svg, at, y - 10, at + 18, y - 10, style.c_str());
    drawText(svg, at + 24, y - 6, "start", label);
    return at + 44 + 7.5 * static_cast<double>(label.size());
}

static void drawLegend(FILE *svg, const Scale &y, const PlotPanel &panel) {
    std::vector<std::string> drawn; // passes share a name
    double at = kLeft + 12;
    for (const PlotSeries &series : panel.series) {
        if (series.label.empty() || std::count(drawn.begin(), drawn.end(), series.label) > 0)
            continue;
        drawn.push_back(series.label);
        at = drawLegendEntry(svg, at, y.toPixel, series.label,
                             "stroke=\"" + series.colour + "\" " + styleOf(series));
    }
    for (const PlotNote &note : panel.notes)
        at = drawLegendEntry(svg, at, y.toPixel, note.text, kNoteStyle);
}

// ---- Phases: a line at each beginning, the names above in two rows, so that short ones find room

static void drawPhases(FILE *svg, const Scale &x, double bottom, const Plot &plot) {
    int row = 0;
    for (const PlotPhase &phase : plot.phases) {
        if (phase.name.empty())
            continue;
        const double from = x.place(phase.from);
        const double middle = (from + x.place(phase.to)) / 2;
        drawLine(svg, from, kTop, from, bottom, "stroke=\"#999\" stroke-dasharray=\"2 4\"");
        fprintf(svg,
                "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\" font-size=\"11\" "
                "fill=\"#444\">%s</text>\n",
                middle, 40 + row * kPhaseRow, escape(phase.name).c_str());
        row = 1 - row;
    }
}

static void begin(FILE *svg, double height, const std::string &title) {
    fprintf(svg,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
            "font-family=\"sans-serif\" font-size=\"13\">\n"
            "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
            kWidth, height);
    fprintf(svg, "<text x=\"%.0f\" y=\"20\" text-anchor=\"middle\" font-size=\"17\">%s</text>\n",
            kWidth / 2, escape(title).c_str());
}

bool writePlot(const std::string &path, const Plot &plot) {
    FILE *svg = fopen(path.c_str(), "w");
    if (svg == nullptr)
        return false;
    const double firstTop = kTop + (plot.phases.empty() ? 0 : 2 * kPhaseRow);
    const double panelCount = static_cast<double>(plot.panels.size());
    const double bottom = firstTop + panelCount * kPanelHeight + (panelCount - 1) * kGap;
    begin(svg, bottom + kBottom, plot.title);
    const Scale x = fitX(plot.panels);
    drawPhases(svg, x, bottom, plot);
    double top = firstTop;
    for (const PlotPanel &panel : plot.panels) {
        const Scale y = fitY(panel, top);
        drawBand(svg, y, panel);
        drawAxes(svg, x, y, panel, &panel == &plot.panels.back());
        drawNotes(svg, x, y, panel);
        for (const PlotSeries &series : panel.series)
            drawSeries(svg, x, y, panel, series);
        drawLegend(svg, y, panel);
        top += kPanelHeight + kGap;
    }
    drawText(svg, kWidth / 2, bottom + kBottom - 16, "middle", plot.xLabel);
    fprintf(svg, "</svg>\n");
    return closeWhole(svg);
}

} // namespace demo
