// tarnvelde_town: writes a town to measure on.

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "town.h"

namespace {

constexpr const char* USAGE =
    "tarnvelde_town SEED SUBCATCHMENTS [options] OUT.inp\n"
    "  Writes the project file of a made-up town; - writes it to standard output.\n"
    "  --weather W       storm (a day with a storm), week, year, dry, none (nothing changes); storm\n"
    "  --plain           only subcatchments, junctions and pipes, without dry weather flow\n"
    "  --pollutants N    0 to 4; 3          --land-uses N    1 or 2; 2\n"
    "  --dry-flow        dry weather flow   --no-dry-flow    none\n"
    "  --days N          as the weather is  --gages N        1 to 4 by size\n"
    "  --routing-step S  60                 --runoff-step S  60, of a week or a year 300\n"
    "  --report-step S   3600\n"
    "  --conduits X, --connections X, --tanks X, --reactors X, --splitters X, --rules X, --lids X\n"
    "                    shares of the subcatchments, 0 to 1: 0.2, 0.03, 0.03, 0.01, 0.01, 0.02, 0.1\n"
    "  Later options go over earlier ones: --plain --tanks 0.1\n";

template <class Number>
bool readNumber(std::string_view word, Number low, Number high, Number& number) {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size() && number >= low && number <= high;
}

bool readWeather(std::string_view word, TownWeather& weather) {
    constexpr const char* NAMES[] = {"none", "dry", "storm", "week", "year"};
    for (int k = 0; k < 5; ++k) {
        if (word == NAMES[k]) {
            weather = static_cast<TownWeather>(k);
            return true;
        }
    }
    return false;
}

bool readFlag(std::string_view name, TownOptions& options) {
    if (name == "--plain") {
        town_makePlain(options);
    } else if (name == "--dry-flow" || name == "--no-dry-flow") {
        options.hasDryFlow = name == "--dry-flow";
    } else {
        return false;
    }
    return true;
}

bool readOption(std::string_view name, std::string_view word, TownOptions& options) {
    const struct {
        std::string_view name;
        int* value;
        int low, high;
    } numbers[] = {{"--pollutants", &options.pollutants, 0, 4},
                   {"--land-uses", &options.landUses, 1, 2},
                   {"--days", &options.days, 1, 36500},
                   {"--gages", &options.gages, 1, 100000},
                   {"--routing-step", &options.routingStep, 1, 3600},
                   {"--runoff-step", &options.runoffStep, 1, 3600},
                   {"--report-step", &options.reportStep, 1, 86400}};
    const struct {
        std::string_view name;
        double* value;
    } shares[] = {
        {"--conduits", &options.conduits}, {"--connections", &options.connections}, {"--tanks", &options.tanks},
        {"--reactors", &options.reactors}, {"--splitters", &options.splitters},     {"--rules", &options.rules},
        {"--lids", &options.lids}};
    for (const auto& number : numbers) {
        if (name == number.name) {
            return readNumber(word, number.low, number.high, *number.value);
        }
    }
    for (const auto& share : shares) {
        if (name == share.name) {
            return readNumber(word, 0.0, 1.0, *share.value);
        }
    }
    return name == "--weather" && readWeather(word, options.weather);
}

bool readArguments(int count, char** words, TownOptions& options, std::string& path) {
    if (count < 4 || !readNumber<uint64_t>(words[1], 0, UINT64_MAX, options.seed) ||
        !readNumber<int64_t>(words[2], 1, 100000000, options.subcatchments)) {
        return false;
    }
    int k = 3;
    for (; k + 1 < count; ++k) {
        if (!readFlag(words[k], options)) {
            if (k + 2 >= count || !readOption(words[k], words[k + 1], options)) {
                return false;
            }
            ++k;
        }
    }
    path = words[count - 1];
    return k + 1 == count;
}

}  // namespace

int main(int count, char** words) {
    TownOptions options;
    std::string path;
    if (!readArguments(count, words, options, path)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    std::FILE* file = path == "-" ? stdout : std::fopen(path.c_str(), "wb");
    if (!file || !town_writeText(options, file) || (file != stdout && std::fclose(file) != 0)) {
        std::fprintf(stderr, "tarnvelde_town: %s: %s\n", path.c_str(), std::strerror(errno));
        return 1;
    }
    return 0;
}
