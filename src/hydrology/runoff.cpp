// The runoff step: rain on subcatchments becomes runoff at their outlets. The runoff clock runs ahead of the routing
// clock, which interpolates between its last two instants.

#include "hydrology/runoff.h"

#include "engine/errors.h"
#include "engine/project.h"

void runoff_advance() {
    if (ErrorCode) {
        return;
    }
    OldRunoffTime = NewRunoffTime;
    const double next = NewRunoffTime + RunoffStep * 1000.0;
    NewRunoffTime = next > TotalDuration ? TotalDuration : next;
}
