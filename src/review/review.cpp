// The review of a project: what only shows when all lines are known.

#include "review/review.h"

#include "model/model.h"
#include "model/warnings.h"
#include "review/exchange.h"
#include "review/layers.h"
#include "review/records.h"
#include "review/rules.h"
#include "review/series.h"
#include "review/steps.h"

void review_project(const Model& model) {
    if (!warnings_isWanted(model)) {
        return;
    }
    records_review(model);
    series_review(model);
    layers_review(model);
    rules_review(model);
    exchange_review(model);
    steps_review(model);
    warnings_tellRest(model);
}
