// Tables of results.

#include "results.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "words.h"

static const char* const ColumnsOfTank[] = {"S_O2", "S_NH4", "S_NO3", "X_TSS"};

std::string results_writeHead(const Plant& plant) {
    std::string line = "day,inflow m3/d,bypass m3/d,recycled sludge m3/d,waste sludge m3/d";
    for (const Effluent& effluent : plant.model.effluents) {
        line += "," + effluent.name + " flow m3/d";
        for (const std::string_view product : ProductNames) {
            line += "," + effluent.name + " " + std::string(product) + " mg/L";
        }
    }
    for (const Tank& tank : plant.model.tanks) {
        for (const char* column : ColumnsOfTank) {
            line += "," + tank.name + " " + column + " mg/L";
        }
        line += "," + tank.name + " KLa 1/d";
    }
    return line + "\n";
}

std::string results_writeRow(const Plant& plant) {
    constexpr double DAY = 86400.0;
    const System& system = plant.integrator.system;
    std::string line;
    const auto add = [&](double value) {
        line += line.empty() ? "" : ",";
        line += words_showNumber(value);
    };
    add(static_cast<double>(plant.now) / DAY);
    add(system.flows.inflow);
    add(system.flows.bypass);
    add(system.flows.returned);
    add(system.flows.waste);
    for (const Output& output : plant.outputs) {
        add(output[0] * DAY);
        for (size_t k = 1; k < output.size(); ++k) {
            add(output[k]);
        }
    }
    for (size_t k = 0; k < plant.model.tanks.size(); ++k) {
        const double* here = plant.state.data() + system.layout.tank(k);
        std::array<double, PRODUCT_COUNT> products{};
        plantmodel_mapProducts(plant.model, here, products);
        for (const size_t product : {size_t{0}, size_t{4}, size_t{6}, size_t{16}}) {
            add(products[product]);
        }
        add(system_computeKla(plant.model.tanks[k], here[plant.model.matrix.oxygen], here[system.layout.components]));
    }
    return line + "\n";
}

static std::string showFixed(double value, int width, int decimals) {
    std::array<char, 64> text{};
    const int length = std::snprintf(text.data(), text.size(), "%*.*f", width, decimals, value);
    std::string shown(text.data(), length > 0 ? static_cast<size_t>(length) : 0);
    for (char& sign : shown) {  // a decimal point, whatever the locale
        sign = sign == ',' ? '.' : sign;
    }
    return shown;
}

std::string results_writeBooks(const Plant& plant) {
    constexpr double KILOGRAM = 1000.0;
    struct Line {
        const char* name;
        Content content;
    };
    constexpr std::array<Line, 3> LINES = {{{"COD", COD}, {"nitrogen", NITROGEN}, {"phosphorus", PHOSPHORUS}}};
    std::string text = "water, m3: in " + showFixed(plant.books.waterIn, 0, 1) + ", out " +
                       showFixed(plant.books.waterOut, 0, 1) + "\n";
    text += "kg                    in          out       stored    oxidised      missing\n";
    for (const Line& line : LINES) {
        const Balance balance = plant_computeBalance(plant, line.content);
        text += line.name + std::string(12 - std::strlen(line.name), ' ');
        text += showFixed(balance.in / KILOGRAM, 12, 3) + " " + showFixed(balance.out / KILOGRAM, 12, 3) + " " +
                showFixed(balance.stored / KILOGRAM, 12, 3) + " " + showFixed(balance.oxygen / KILOGRAM, 11, 3) + " " +
                showFixed(balance.gap / KILOGRAM, 12, 6) + "\n";
    }
    return text;
}

std::string results_writeState(const Plant& plant) {
    const Layout& layout = plant.integrator.system.layout;
    const std::vector<std::string>& names = plant.model.matrix.names;
    std::string text = "[INITIAL]\nEMPTY\n";
    const auto add = [&](const std::string& unit, size_t place) {
        for (size_t c = 0; c < layout.components; ++c) {
            const double value = plant.state[place + c];
            text += unit + " " + names[c] + " " + words_showNumber(value > 0.0 ? value : 0.0) + "\n";
        }
    };
    for (size_t k = 0; k < layout.tanks; ++k) {
        add(plant.model.tanks[k].name, layout.tank(k));
    }
    for (size_t k = 0; k < layout.layers; ++k) {
        add("LAYER" + std::to_string(k + 1), layout.layer(k));
    }
    return text;
}

static std::string describeError() {
    return std::strerror(errno);
}

std::string results_writeFile(const std::string& name, const std::string& bytes) {
    struct stat status {};
    if (::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return name + ": no plain file, and left as it is";
    }
    std::string aside = name + ".XXXXXX";
    const int file = ::mkstemp(aside.data());
    if (file < 0) {
        return name + ": " + describeError();
    }
    std::string error;
    for (size_t done = 0; done < bytes.size() && error.empty();) {
        const ssize_t count = ::write(file, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR) {
            error = describeError();
        }
        done += count > 0 ? static_cast<size_t>(count) : 0;
    }
    const mode_t mask = ::umask(0);
    (void)::umask(mask);
    if (error.empty() && (::fchmod(file, 0666U & ~mask) != 0 || ::fsync(file) != 0)) {
        error = describeError();
    }
    if (::close(file) != 0 && error.empty()) {
        error = describeError();
    }
    if (error.empty() && std::rename(aside.c_str(), name.c_str()) != 0) {
        error = describeError();
    }
    if (!error.empty()) {
        (void)::unlink(aside.c_str());
        return name + ": " + error;
    }
    return {};
}
