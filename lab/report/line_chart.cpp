#include "report/line_chart.h"

#include <algorithm>
#include <cmath>

namespace lab {

static constexpr double kWidth = 860;
static constexpr double kLeft = 60;
static constexpr double kRight = 840;
static constexpr double kTop = 40;
static constexpr double kBottom = 280;
static constexpr double kNameRow = 18;
static constexpr double kLeastShown = 0.1; // of a logarithmic scale

namespace {
class Scale {
public:
    Scale(const Figures &figures, bool hasFactors) : isLogarithmic(hasFactors) {
        double highest = 1;
        for (const Curve &curve : figures.curves)
            for (const double value : curve.values)
                highest = std::max(highest, value);
        most = isLogarithmic ? std::pow(10, std::ceil(std::log10(highest))) : highest;
        places = figures.places.size();
    }

    double across(size_t place) const {
        return kLeft +
               (kRight - kLeft) * (static_cast<double>(place) + 0.5) / static_cast<double>(places);
    }

    double up(double value) const {
        const double share = isLogarithmic ? std::log(std::max(value, kLeastShown) / kLeastShown) /
                                                 std::log(most / kLeastShown)
                                           : value / most;
        return kBottom - (kBottom - kTop) * share;
    }

    void draw(Drawing &drawing) const {
        constexpr int kParts = 5;
        const int decades = static_cast<int>(std::lround(std::log10(most / kLeastShown)));
        for (int part = 0; part <= (isLogarithmic ? decades : kParts); ++part)
            drawLine(drawing,
                     isLogarithmic ? kLeastShown * std::pow(10, part) : most * part / kParts);
    }

private:
    void drawLine(Drawing &drawing, double value) const {
        drawing.line(kLeft, up(value), kRight, up(value), "grid");
        drawing.text(kLeft - 8, up(value) + 4, "end",
                     spellNumber(value, value > 0 && value < 1 ? 1 : 0), "small");
    }

    bool isLogarithmic;
    double most = 1;
    size_t places = 1;
};
} // namespace

static void drawCurve(Drawing &drawing, const Scale &scale, const Curve &curve,
                      const std::string &looks) {
    for (size_t place = 0; place < curve.values.size(); ++place) {
        const double x = scale.across(place);
        const double y = scale.up(curve.values[place]);
        if (place > 0)
            drawing.line(scale.across(place - 1), scale.up(curve.values[place - 1]), x, y, looks);
        drawing.dot(x, y, 3, looks, curve.name + ": " + spellNumber(curve.values[place], 1));
    }
}

Drawing drawCurves(const Figures &figures, const std::string &up, bool isLogarithmic) {
    const Scale scale(figures, isLogarithmic);
    const double names = kBottom + 44;
    Drawing drawing(kWidth, names + kNameRow * static_cast<double>(figures.curves.size()));
    drawing.text(kLeft - 8, kTop - 18, "start", up, "head");
    scale.draw(drawing);
    for (size_t place = 0; place < figures.places.size(); ++place)
        drawing.text(scale.across(place), kBottom + 18, "middle", figures.places[place], "small");
    double y = names;
    for (size_t number = 0; number < figures.curves.size(); ++number, y += kNameRow) {
        const std::string looks = seriesClass(number);
        drawCurve(drawing, scale, figures.curves[number], looks);
        drawing.line(kLeft, y - 4, kLeft + 24, y - 4, looks);
        drawing.text(kLeft + 32, y, "start", figures.curves[number].name, "small");
    }
    return drawing;
}

} // namespace lab
