#pragma once
// What most sources include of the standard library, compiled once for all of them by a build with TARNVELDE_QUICK.
// Each source still names what it needs: other builds have no such header.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>
