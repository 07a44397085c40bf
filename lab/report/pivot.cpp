#include "report/pivot.h"

#include <algorithm>
#include <functional>
#include <map>

#include "cell.h"
#include "report/svg.h"
#include "searches.h"
#include "statistics.h"
#include "table.h"

namespace lab {

static std::string nameCondition(const Cell &cell, const Settings &common) {
    Cell rest = cell;
    rest.settings.erase(
        std::remove_if(rest.settings.begin(), rest.settings.end(),
                       [](const auto &setting) { return setting.first == "night"; }),
        rest.settings.end());
    const std::string text = describe(rest, common);
    const size_t comma = text.find(", ");
    return comma == std::string::npos ? "plain" : text.substr(comma + 2);
}

namespace {
struct Field {
    std::string day;
    std::string night;
};
} // namespace

static std::string join(const Field &field) {
    if (field.day.empty() && field.night.empty())
        return "";
    return (field.day.empty() ? "–" : field.day) + " / " +
           (field.night.empty() ? "–" : field.night);
}

template <class Text> static size_t placeIn(std::vector<Text> &list, const Text &text) {
    const auto found = std::find(list.begin(), list.end(), text);
    const auto place = static_cast<size_t>(found - list.begin());
    if (found == list.end())
        list.push_back(text);
    return place;
}

static Pivot pivot(const std::vector<CellFindings> &all,
                   const std::function<std::string(const CellFindings &)> &spellField) {
    const Settings common = findCommon(all);
    Pivot table;
    std::vector<std::string> conditions = {"plain"};
    std::map<std::pair<size_t, size_t>, Field> fields;
    for (const CellFindings &findings : all) {
        const size_t row = placeIn(conditions, nameCondition(findings.cell, common));
        const size_t column = placeIn(table.searches, std::string(findings.cell.search->name));
        Field &field = fields[{row, column}];
        const bool isNight = settingOf(findings.cell, "night") == "on";
        (isNight ? field.night : field.day) = spellField(findings);
    }
    for (size_t row = 0; row < conditions.size(); ++row) {
        table.rows.push_back({conditions[row], {}});
        for (size_t column = 0; column < table.searches.size(); ++column)
            table.rows.back().fields.push_back(join(fields[{row, column}]));
    }
    return table;
}

Pivot pivotSuccess(const std::vector<CellFindings> &all) {
    return pivot(all, [](const CellFindings &findings) {
        const Share &share = findings.figures.within;
        if (share.part == share.whole)
            return std::string("100");
        return spellNumber(share.percent(), share.percent() > 99 ? 2 : 1);
    });
}

Pivot pivotFrames(const std::vector<CellFindings> &all) {
    return pivot(all, [](const CellFindings &findings) {
        const double(&frames)[3] = findings.figures.frames;
        return spellNumber(frames[0], 0) + "–" + spellNumber(frames[1], 0);
    });
}

std::string asMarkdown(const Pivot &pivot, const std::string &corner) {
    std::string text = "| " + corner + " |";
    std::string rule = "|---|";
    for (const std::string &search : pivot.searches) {
        text += " " + search + " |";
        rule += "---|";
    }
    text += "\n" + rule + "\n";
    for (const Pivot::Row &row : pivot.rows) {
        text += "| " + row.condition + " |";
        for (const std::string &field : row.fields)
            text += " " + field + " |";
        text += "\n";
    }
    return text;
}

} // namespace lab
