// See bound.h. The rules are those of the library, with everything left out that this network doesn't need; the inflow
// of the outfall is the same number, bit by bit.

#include "bound.h"

#include <algorithm>

static double limitWeight(double weight) {
    return weight < 0.0 ? 0.0 : weight > 1.0 ? 1.0 : weight;
}

Bound bound_create(const BenchNetwork& network, int32_t pollutants, double duration) {
    Bound b{};
    const size_t n = network.down.size();
    const size_t loads = (n + 1) * static_cast<size_t>(pollutants);
    b.down = network.down;
    b.pollutants = pollutants;
    b.duration = duration;
    for (std::vector<double>* array :
         {&b.lateral, &b.upstream, &b.inflow, &b.volume, &b.maxInflow, &b.k, &b.lastFire, &b.nextFire, &b.sumVolume,
          &b.meanInflow, &b.oldFlow, &b.newFlow, &b.flowVolume, &b.maxFlow}) {
        array->assign(n + 1, 0.0);
    }
    for (std::vector<double>* array : {&b.mass, &b.qual, &b.sumMass, &b.oldQual, &b.newQual}) {
        array->assign(loads, 0.0);
    }
    b.lateralLoad.assign(loads, 0.0);
    b.sumCount.assign(n + 1, 0);
    b.firstReach.assign(n + 1, 0);
    for (size_t i = 0; i < n; ++i) {
        b.lateral[i] = network.isHead[i] ? HEAD_FLOW : 0.0;
        for (int64_t p = 0; p < pollutants; ++p) {
            b.lateralLoad[i * static_cast<size_t>(pollutants) + static_cast<size_t>(p)] =
                HEAD_CONCENTRATION * b.lateral[i] / 1000.0;
        }
        b.k[i] = bench_getPipeK(static_cast<int64_t>(i));
        b.firstReach[i + 1] = b.firstReach[i] + bench_getPipeReaches(static_cast<int64_t>(i));
    }
    const size_t reaches = static_cast<size_t>(b.firstReach[n]);
    b.storage.assign(reaches, 0.0);
    b.oldReachQual.assign(reaches * static_cast<size_t>(pollutants), 0.0);
    b.newReachQual = b.oldReachQual;
    return b;
}

/// What the last step left becomes old, and the sums of this step begin with what comes in from the side.
static void roll(Bound& b) {
    std::copy(b.newFlow.begin(), b.newFlow.end(), b.oldFlow.begin());
    std::copy(b.newQual.begin(), b.newQual.end(), b.oldQual.begin());
    std::copy(b.newReachQual.begin(), b.newReachQual.end(), b.oldReachQual.begin());
    std::copy(b.lateralLoad.begin(), b.lateralLoad.end(), b.mass.begin());
    std::fill(b.upstream.begin(), b.upstream.end(), 0.0);
}

static void mixJunction(Bound& b, size_t i) {
    const double flow = b.lateral[i] + b.upstream[i];
    b.inflow[i] = flow;
    b.volume[i] += flow * BENCH_STEP;
    b.maxInflow[i] = flow > b.maxInflow[i] ? flow : b.maxInflow[i];
    const size_t count = static_cast<size_t>(b.pollutants);
    const double* mass = b.mass.data() + i * count;
    double* qual = b.qual.data() + i * count;
    for (size_t p = 0; p < count; ++p) {
        qual[p] = flow != 0.0 ? mass[p] / flow * 1000.0 : 0.0;
    }
}

/// The sums of a pipe go through its reaches.
static void fire(Bound& b, size_t i) {
    const size_t count = static_cast<size_t>(b.pollutants);
    b.lastFire[i] = b.nextFire[i];
    b.nextFire[i] = std::min(b.k[i] * 1000.0 + b.lastFire[i], b.duration);
    double* c = b.sumMass.data() + i * count;
    for (size_t p = 0; p < count; ++p) {
        c[p] = b.sumVolume[i] != 0.0 ? c[p] / b.sumVolume[i] * 1000.0 : 0.0;
    }
    double flow = b.sumVolume[i] / b.sumCount[i] / BENCH_STEP;
    const double k = b.k[i], half = k * 0.5, kx = k * PIPE_X, rest = (1.0 - PIPE_X) * k;
    b.oldFlow[i] = b.newFlow[i];
    b.meanInflow[i] = flow;
    for (size_t j = static_cast<size_t>(b.firstReach[i]); j < static_cast<size_t>(b.firstReach[i + 1]); ++j) {
        const double out = (flow * (half - kx) + b.storage[j]) / (rest + half);
        const double change = k * (flow - out);
        const double divisor = k * out + b.storage[j] + change;
        for (size_t p = 0; p < count; ++p) {
            const size_t place = j * count + p;
            c[p] = change + out != 0.0 ? (k * flow * c[p] + b.storage[j] * b.oldReachQual[place]) / divisor : 0.0;
            b.newReachQual[place] = c[p];
        }
        b.storage[j] += (flow - out) * k;
        flow = out;
    }
    b.newFlow[i] = flow;
    std::copy_n(c, count, b.newQual.begin() + static_cast<int64_t>(i * count));
    std::fill_n(c, count, 0.0);
    b.sumVolume[i] = 0.0;
    b.sumCount[i] = 0;
}

static void collect(Bound& b, size_t i) {
    const size_t count = static_cast<size_t>(b.pollutants);
    const double flow = b.inflow[i];
    b.sumVolume[i] += BENCH_STEP * flow;
    for (size_t p = 0; p < count; ++p) {
        b.sumMass[i * count + p] += BENCH_STEP * flow * b.qual[i * count + p] / 1000.0;
    }
    ++b.sumCount[i];
}

static void deliver(Bound& b, size_t i) {
    b.flowVolume[i] += BENCH_STEP * b.newFlow[i];
    b.maxFlow[i] = b.newFlow[i] > b.maxFlow[i] ? b.newFlow[i] : b.maxFlow[i];
    if (b.nextFire[i] == b.lastFire[i]) {
        return;
    }
    const double period = b.nextFire[i] - b.lastFire[i];
    const double a = limitWeight((b.time - b.lastFire[i] + b.k[i] * 1000.0) / period);
    const double w = limitWeight((b.time - b.lastFire[i]) / period);
    const size_t down = static_cast<size_t>(b.down[i]);
    const size_t count = static_cast<size_t>(b.pollutants);
    b.upstream[down] += (1.0 - a) * b.oldFlow[i] + a * b.newFlow[i];
    double* mass = b.mass.data() + down * count;
    const double* oldQual = b.oldQual.data() + i * count;
    const double* newQual = b.newQual.data() + i * count;
    for (size_t p = 0; p < count; ++p) {
        mass[p] += ((1.0 - w) * b.oldFlow[i] * oldQual[p] + w * b.newFlow[i] * newQual[p]) / 1000.0;
    }
}

void bound_step(Bound& b) {
    const double end = std::min(b.time + BENCH_STEP * 1000.0, b.duration);
    roll(b);
    const size_t count = b.down.size();
    for (size_t i = 0; i < count; ++i) {
        mixJunction(b, i);
        if (end > b.nextFire[i] && b.sumCount[i] != 0) {
            fire(b, i);
        } else {
            collect(b, i);
        }
        deliver(b, i);
    }
    mixJunction(b, count);
    b.time = end;
}
