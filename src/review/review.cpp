// The review of a project: what only shows when all lines are known.

#include "review/review.h"

#include "model/model.h"
#include "model/warnings.h"
#include "review/clock.h"
#include "review/exchange.h"
#include "review/land.h"
#include "review/layers.h"
#include "review/records.h"
#include "review/rules.h"
#include "review/series.h"
#include "review/seriesreaders.h"
#include "review/steps.h"
#include "review/tanks.h"
#include "review/usage.h"
#include "review/ways.h"

void review_project(const Model& model) {
    if (!warnings_isWanted(model)) {
        return;
    }
    clock_review(model);
    records_review(model);
    seriesreaders_review(model);
    layers_review(model);
    rules_review(model);
    exchange_review(model);
    steps_review(model);
    tanks_review(model);
    ways_review(model);
    usage_review(model);
    land_review(model);
    series_review(model);
    warnings_tellRest(model);
}
