// Drawings for a page and for files of their own. What they look like (colours, letters) is said
// once, by class, in a style sheet that a page may answer with a dark one.
#pragma once

#include <string>

namespace lab {

/// For text between tags and in attributes.
std::string escapeMarkup(const std::string &text);

/// "%.*f" without a minus before nothing.
std::string spellNumber(double value, int digits);

class Drawing {
public:
    Drawing(double wide, double high) : width(wide), height(high) {}

    void line(double x1, double y1, double x2, double y2, const std::string &looks);
    void box(double x, double y, double wide, double high, const std::string &looks,
             const std::string &tip = "");
    void dot(double x, double y, double radius, const std::string &looks,
             const std::string &tip = "");
    /// @p anchor: start, middle or end.
    void text(double x, double y, const std::string &anchor, const std::string &words,
              const std::string &looks = "");
    /// "x,y x,y ..."; closed and filled when @p isArea.
    void path(const std::string &points, const std::string &looks, bool isArea = false);

    std::string inPage() const; ///< An <svg> element that leaves its looks to the page.
    std::string asFile() const; ///< A whole file, light.

private:
    std::string wrap(const std::string &before) const;

    double width;
    double height;
    std::string body;
};

/// Class of the nth series of a chart: ten that most eyes tell apart.
std::string seriesClass(size_t number);

/// The style sheet, light; @p isDark what differs in the dark.
std::string drawingStyle(bool isDark = false);

} // namespace lab
