// Balances of a plant.

#include "system.h"

#include <algorithm>

Layout system_makeLayout(const PlantModel& model) {
    return {model.matrix.names.size(), model.tanks.size(),
            model.settler.kind == SettlerKind::TAKACS ? model.settler.layers : 0};
}

void system_init(const PlantModel& model, System& system) {
    system = {};
    system.model = &model;
    system.layout = system_makeLayout(model);
    system.saturation = model.saturation >= 0.0 ? model.saturation : plantmodel_computeSaturation(model.temperature);
    system.inflow.assign(system.layout.components, 0.0);
    system.overflow = system.underflow = system.entering = system.inflow;
    hydraulics_compute(model, 0.0, system.flows);
}

void system_setInflow(System& system, double flow, const double* components) {
    hydraulics_compute(*system.model, flow, system.flows);
    std::copy_n(components, system.layout.components, system.inflow.begin());
}

// The controller of a tank: proportional and integral, KLa within its limits.
static double computeWish(const Tank& tank, double oxygen, double integral) {
    return tank.kla + tank.gain * (tank.setpoint - oxygen) + integral;
}

double system_computeKla(const Tank& tank, double oxygen, double integral) {
    switch (tank.aeration) {
        case Aeration::KLA: return tank.kla;
        case Aeration::OXYGEN: return std::clamp(computeWish(tank, oxygen, integral), tank.klaLeast, tank.klaMost);
        default: return 0.0;
    }
}

void system_computeReactions(const System& system, size_t tank, const double* state, double* rates) {
    const Tank& record = system.model->tanks[tank];
    const size_t components = system.layout.components;
    const double oxygen = state[system.model->matrix.oxygen];
    const double kla = system_computeKla(record, oxygen, state[components]);
    std::fill_n(rates, components + 1, 0.0);
    matrix_addRates(system.model->matrix, state, rates);
    rates[system.model->matrix.oxygen] += kla * (system.saturation - oxygen);
    if (record.aeration == Aeration::OXYGEN) {
        // At a limit the integral follows the limit, in half its time.
        const double beyond = kla - computeWish(record, oxygen, state[components]);
        rates[components] =
            record.gain * (record.setpoint - oxygen) / record.integralTime + 2.0 * beyond / record.integralTime;
    } else {
        rates[components] = -state[components];  // none: it stays at 0, and the equations have one solution
    }
}

// Without volume: what settles goes into the underflow, if there is one.
static void splitIdeally(System& system, const double* feed) {
    const Flows& flows = system.flows;
    const double entering = flows.overflow + flows.underflow;
    for (size_t c = 0; c < system.layout.components; ++c) {
        double above = feed[c];
        double below = feed[c];
        if (system.model->matrix.isParticulate[c] && flows.underflow > 0.0) {
            above *= system.model->settler.fns;
            below = (entering * feed[c] - flows.overflow * above) / flows.underflow;
        }
        system.overflow[c] = above;
        system.underflow[c] = below;
    }
}

void system_findOutlets(System& system, const double* state) {
    const Layout& layout = system.layout;
    if (layout.layers == 0) {
        splitIdeally(system, state + layout.tank(layout.tanks - 1));
        return;
    }
    std::copy_n(state + layout.layer(layout.layers - 1), layout.components, system.overflow.begin());
    std::copy_n(state + layout.layer(0), layout.components, system.underflow.begin());
}

// Load into a tank, unit x m3/d.
static void gatherLoad(System& system, size_t tank, const double* state) {
    const Layout& layout = system.layout;
    const Flows& flows = system.flows;
    const auto add = [&](double flow, const double* source) {
        for (size_t c = 0; c < layout.components && flow != 0.0; ++c) {
            system.entering[c] += flow * source[c];
        }
    };
    std::fill(system.entering.begin(), system.entering.end(), 0.0);
    add(flows.feed[tank], system.inflow.data());
    if (tank > 0) {
        add(flows.through[tank - 1], state + layout.tank(tank - 1));
    }
    if (tank == system.model->returnTank) {
        add(flows.returned, system.underflow.data());
    }
    for (size_t r = 0; r < flows.recycles.size(); ++r) {
        const Recycle& recycle = system.model->recycles[r];
        if (recycle.to == tank) {
            add(flows.recycles[r], state + layout.tank(recycle.from));
        }
    }
}

void system_computeRates(System& system, const double* state, double* rates) {
    const Layout& layout = system.layout;
    const Flows& flows = system.flows;
    const size_t oxygen = system.model->matrix.oxygen;
    std::fill_n(rates, layout.size(), 0.0);
    system_findOutlets(system, state);
    for (size_t k = 0; k < layout.tanks; ++k) {
        const Tank& tank = system.model->tanks[k];
        const double* here = state + layout.tank(k);
        double* change = rates + layout.tank(k);
        gatherLoad(system, k, state);
        system_computeReactions(system, k, here, change);
        for (size_t c = 0; c < layout.components; ++c) {
            change[c] += (system.entering[c] - flows.entering[k] * here[c]) / tank.volume;
        }
        rates[layout.oxygen()] += tank.volume * (system.saturation - here[oxygen]) *
                                  system_computeKla(tank, here[oxygen], here[layout.components]);
    }
    if (layout.layers > 0) {
        settler_addRates(*system.model, flows, state + layout.tank(layout.tanks - 1), state + layout.layer(0),
                         system.settler, rates + layout.layer(0));
    }
    for (size_t c = 0; c < layout.components; ++c) {
        rates[layout.overflow() + c] = flows.overflow * system.overflow[c];
        rates[layout.waste() + c] = flows.waste * system.underflow[c];
    }
}
