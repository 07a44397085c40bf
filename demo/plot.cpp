#include "plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "close_whole.h"

namespace demo {

static constexpr double kWidth = 960;
static constexpr double kPanelHeight = 220;
static constexpr double kLeft = 90;
static constexpr double kRight = 30;
static constexpr double kTop = 56;
static constexpr double kBottom = 60;
static constexpr double kGap = 34;
static constexpr int kTicks = 6;

namespace {
/// One axis: data range onto pixels, with round tick values.
struct Scale {
    double low;
    double high;
    double tick;
    double fromPixel;
    double toPixel;

    double place(double value) const {
        return fromPixel + (value - low) / (high - low) * (toPixel - fromPixel);
    }
};
} // namespace

static double roundTick(double span) {
    const double raw = span / kTicks;
    const double power = std::pow(10, std::floor(std::log10(raw)));
    for (double factor : {1.0, 2.0, 5.0})
        if (raw <= factor * power)
            return factor * power;
    return 10 * power;
}

static Scale makeScale(double low, double high, double fromPixel, double toPixel, bool isPadded) {
    if (!(high > low))
        high = low + 1;
    const double tick = roundTick(high - low);
    if (isPadded) {
        low = std::floor(low / tick) * tick;
        high = std::ceil(high / tick) * tick;
    }
    return {low, high, tick, fromPixel, toPixel};
}

template <typename Visit> static void visitPoints(const PlotPanel &panel, Visit visit) {
    for (const PlotSeries &series : panel.series)
        for (const PlotPoint &point : series.points)
            visit(point);
}

static Scale fitX(const std::vector<PlotPanel> &panels) {
    double low = HUGE_VAL;
    double high = -HUGE_VAL;
    for (const PlotPanel &panel : panels)
        visitPoints(panel, [&](const PlotPoint &point) {
            low = std::min(low, point.x);
            high = std::max(high, point.x);
        });
    return makeScale(low, high, kLeft, kWidth - kRight, false);
}

static Scale fitY(const PlotPanel &panel, double top) {
    double low = HUGE_VAL;
    double high = -HUGE_VAL;
    visitPoints(panel, [&](const PlotPoint &point) {
        low = std::min(low, point.y);
        high = std::max(high, point.y);
    });
    return makeScale(low, high, top + kPanelHeight, top, true);
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

static void drawNotes(FILE *svg, const Scale &x, const Scale &y, const PlotPanel &panel) {
    for (size_t i = 0; i < panel.notes.size(); ++i) {
        const double at = x.place(panel.notesAt[i].x);
        drawLine(svg, at, y.toPixel, at, y.fromPixel, "stroke=\"#b06\" stroke-dasharray=\"4 3\"");
        fprintf(svg,
                "<text x=\"%.1f\" y=\"%.1f\" fill=\"#b06\" font-size=\"11\" "
                "transform=\"rotate(-90 %.1f %.1f)\" text-anchor=\"end\">%s</text>\n",
                at + 12, y.toPixel + 6, at + 12, y.toPixel + 6, escape(panel.notes[i]).c_str());
    }
}

static void drawSeries(FILE *svg, const Scale &x, const Scale &y, const PlotSeries &series) {
    fprintf(svg, "<polyline fill=\"none\" stroke=\"%s\" stroke-width=\"1.6\" points=\"",
            series.colour.c_str());
    for (const PlotPoint &point : series.points)
        fprintf(svg, "%.1f,%.1f ", x.place(point.x), y.place(point.y));
    fprintf(svg, "\"/>\n");
    if (!series.isMarked)
        return;
    for (const PlotPoint &point : series.points)
        fprintf(svg, "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"2.6\" fill=\"%s\"/>\n", x.place(point.x),
                y.place(point.y), series.colour.c_str());
}

static void drawLegend(FILE *svg, const Scale &y, const PlotPanel &panel) {
    double at = kLeft + 12;
    for (const PlotSeries &series : panel.series) {
        if (series.label.empty())
            continue;
        char style[64];
        snprintf(style, sizeof style, "stroke=\"%s\" stroke-width=\"3\"", series.colour.c_str());
        drawLine(svg, at, y.toPixel - 10, at + 18, y.toPixel - 10, style);
        drawText(svg, at + 24, y.toPixel - 6, "start", series.label);
        at += 44 + 7.5 * static_cast<double>(series.label.size());
    }
}

bool writePlot(const std::string &path, const std::string &title, const std::string &xLabel,
               const std::vector<PlotPanel> &panels) {
    FILE *svg = fopen(path.c_str(), "w");
    if (svg == nullptr)
        return false;
    const double panelCount = static_cast<double>(panels.size());
    const double height = kTop + panelCount * kPanelHeight + (panelCount - 1) * kGap + kBottom;
    fprintf(svg,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
            "font-family=\"sans-serif\" font-size=\"13\">\n"
            "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
            kWidth, height);
    fprintf(svg, "<text x=\"%.0f\" y=\"24\" text-anchor=\"middle\" font-size=\"17\">%s</text>\n",
            kWidth / 2, escape(title).c_str());
    const Scale x = fitX(panels);
    double top = kTop;
    for (const PlotPanel &panel : panels) {
        const Scale y = fitY(panel, top);
        drawAxes(svg, x, y, panel, &panel == &panels.back());
        drawNotes(svg, x, y, panel);
        for (const PlotSeries &series : panel.series)
            drawSeries(svg, x, y, series);
        drawLegend(svg, y, panel);
        top += kPanelHeight + kGap;
    }
    drawText(svg, kWidth / 2, height - 16, "middle", xLabel);
    fprintf(svg, "</svg>\n");
    return closeWhole(svg);
}

} // namespace demo
