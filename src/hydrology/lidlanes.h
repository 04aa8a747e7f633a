#pragma once
// The numbers of up to four pollutants of a LID unit, side by side in registers. Of more, four by four go through a
// step. What is done to one is done to all, by the plain operations of the processor, so each has the bits that it
// would have alone.

#include <cstddef>
#include <cstring>

/// Two numbers in one register.
using LidPair [[gnu::vector_size(16)]] = double;

/// One number for each of up to four pollutants. Of two there is no second pair; what an odd number leaves over is 0 at
/// first, and goes nowhere.
template <size_t N>
struct LidLanes {
    LidPair low;
    LidPair high;
};

/// What `law` makes of each pair.
template <size_t N, class Law>
[[gnu::always_inline]] inline LidLanes<N> lidlanes_each(Law law, const auto&... values) {
    LidLanes<N> result;
    result.low = law(values.low...);
    if constexpr (N > 2) {
        result.high = law(values.high...);
    }
    return result;
}

template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> operator+(const LidLanes<N>& a, const LidLanes<N>& b) {
    return lidlanes_each<N>([](LidPair x, LidPair y) { return x + y; }, a, b);
}

template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> operator-(const LidLanes<N>& a, const LidLanes<N>& b) {
    return lidlanes_each<N>([](LidPair x, LidPair y) { return x - y; }, a, b);
}

template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> operator*(const LidLanes<N>& a, double b) {
    return lidlanes_each<N>([b](LidPair x) { return x * b; }, a);
}

template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> operator*(const LidLanes<N>& a, const LidLanes<N>& b) {
    return lidlanes_each<N>([](LidPair x, LidPair y) { return x * y; }, a, b);
}

template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> operator/(const LidLanes<N>& a, double b) {
    return lidlanes_each<N>([b](LidPair x) { return x / b; }, a);
}

/// std::max(x, 0.0): what is no number stays, and so does -0.0.
template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> lidlanes_limitBelow(const LidLanes<N>& a) {
    return lidlanes_each<N>([](LidPair x) { return x < 0.0 ? LidPair{} : x; }, a);
}

/// The same number for all.
template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> lidlanes_fill(double value) {
    const LidPair both = {value, value};
    LidLanes<N> lanes;
    lanes.low = lanes.high = both;
    return lanes;
}

/// The numbers that `get` gives for each, which stand apart from one another.
template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> lidlanes_pick(const auto& get) {
    LidLanes<N> lanes;
    if constexpr (N == 1) {
        lanes.low = LidPair{get(0), 0.0};
    } else {
        lanes.low = LidPair{get(0), get(1)};
    }
    if constexpr (N == 3) {
        lanes.high = LidPair{get(2), 0.0};
    } else if constexpr (N == 4) {
        lanes.high = LidPair{get(2), get(3)};
    }
    return lanes;
}

/// Some of two numbers that stand one after the other.
template <size_t COUNT>
[[gnu::always_inline]] inline LidPair lidlanes_loadPair(const double* from) {
    LidPair pair{};
    std::memcpy(&pair, from, COUNT * sizeof(double));
    return pair;
}

template <size_t N>
[[gnu::always_inline]] inline LidLanes<N> lidlanes_load(const double* from) {
    LidLanes<N> lanes;
    lanes.low = lidlanes_loadPair<(N == 1 ? 1 : 2)>(from);
    if constexpr (N > 2) {
        lanes.high = lidlanes_loadPair<N - 2>(from + 2);
    }
    return lanes;
}

template <size_t N>
[[gnu::always_inline]] inline void lidlanes_store(double* to, const LidLanes<N>& lanes) {
    std::memcpy(to, &lanes.low, (N == 1 ? 1 : 2) * sizeof(double));
    if constexpr (N > 2) {
        std::memcpy(to + 2, &lanes.high, (N - 2) * sizeof(double));
    }
}

template <size_t N>
[[gnu::always_inline]] inline void lidlanes_add(double* sums, const LidLanes<N>& lanes) {
    lidlanes_store<N>(sums, lidlanes_load<N>(sums) + lanes);
}

/// Lets all pollutants of a number go through `act<N>(first)`, four by four and what is left over.
[[gnu::always_inline]] inline void lidlanes_visit(size_t count, const auto& act) {
    size_t first = 0;
    for (; count > 4; first += 4, count -= 4) {
        act.template operator()<4>(first);
    }
    switch (count) {
        case 1: act.template operator()<1>(first); break;
        case 2: act.template operator()<2>(first); break;
        case 3: act.template operator()<3>(first); break;
        case 4: act.template operator()<4>(first); break;
        default: break;
    }
}
