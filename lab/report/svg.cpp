#include "report/svg.h"

#include <cmath>
#include <cstdio>

namespace lab {

static constexpr size_t kSeriesColours = 10;

std::string escapeMarkup(const std::string &text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += letter;
        }
    }
    return escaped;
}

std::string spellNumber(double value, int digits) {
    char text[48];
    const double unit = std::pow(10, -digits);
    snprintf(text, sizeof text, "%.*f", digits, std::fabs(value) < unit / 2 ? 0 : value);
    return text;
}

static std::string attribute(const char *name, double value) {
    return std::string(" ") + name + "=\"" + spellNumber(value, 1) + "\"";
}

/// Classes, or "name; style" where a single mark has a look of its own.
static std::string spellLooks(const std::string &looks) {
    const size_t end = looks.find(';');
    std::string text = " class=\"" + looks.substr(0, end) + "\"";
    if (end != std::string::npos)
        text += " style=\"" + looks.substr(end + 1) + "\"";
    return text;
}

static std::string close(const char *tag, const std::string &tip) {
    if (tip.empty())
        return "/>\n";
    return "><title>" + escapeMarkup(tip) + "</title></" + tag + ">\n";
}

void Drawing::line(double x1, double y1, double x2, double y2, const std::string &looks) {
    body += "<line" + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) +
            attribute("y2", y2) + spellLooks(looks) + "/>\n";
}

void Drawing::box(double x, double y, double wide, double high, const std::string &looks,
                  const std::string &tip) {
    body += "<rect" + attribute("x", x) + attribute("y", y) + attribute("width", wide) +
            attribute("height", high) + spellLooks(looks) + close("rect", tip);
}

void Drawing::dot(double x, double y, double radius, const std::string &looks,
                  const std::string &tip) {
    body += "<circle" + attribute("cx", x) + attribute("cy", y) + attribute("r", radius) +
            spellLooks(looks) + close("circle", tip);
}

void Drawing::text(double x, double y, const std::string &anchor, const std::string &words,
                   const std::string &looks) {
    body += "<text" + attribute("x", x) + attribute("y", y) + " text-anchor=\"" + anchor + "\"" +
            (looks.empty() ? "" : spellLooks(looks)) + ">" + escapeMarkup(words) + "</text>\n";
}

void Drawing::path(const std::string &points, const std::string &looks, bool isArea) {
    body += std::string(isArea ? "<polygon" : "<polyline") + " points=\"" + points + "\"" +
            spellLooks(looks + (isArea ? "" : " open")) + "/>\n";
}

std::string Drawing::wrap(const std::string &before) const {
    const std::string wide = spellNumber(width, 0);
    const std::string high = spellNumber(height, 0);
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"drawing\" width=\"";
    text.append(wide).append("\" height=\"").append(high).append("\" viewBox=\"0 0 ");
    text.append(wide).append(" ").append(high).append("\">\n");
    return text.append(before).append(body).append("</svg>\n");
}

std::string Drawing::inPage() const {
    return wrap("");
}

std::string Drawing::asFile() const {
    return wrap("<style>" + drawingStyle() +
                "</style>\n<rect width=\"100%\" height=\"100%\" "
                "fill=\"#ffffff\"/>\n");
}

std::string seriesClass(size_t number) {
    return "s" + std::to_string(number % kSeriesColours);
}

std::string drawingStyle(bool isDark) {
    const char *const light[kSeriesColours] = {"#0072b2", "#56b4e9", "#d55e00", "#e8a33d",
                                               "#6e7781", "#009e73", "#b0589a", "#7a5c2e",
                                               "#111111", "#3b3b98"};
    const char *const dark[kSeriesColours] = {"#3d9fe0", "#9ad4f5", "#ff7b39", "#f0c419",
                                              "#8b949e", "#35c79b", "#e39ccb", "#c9a66b",
                                              "#f0f6fc", "#a9a9ff"};
    std::string style;
    for (size_t number = 0; number < kSeriesColours; ++number) {
        const std::string name = ".drawing ." + seriesClass(number);
        const std::string colour = isDark ? dark[number] : light[number];
        style.append(name).append("{stroke:").append(colour);
        style.append(";fill:").append(colour).append("}\n");
    }
    if (isDark)
        return style + ".drawing text{fill:#c9d1d9}.drawing .grid{stroke:#30363d}"
                       ".drawing .axis{stroke:#8b949e}.drawing .soft{fill:#8b949e}"
                       ".drawing .onlight{fill:#111}\n";
    return style + ".drawing text{font:13px system-ui,'DejaVu Sans',sans-serif;fill:#24292f;"
                   "stroke:none}\n.drawing .small{font-size:11px}.drawing .head{font-weight:600}"
                   ".drawing .soft{fill:#57606a}.drawing .grid{stroke:#e4e4e4}"
                   ".drawing .axis{stroke:#57606a}.drawing .thick{stroke-width:2.2}"
                   ".drawing .open{fill:none!important}.drawing "
                   ".cell{stroke:#8b949e;stroke-width:.4}.drawing .dashed{stroke-dasharray:6 4}"
                   ".drawing .pale{fill-opacity:.35}.drawing .onlight{fill:#111}\n";
}

} // namespace lab
