#pragma once
// A weir: an outlet of a tank whose crest the setting lifts.

#include <cstdint>

#include "links/link.h"

struct Model;

enum WeirShape : int32_t { RECTANGULAR_WEIR, TRIANGULAR_WEIR };

struct Weir {
    int32_t shape;            ///< WeirShape
    bool useHostCoefficient;  ///< hostCoefficient counts
    bool useHostHeight;       ///< hostHeight counts, and the setting doesn't
    double coefficient;       ///< m^0.5/s, discharge coefficient
    double length;            ///< m, of the crest; without effect on a triangular weir
    double crest;             ///< m above the bottom of the tank
    double opening;           ///< m, the range by which the setting moves the crest
    double hostCoefficient;   ///< as coefficient
    double hostHeight;        ///< m above `crest`
};

/// A line of [WEIRS] for the row `link` of the links and the row `kindIndex` of the weirs. An error index, or 0.
[[nodiscard]] int32_t weir_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex);

void weir_initState(Weir& weir);

/// The height (m) that sorts a weir among the outlets of its tank: the crest as setting and parameters place it. What
/// the host overrides doesn't count here.
[[nodiscard]] double weir_getLevel(const Link& link, const Weir& weir);

/// Flow (m3/s) at a depth (m) in the tank.
[[nodiscard]] double weir_getFlow(const Link& link, const Weir& weir, double depth);
