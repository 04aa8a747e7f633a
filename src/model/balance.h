#pragma once
// The balance of one place that holds water or passes it on.

/// Water (m3) or one pollutant (kg) over the run, by the same books as the totals: what all places miss together is
/// what the continuity error says.
struct Balance {
    double initial;  ///< stored at the start
    double in;
    double out;
    double lost;    ///< to the air, the ground, by reaction, or as flood
    double stored;  ///< now, with what would leave after the end of the run
};

/// What is in no account; negative for what came from nowhere.
[[nodiscard]] inline double balance_getMissing(const Balance& balance) {
    return balance.initial + balance.in - balance.out - balance.lost - balance.stored;
}
