// The default model. Each opening begins with a new one; the functions that hosts call look it up anew each time.

#include "api/defaultmodel.h"

#include <memory>

#include "model/model.h"

static std::unique_ptr<Model> DefaultModel = std::make_unique<Model>();

Model& defaultmodel_get() {
    return *DefaultModel;
}

Model& defaultmodel_renew() {
    auto next = std::make_unique<Model>();
    next->engines = DefaultModel->engines;
    next->error = DefaultModel->error;
    next->options = DefaultModel->options;
    next->clock = DefaultModel->clock;
    next->sinks = DefaultModel->sinks;
    next->pace = DefaultModel->pace;
    DefaultModel.swap(next);
    return *DefaultModel;
}
