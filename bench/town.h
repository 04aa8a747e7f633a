#pragma once
// A town in which nothing is to be warned of, as the text of a project.

#include <string>

/// So many parcels, each a subcatchment with junctions, pipe and conduit, inflows and coverages.
std::string bench_makeTown(int parcels);
