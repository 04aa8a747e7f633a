// The data of a page as text. Within the JSON each "<" is written by its number, so that no name of a project can end
// the element it stands in, or begin another one.

#include "pagedata.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <unordered_map>

#include "characters.h"
#include "json.h"
#include "resultfile.h"
#include "tarnvelde_model.h"
#include "units.h"

namespace {

constexpr double DATE_OF_1970 = 25569.0;
constexpr double PERCENT = 100.0;

/// Strings as members of an object, each behind its name.
std::string member(const char* name, const std::string& value) {
    return std::string("\"") + name + "\":" + value;
}

std::string textMember(const char* name, const std::string& text) {
    return member(name, json_quote(text));
}

std::string numberMember(const char* name, double number) {
    return member(name, json_formatNumber(number));
}

/// An array with its elements in the lines below.
template <class Elements, class Format>
std::string makeArray(const Elements& elements, Format format, const char* divider = ",\n") {
    std::string json = "[";
    bool isFirst = true;
    for (const auto& element : elements) {
        json += isFirst ? "" : divider;
        json += format(element);
        isFirst = false;
    }
    return json + ']';
}

std::string makeNumbers(const std::vector<double>& numbers) {
    return makeArray(numbers, json_formatNumber, ",");
}

std::string makePoints(const std::vector<MapPoint>& points) {
    return makeArray(
        points, [](const MapPoint& point) { return json_formatNumber(point.x) + ',' + json_formatNumber(point.y); },
        ",");
}

// --- verdict and messages ------------------------------------------------------------------------------------------

const char* getLevel(int32_t grade) {
    return grade == TV_GRADE_NOTHING ? "none" : verdict_getGradeName(grade);
}

/// What a row of the verdict is about.
std::string nameVerdict(const HostVerdict& verdict) {
    const bool isOfLand = verdict.part == "runoff" || verdict.part == "washoff";
    const std::string matter = verdict.pollutant.empty() ? std::string("Water") : verdict.pollutant;
    return matter + (isOfLand ? " of the land" : " of the network");
}

std::string formatVerdictRow(const HostVerdict& verdict) {
    const std::string causes = makeArray(
        verdict.causes,
        [](const HostPlace& place) {
            return '{' + textMember("object", place.kind + ' ' + place.id) + ',' + textMember("kind", place.kind) +
                   ',' + textMember("id", place.id) + ',' + numberMember("missing", place.missing) + ',' +
                   numberMember("share", place.share * PERCENT) + '}';
        },
        ",");
    return '{' + textMember("name", nameVerdict(verdict)) + ',' + numberMember("in", verdict.in) + ',' +
           numberMember("missing", verdict.missing) + ',' +
           textMember("unit", verdict.pollutant.empty() ? "m3" : "kg") + ',' + numberMember("error", verdict.error) +
           ',' + textMember("level", getLevel(verdict.grade)) + ',' + textMember("text", verdict.words) + ',' +
           member("causes", causes) + '}';
}

/// The verdict in a sentence: the worst row, which of those of one grade is that with the largest error.
std::string describeVerdict(const HostVerdict& worst) {
    std::array<char, 512> error{};
    std::snprintf(error.data(), error.size(), "%.3f %%", std::fabs(worst.error));
    const std::string row = (std::isfinite(worst.error) ? error.data() : "no number") + (", " + nameVerdict(worst));
    if (worst.grade == TV_GRADE_GREEN) {
        return "Every balance closes: the largest error is " + row + '.';
    }
    return "The largest error is " + row + ". " + worst.words + '.';
}

std::string formatVerdict(const PageRun& run) {
    const HostVerdict* worst = nullptr;
    for (const HostVerdict& verdict : run.verdicts) {
        const bool isWorse = worst == nullptr || verdict.grade > worst->grade ||
                             (verdict.grade == worst->grade && std::fabs(verdict.error) > std::fabs(worst->error));
        worst = isWorse && verdict.grade != TV_GRADE_NOTHING ? &verdict : worst;
    }
    std::string words = run.verdicts.empty() ? "There is no balance of this run." : "Nothing came in.";
    if (worst != nullptr) {
        words = describeVerdict(*worst);
    }
    return '{' + textMember("level", worst != nullptr ? getLevel(worst->grade) : "none") + ',' +
           textMember("text", words) + ',' + member("rows", makeArray(run.verdicts, formatVerdictRow)) + '}';
}

std::string formatPlace(const PageRun& run, const HostMessage& message) {
    std::string place;
    if (message.line > 0) {
        place = run.name + ", line " + std::to_string(message.line);
        place += message.section.empty() ? "" : ", " + message.section;
    }
    return place;
}

std::string formatMessage(const PageRun& run, const HostMessage& message) {
    const bool isHint = message.level == TV_INFO || (message.level == TV_WARNING && message.severity == TV_NOTE);
    const char* level = message.level == TV_ERROR ? "error" : isHint ? "hint" : "warning";
    std::string json = '{' + textMember("level", level) + ',' + member("code", std::to_string(message.code)) + ',' +
                       textMember("name", message.name) + ',' + textMember("text", message.text) + ',' +
                       textMember("place", formatPlace(run, message)) + ',' + textMember("words", message.words) + ',' +
                       textMember("object", message.object) + ',' + textMember("effect", message.effect) + ',' +
                       textMember("advice", message.advice);
    if (message.level == TV_WARNING && message.severity == TV_SERIOUS) {
        json += ",\"serious\":true";
    }
    if (message.date != 0.0) {
        json += ',' + member("date", pagedata_formatDate(message.date));
    }
    return json + '}';
}

// --- network -------------------------------------------------------------------------------------------------------

/// Places of the objects of the series among all of them, by class and ID.
struct SeriesPlaces {
    std::unordered_map<std::string, size_t> byName;

    [[nodiscard]] std::string find(const char* itsClass, const std::string& id) const {
        const auto found = byName.find(itsClass + (':' + id));
        return found == byName.end() ? "-1" : std::to_string(found->second);
    }
};

SeriesPlaces listPlaces(const PageSeries& series) {
    SeriesPlaces places;
    size_t next = 0;
    for (const PageSeriesTable& table : series.tables) {
        for (size_t k = 0; k < table.objectCount; ++k) {
            places.byName.emplace(pagedata_getClass(table.name) + ':' + characters_toUtf8(table.objects[k]), next++);
        }
    }
    return places;
}

void addPoint(double (&bounds)[4], double x, double y) {
    if (std::isfinite(x) && std::isfinite(y)) {
        bounds[0] = std::fmin(bounds[0], x);
        bounds[1] = std::fmin(bounds[1], y);
        bounds[2] = std::fmax(bounds[2], x);
        bounds[3] = std::fmax(bounds[3], y);
    }
}

std::string formatBounds(const PageNetwork& network) {
    double bounds[4] = {HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const PageNode& node : network.nodes) {
        addPoint(bounds, node.x, node.y);
    }
    for (const PageLink& link : network.links) {
        for (const MapPoint& point : link.points) {
            addPoint(bounds, point.x, point.y);
        }
    }
    for (const PageArea& area : network.areas) {
        addPoint(bounds, area.x, area.y);
        for (const MapPoint& point : area.points) {
            addPoint(bounds, point.x, point.y);
        }
    }
    const bool isEmpty = !(bounds[0] <= bounds[2]);
    return isEmpty ? "[0,0,1,1]" : makeArray(bounds, json_formatNumber, ",");
}

std::string formatNode(const PageNode& node, const SeriesPlaces& places) {
    return '{' + textMember("id", node.id) + ',' + textMember("kind", node.kind) + ',' + numberMember("x", node.x) +
           ',' + numberMember("y", node.y) + ',' + member("series", places.find("nodes", node.id)) + '}';
}

std::string formatLink(const PageLink& link, const SeriesPlaces& places) {
    std::string json = '{' + textMember("id", link.id) + ',' + textMember("kind", link.kind) + ',' +
                       member("from", std::to_string(link.from)) + ',' + member("to", std::to_string(link.to));
    json += link.points.empty() ? "" : ',' + member("points", makePoints(link.points));
    return json + ',' + member("series", places.find("links", link.id)) + '}';
}

std::string formatArea(const PageArea& area, const SeriesPlaces& places) {
    std::string json = '{' + textMember("id", area.id) + ',' + numberMember("x", area.x) + ',' +
                       numberMember("y", area.y) + ',' + member("to", std::to_string(area.to)) + ",\"toArea\":-1";
    json += area.points.empty() ? "" : ',' + member("points", makePoints(area.points));
    return json + ',' + member("series", places.find("areas", area.id)) + '}';
}

std::string formatMeasure(const PageMeasure& measure) {
    std::string json = '{' + textMember("key", measure.key) + ',' + textMember("title", measure.title) + ',' +
                       textMember("unit", measure.unit);
    const std::pair<const char*, const std::vector<double>*> lists[] = {
        {"nodes", &measure.nodes}, {"links", &measure.links}, {"areas", &measure.areas}};
    for (const auto& [name, numbers] : lists) {
        json += numbers->empty() ? "" : ',' + member(name, makeNumbers(*numbers));
    }
    return json + '}';
}

std::string formatNetwork(const PageNetwork& network, const PageSeries& series) {
    const SeriesPlaces places = listPlaces(series);
    return std::string("{\"isGiven\":") + (network.isGiven ? "true" : "false") + ',' + textMember("crs", network.crs) +
           ',' + member("bounds", formatBounds(network)) + ",\n" +
           member("nodes", makeArray(network.nodes, [&](const PageNode& node) { return formatNode(node, places); })) +
           ",\n" +
           member("links", makeArray(network.links, [&](const PageLink& link) { return formatLink(link, places); })) +
           ",\n" +
           member("areas", makeArray(network.areas, [&](const PageArea& area) { return formatArea(area, places); })) +
           ",\n" + member("measures", makeArray(network.measures, formatMeasure)) + '}';
}

// --- tables and series ---------------------------------------------------------------------------------------------

std::string formatColumn(const PageColumn& column) {
    const bool isNumber = std::string(column.kind) == "number";
    return '{' + textMember("name", column.name) + (column.unit.empty() ? "" : ',' + textMember("unit", column.unit)) +
           ',' + textMember("kind", column.kind) +
           (isNumber ? ',' + member("digits", std::to_string(column.digits)) : std::string()) + '}';
}

std::string formatTable(const PageTable& table) {
    std::string json = '{' + textMember("key", table.key) + ',' + textMember("title", table.title) + ',' +
                       textMember("note", table.note) + ",\n" +
                       member("columns", makeArray(table.columns, formatColumn, ",")) + ",\n";
    json += table.object < 0 ? "" : member("object", std::to_string(table.object)) + ',';
    json += table.objectClass.empty() ? "" : textMember("class", table.objectClass) + ',';
    return json +
           member("rows", makeArray(table.rows,
                                    [](const std::vector<std::string>& row) {
                                        return makeArray(
                                            row, [](const std::string& cell) { return cell; }, ",");
                                    })) +
           '}';
}

/// Objects with a series. Each has an element of its own, numbered from 0 on.
std::string formatObjects(const PageSeries& series) {
    std::string json = "[";
    size_t element = 0;
    for (const PageSeriesTable& table : series.tables) {
        for (size_t object = 0; object < table.objectCount; ++object, ++element) {
            json += element == 0 ? "" : ",\n";
            json += '{' + textMember("table", table.name) + ',' + member("id", pagedata_quote(table.objects[object])) +
                    ",\"columns\":[";
            for (size_t k = 0; k < table.kept.size(); ++k) {
                const ResultColumn& column = table.columns[table.kept[k]];
                const std::string name = column.name == "Outfow" ? "Outflow" : characters_toUtf8(column.name);
                json += (k == 0 ? "" : ",") + ('{' + textMember("name", name)) + ',' + textMember("unit", column.unit) +
                        ",\"data\":[" + std::to_string(element) + ',' +
                        std::to_string(static_cast<int64_t>(k) * series.plan.length) + ',' +
                        std::to_string(series.plan.length) + ']' + (series.plan.isThinned ? ",\"thinned\":true}" : "}");
            }
            json += "]}";
        }
    }
    return json + ']';
}

std::string formatRun(const PageRun& run) {
    const bool hasSystem =
        !run.series.tables.empty() && run.series.tables[0].name == "System" && run.series.tables[0].objectCount > 0;
    std::string json = '{' + textMember("name", run.name) + ',' + textMember("source", run.source) + ",\n";
    json += member("description", makeArray(run.description, pagedata_quote)) + ",\n";
    json += member("facts", makeArray(run.facts,
                                      [](const auto& fact) {
                                          return '[' + json_quote(fact.first) + ',' + json_quote(fact.second) + ']';
                                      })) +
            ",\n";
    json += member("start", pagedata_formatDate(run.start)) + ',' + member("end", pagedata_formatDate(run.end)) + ",\n";
    json += member("verdict", formatVerdict(run)) + ",\n";
    json += member("messages",
                   makeArray(run.messages, [&](const HostMessage& message) { return formatMessage(run, message); })) +
            ",\n";
    json += member("network", formatNetwork(run.network, run.series)) + ",\n";
    json += member("tables", makeArray(run.tables, formatTable)) + ",\n";
    json += member("times", '{' + member("start", pagedata_formatDate(run.firstReport)) + ',' +
                                member("step", std::to_string(run.reportStep)) + ',' +
                                member("count", std::to_string(run.series.count)) + '}') +
            ",\n";
    json += std::string("\"system\":") + (hasSystem ? "0" : "-1") + ",\n";
    json += textMember("note", run.note) + ",\n";
    return json + member("objects", formatObjects(run.series)) + '}';
}

}  // namespace

std::string pagedata_formatDate(double date) {
    if (!(std::fabs(date) < RESULT_FARTHEST_DATE)) {
        return "null";
    }
    return std::to_string(static_cast<int64_t>(std::floor((date - DATE_OF_1970) * SECONDS_PER_DAY + 0.5)));
}

std::string pagedata_quote(const std::string& name) {
    return json_quote(characters_toUtf8(name));
}

std::string pagedata_getClass(const std::string& table) {
    for (const char* node : {"Junction", "Tank", "Outfall", "Splitter", "Reactor", "LID_Mono"}) {
        if (table == node) {
            return "nodes";
        }
    }
    for (const char* link : {"Pipe", "Pump", "Connection", "Conduit", "Weir", "Orifice"}) {
        if (table == link) {
            return "links";
        }
    }
    return table == "Subcatchment" ? "areas" : "";
}

std::string pagedata_write(const std::string& title, const std::vector<PageRun>& runs) {
    std::string json = "{\"form\":1," + textMember("title", title) + ',' +
                       textMember("program", std::string("Tarnvelde ") + tv_getVersion()) + ",\n" +
                       member("runs", makeArray(runs, formatRun)) + '}';
    std::string text = "<script type=\"application/json\" id=\"tarnvelde-data\">";
    for (const char c : json) {
        text += c == '<' ? std::string("\\u003c") : std::string(1, c);
    }
    text += "</script>";
    for (size_t run = 0; run < runs.size(); ++run) {
        const PageSeries& series = runs[run].series;
        size_t element = 0;
        for (size_t table = 0; table < series.tables.size(); ++table) {
            for (size_t object = 0; object < series.tables[table].objectCount; ++object, ++element) {
                text += "\n<script type=\"text/plain\" id=\"d-" + std::to_string(run) + '-' + std::to_string(element) +
                        "\">" + pageseries_encode(series, table, object) + "</script>";
            }
        }
    }
    return text;
}
