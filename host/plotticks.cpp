// All steps that are round are tried from the finest on. The first one whose labels fit is the one.

#include "plotticks.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

constexpr int64_t DAY = 86400;                    ///< s
constexpr size_t MOST = 100;                      ///< ticks; no picture holds more
constexpr double TIME_GAP = 3.0, DATE_GAP = 2.0;  ///< characters between labels

enum class TickUnit { SECONDS, DAYS, MONTHS };

struct TickStep {
    TickUnit unit;
    int64_t count;
};

constexpr TickStep STEPS[] = {
    {TickUnit::SECONDS, 1},     {TickUnit::SECONDS, 2},    {TickUnit::SECONDS, 5},     {TickUnit::SECONDS, 10},
    {TickUnit::SECONDS, 15},    {TickUnit::SECONDS, 30},   {TickUnit::SECONDS, 60},    {TickUnit::SECONDS, 120},
    {TickUnit::SECONDS, 300},   {TickUnit::SECONDS, 600},  {TickUnit::SECONDS, 900},   {TickUnit::SECONDS, 1800},
    {TickUnit::SECONDS, 3600},  {TickUnit::SECONDS, 7200}, {TickUnit::SECONDS, 10800}, {TickUnit::SECONDS, 21600},
    {TickUnit::SECONDS, 43200}, {TickUnit::DAYS, 1},       {TickUnit::DAYS, 2},        {TickUnit::DAYS, 4},
    {TickUnit::DAYS, 7},        {TickUnit::DAYS, 14},      {TickUnit::MONTHS, 1},      {TickUnit::MONTHS, 2},
    {TickUnit::MONTHS, 3},      {TickUnit::MONTHS, 6},     {TickUnit::MONTHS, 12},     {TickUnit::MONTHS, 24},
    {TickUnit::MONTHS, 60},     {TickUnit::MONTHS, 120},   {TickUnit::MONTHS, 240},    {TickUnit::MONTHS, 600},
    {TickUnit::MONTHS, 1200},   {TickUnit::MONTHS, 2400},  {TickUnit::MONTHS, 6000},   {TickUnit::MONTHS, 12000}};

/// The least multiple of a step that isn't below a number.
int64_t roundUp(int64_t number, int64_t step) {
    const int64_t rest = (number % step + step) % step;
    return rest == 0 ? number : number + step - rest;
}

std::chrono::year_month_day getCalendar(int64_t day) {
    using namespace std::chrono;
    return {sys_days{1899y / December / 30} + days{day}};
}

/// The first day of a month, which is counted from that of the year 0 on.
int64_t getMonthBegin(int64_t month) {
    using namespace std::chrono;
    const int64_t inYear = (month % 12 + 12) % 12;
    const year_month_day first{year{static_cast<int>((month - inYear) / 12)},
                               std::chrono::month{static_cast<unsigned>(inYear) + 1}, day{1}};
    return (sys_days{first} - sys_days{1899y / December / 30}).count();
}

int64_t getMonth(int64_t day) {
    const auto calendar = getCalendar(day);
    return int64_t{static_cast<int>(calendar.year())} * 12 + static_cast<unsigned>(calendar.month()) - 1;
}

std::string formatDay(int64_t day) {
    const auto calendar = getCalendar(day);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(calendar.year()),
                  static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()));
    return text;
}

std::string formatTime(int64_t second, bool hasSeconds) {
    char text[32];
    const int hour = static_cast<int>(second / 3600), minute = static_cast<int>(second / 60 % 60);
    std::snprintf(text, sizeof text, hasSeconds ? "%02d:%02d:%02d" : "%02d:%02d", hour, minute,
                  static_cast<int>(second % 60));
    return text;
}

/// Seconds of the ticks; more than MOST if there are too many.
std::vector<int64_t> listTicks(const TickStep& step, int64_t first, int64_t last) {
    std::vector<int64_t> ticks;
    if (step.unit == TickUnit::MONTHS) {
        const int64_t begin = roundUp(first, DAY) / DAY;
        int64_t month = roundUp(getMonth(begin), step.count);
        month += getMonthBegin(month) < begin ? step.count : 0;
        for (; getMonthBegin(month) * DAY <= last && ticks.size() <= MOST; month += step.count) {
            ticks.push_back(getMonthBegin(month) * DAY);
        }
        return ticks;
    }
    // Times are round in themselves; days are counted from the first one on.
    const int64_t length = step.unit == TickUnit::DAYS ? step.count * DAY : step.count;
    const int64_t begin = roundUp(first, step.unit == TickUnit::DAYS ? DAY : step.count);
    for (int64_t at = begin; at <= last && ticks.size() <= MOST; at += length) {
        ticks.push_back(at);
    }
    return ticks;
}

PlotTick makeTick(const TickStep& step, int64_t second, bool isFirst) {
    static constexpr const char* MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const int64_t ofDay = (second % DAY + DAY) % DAY;
    const int64_t day = (second - ofDay) / DAY;
    const double date = static_cast<double>(second) / static_cast<double>(DAY);
    if (step.unit == TickUnit::SECONDS) {
        return {date, formatTime(ofDay, step.count < 60), isFirst || ofDay == 0 ? formatDay(day) : ""};
    }
    if (step.unit == TickUnit::DAYS) {
        return {date, formatDay(day), ""};
    }
    const std::string year = formatDay(day).substr(0, formatDay(day).size() - 6);
    if (step.count >= 12) {
        return {date, year, ""};
    }
    const auto month = static_cast<size_t>((getMonth(day) % 12 + 12) % 12);
    return {date, MONTHS[month], isFirst || month == 0 ? year : ""};
}

/// Whether no label touches the one before it; `scale` is in characters per day.
bool isFitting(const std::vector<PlotTick>& ticks, double scale, double gap) {
    double lastDay = -HUGE_VAL, lastDayWidth = 0.0;
    for (size_t k = 0; k < ticks.size(); ++k) {
        const auto width = static_cast<double>(ticks[k].label.size());
        if (k > 0 && (ticks[k].date - ticks[k - 1].date) * scale < width + gap) {
            return false;
        }
        const auto dayWidth = static_cast<double>(ticks[k].day.size());
        if (dayWidth > 0.0) {
            if ((ticks[k].date - lastDay) * scale < (dayWidth + lastDayWidth) / 2.0 + DATE_GAP) {
                return false;
            }
            lastDay = ticks[k].date;
            lastDayWidth = dayWidth;
        }
    }
    return true;
}

/// The day of the first tick gives way to that of the next one, if they are close.
void clearFirstDay(std::vector<PlotTick>& ticks, double scale) {
    const auto next =
        std::find_if(ticks.begin() + 1, ticks.end(), [](const PlotTick& tick) { return !tick.day.empty(); });
    if (next != ticks.end() &&
        (next->date - ticks[0].date) * scale < static_cast<double>(next->day.size()) + DATE_GAP) {
        ticks[0].day.clear();
    }
}

}  // namespace

std::vector<PlotTick> plotticks_choose(double first, double last, double width) {
    const double scale = width / (last - first);
    const auto firstSecond = static_cast<int64_t>(std::ceil(first * static_cast<double>(DAY) - 0.5));
    const auto lastSecond = static_cast<int64_t>(std::floor(last * static_cast<double>(DAY) + 0.5));
    for (const TickStep& step : STEPS) {
        const std::vector<int64_t> seconds = listTicks(step, firstSecond, lastSecond);
        std::vector<PlotTick> ticks;
        for (size_t k = 0; k < seconds.size() && seconds.size() <= MOST; ++k) {
            ticks.push_back(makeTick(step, seconds[k], k == 0));
        }
        if (ticks.empty()) {
            continue;
        }
        clearFirstDay(ticks, scale);
        if (isFitting(ticks, scale, step.unit == TickUnit::SECONDS ? TIME_GAP : DATE_GAP)) {
            return ticks;
        }
    }
    return {};
}
