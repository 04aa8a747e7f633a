// Steps of a plant, and its books.

#include "plant.h"

#include <algorithm>
#include <cmath>

#include "steady.h"
#include "words.h"

namespace {

constexpr double DAY = 86400.0;         // s
constexpr long MOST_STEPS = 20000;      // of the integrator, in one step of the plant
constexpr double LEAST_FLOW = 1e-9;     // m3/s, less is no water
constexpr double LARGEST_INPUT = 1e12;  // what is larger is an error of the host

double takeInput(double value) {
    return value > 0.0 && value < LARGEST_INPUT ? value : 0.0;
}

// Masses in tanks and settler.
std::vector<double> sumStored(const Plant& plant) {
    const Layout& layout = plant.integrator.system.layout;
    std::vector<double> stored(layout.components);
    for (size_t c = 0; c < layout.components; ++c) {
        for (size_t k = 0; k < layout.tanks; ++k) {
            stored[c] += plant.model.tanks[k].volume * plant.state[layout.tank(k) + c];
        }
        for (size_t k = 0; k < layout.layers; ++k) {
            const Settler& settler = plant.model.settler;
            stored[c] +=
                settler.area * settler.depth / static_cast<double>(layout.layers) * plant.state[layout.layer(k) + c];
        }
    }
    return stored;
}

void setStartValues(const Plant& plant, std::vector<double>& state) {
    const Layout& layout = plant.integrator.system.layout;
    for (const StartValue& value : plant.model.startValues) {
        const size_t place =
            value.unit < layout.tanks ? layout.tank(value.unit) : layout.layer(value.unit - layout.tanks);
        state[place + value.component] = value.value;
    }
}

std::string findBegin(Plant& plant) {
    System& system = plant.integrator.system;
    system_setInflow(system, plant.model.designFlow, plant.model.designInflow.data());
    plant.begin.assign(system.layout.size(), 0.0);
    std::string error = plant.model.startsSteady ? steady_find(plant.integrator, plant.begin) : std::string();
    if (!error.empty()) {
        plant.begin.clear();
        return "no steady state: " + error;
    }
    setStartValues(plant, plant.begin);
    return {};
}

// Means of the step: of what leaves the settler by its masses, of the bypass as it came.
void fillOutput(const Plant& plant, const Effluent& effluent, double days, Output& output) {
    const System& system = plant.integrator.system;
    const Flows& flows = system.flows;
    const Layout& layout = system.layout;
    const bool withOverflow = effluent.stream == Stream::EFFLUENT || effluent.stream == Stream::OVERFLOW;
    const bool withBypass = effluent.stream == Stream::EFFLUENT || effluent.stream == Stream::BYPASS;
    const bool isWaste = effluent.stream == Stream::WASTE;
    const double flow =
        (withOverflow ? flows.overflow : 0.0) + (withBypass ? flows.bypass : 0.0) + (isWaste ? flows.waste : 0.0);
    std::vector<double> means(layout.components);
    for (size_t c = 0; c < layout.components && flow > 0.0; ++c) {
        double mass = withBypass ? flows.bypass * days * system.inflow[c] : 0.0;
        mass += withOverflow ? plant.state[layout.overflow() + c] : 0.0;
        mass += isWaste ? plant.state[layout.waste() + c] : 0.0;
        means[c] = mass / (flow * days);
    }
    std::array<double, PRODUCT_COUNT> products{};
    plantmodel_mapProducts(plant.model, means.data(), products);
    output[0] = flow / DAY;
    std::copy(products.begin(), products.end(), output.begin() + 1);
}

void keepBooks(Plant& plant, double days) {
    const System& system = plant.integrator.system;
    const Flows& flows = system.flows;
    Books& books = plant.books;
    books.waterIn += flows.inflow * days;
    books.waterOut += (flows.overflow + flows.waste + flows.bypass) * days;
    books.oxygen += plant.state[system.layout.oxygen()];
    for (size_t c = 0; c < system.layout.components; ++c) {
        books.in[c] += flows.inflow * days * system.inflow[c];
        books.out[c] += plant.state[system.layout.overflow() + c] + plant.state[system.layout.waste() + c] +
                        flows.bypass * days * system.inflow[c];
    }
}

}  // namespace

std::vector<FileMessage> plant_open(const std::string& path, const std::string& bytes, Plant& plant) {
    plant.path = path;
    plant.fingerprint = state_sum(bytes.data(), bytes.size());
    plant.begin.clear();
    plant.integrator.solver.reset();
    plant.isStarted = plant.isFailed = false;
    std::vector<FileMessage> messages = modelfile_read(bytes, plant.model);
    if (messages.empty()) {
        const std::string error = integrator_init(plant.model, plant.integrator);
        if (!error.empty()) {
            messages.push_back({0, error});
        }
        plant.inputs.assign(plant.model.influents.size(), Input{});
        plant.outputs.assign(plant.model.effluents.size(), Output{});
    }
    return messages;
}

std::string plant_start(Plant& plant) {
    plant.isStarted = plant.isFailed = false;
    plant.failure.clear();
    if (!plant.integrator.solver) {
        return "no model is open";
    }
    if (plant.begin.empty()) {
        std::string error = findBegin(plant);
        if (!error.empty()) {
            return error;
        }
    }
    const size_t components = plant.integrator.system.layout.components;
    plant.state = plant.begin;
    plant.now = 0;
    plant.waiting = {};
    std::fill(plant.inputs.begin(), plant.inputs.end(), Input{});
    std::fill(plant.outputs.begin(), plant.outputs.end(), Output{});
    plant.books = {};
    plant.books.in.assign(components, 0.0);
    plant.books.out.assign(components, 0.0);
    plant.books.stored = sumStored(plant);
    plant.isStarted = true;
    return {};
}

bool plant_isOver(const Plant& plant) {
    return !plant.isStarted || plant.isFailed || plant.now >= plant.model.duration;
}

std::string plant_stepWith(Plant& plant, double flow, const std::vector<double>& components) {
    if (plant_isOver(plant)) {
        return plant.failure;
    }
    System& system = plant.integrator.system;
    const int64_t seconds = std::min(plant.model.step, plant.model.duration - plant.now);
    const double days = static_cast<double>(seconds) / DAY;
    system_setInflow(system, flow, components.data());
    std::fill(plant.state.begin() + static_cast<std::ptrdiff_t>(system.layout.overflow()), plant.state.end(), 0.0);
    const std::string error = integrator_advance(plant.integrator, days, MOST_STEPS, plant.state);
    if (!error.empty()) {
        plant.isFailed = true;
        plant.failure = "after " + words_showNumber(static_cast<double>(plant.now)) + " s " + error;
        return plant.failure;
    }
    plant.now += seconds;
    keepBooks(plant, days);
    for (size_t k = 0; k < plant.outputs.size(); ++k) {
        fillOutput(plant, plant.model.effluents[k], days, plant.outputs[k]);
    }
    return {};
}

std::string plant_step(Plant& plant) {
    if (plant_isOver(plant)) {
        return plant.failure;
    }
    const auto seconds = static_cast<double>(std::min(plant.model.step, plant.model.duration - plant.now));
    double flow = 0.0;                                             // m3/s
    std::array<double, CONSTITUENT_COUNT> masses = plant.waiting;  // g
    for (const Input& input : plant.inputs) {
        flow += takeInput(input[0]);
        for (size_t c = 0; c < CONSTITUENT_COUNT; ++c) {
            masses[c] += takeInput(input[1 + c]) * seconds;
        }
    }
    plant.waiting = {};
    if (flow < LEAST_FLOW) {
        plant.waiting = masses;
        masses = {};
        flow = 0.0;
    }
    std::array<double, CONSTITUENT_COUNT> constituents{};  // g/m3
    for (size_t c = 0; c < CONSTITUENT_COUNT && flow > 0.0; ++c) {
        constituents[c] = masses[c] / (flow * seconds);
    }
    std::vector<double> components(plant.integrator.system.layout.components);
    plantmodel_splitInflow(plant.model, constituents, components.data());
    return plant_stepWith(plant, flow * DAY, components);
}

Balance plant_computeBalance(const Plant& plant, Content content) {
    Balance balance;
    const std::vector<double> stored = sumStored(plant);
    for (size_t c = 0; c < stored.size(); ++c) {
        const double part = plant.model.matrix.contents[c][content];
        balance.in += part * plant.books.in[c];
        balance.out += part * plant.books.out[c];
        balance.stored += part * (stored[c] - plant.books.stored[c]);
    }
    balance.oxygen = content == COD ? plant.books.oxygen : 0.0;
    balance.gap = balance.in - balance.oxygen - balance.out - balance.stored;
    return balance;
}
