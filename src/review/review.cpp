// The review of a project: what only shows when all lines are known.

#include "review/review.h"

#include "model/model.h"
#include "model/warnings.h"
#include "review/steps.h"

void review_project(const Model& model) {
    if (!warnings_isWanted(model)) {
        return;
    }
    steps_review(model);
    warnings_tellRest(model);
}
