// The functions of the C library that the engine calculates with. If this case fails, the hashes of the others were
// made with another C library, or on a processor that it serves with other code.

#include <cmath>

#include "host.h"
#include "text.h"

namespace {

void script_calculate(Host& host) {
    Random random(1);
    for (int k = 0; k < 2000; ++k) {
        const double x = random.real(0.0, 1.0), y = random.real(0.0, 3.0), z = random.real(-20.0, 5.0);
        for (const double value : {std::exp(z), std::pow(x, y), std::pow(10.0 * x, 5.0 / 3.0), std::log(x + 1e-9),
                                   std::acos(2.0 * x - 1.0), std::sin(3.2 * x), std::cos(3.2 * x), std::sqrt(y)}) {
            char text[40];
            std::snprintf(text, sizeof text, "%a", value);
            host_say(host, text);
        }
    }
}

}  // namespace

void cases_addMathematics(std::vector<Case>& cases) {
    cases.push_back({"mathematics", {}, script_calculate});
}
