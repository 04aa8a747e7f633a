#pragma once
// The balances of all places: subcatchments, LID units, nodes and links.

#include <cstdint>

#include "model/balance.h"

struct Model;

/// Takes what each place holds as its storage at the start.
void placebalances_takeStart(Model& model);

/// Water of a subcatchment with the LID units on it, of a LID unit, a node, a link.
[[nodiscard]] Balance placebalances_getSubcatch(const Model& model, int32_t subcatch);
[[nodiscard]] Balance placebalances_getUnit(const Model& model, int32_t unit);
[[nodiscard]] Balance placebalances_getNode(const Model& model, int32_t node);
[[nodiscard]] Balance placebalances_getLink(const Model& model, int32_t link);

/// One pollutant of a place whose loads are kept. False for the others.
[[nodiscard]] bool placebalances_getSubcatchLoad(const Model& model, int32_t subcatch, int32_t pollutant,
                                                 Balance& balance);
[[nodiscard]] bool placebalances_getUnitLoad(const Model& model, int32_t unit, int32_t pollutant, Balance& balance);
[[nodiscard]] bool placebalances_getNodeLoad(const Model& model, int32_t node, int32_t pollutant, Balance& balance);
[[nodiscard]] bool placebalances_getLinkLoad(const Model& model, int32_t link, int32_t pollutant, Balance& balance);
