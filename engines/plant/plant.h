#pragma once
// A plant in operation: a model, its state, and what passes from step to step.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "integrator.h"
#include "modelfile.h"
#include "plantmodel.h"

/// What has come and gone since the start. Masses in the unit of the component x m3.
struct Books {
    double waterIn = 0.0;    ///< m3
    double waterOut = 0.0;   ///< m3
    double oxygen = 0.0;     ///< g O2 dissolved by aeration
    std::vector<double> in;  ///< of components
    std::vector<double> out;
    std::vector<double> stored;  ///< at the start
};

/// Index 0 the flow, m3/s, then the load of each constituent, g/s.
using Input = std::array<double, 1 + CONSTITUENT_COUNT>;
/// Index 0 the flow, m3/s, then the concentration of each product, g/m3.
using Output = std::array<double, 1 + PRODUCT_COUNT>;

struct Plant {
    std::string path;          ///< of the model file
    uint64_t fingerprint = 0;  ///< of its bytes
    PlantModel model;
    Integrator integrator;
    std::vector<double> begin;  ///< state to start from; empty until it is known
    std::vector<double> state;
    int64_t now = 0;  ///< s since the start
    bool isStarted = false;
    bool isFailed = false;
    std::string failure;                              ///< what the integration couldn't do, with its time
    std::vector<Input> inputs;                        ///< of influents, until set anew
    std::vector<Output> outputs;                      ///< of effluents, means of the latest step
    std::array<double, CONSTITUENT_COUNT> waiting{};  ///< g, load that came without water
    Books books;
};

/// Reads a model file. The messages of what is wrong, none if the plant can be started.
[[nodiscard]] std::vector<FileMessage> plant_open(const std::string& path, const std::string& bytes, Plant& plant);

/// Puts all to the start. An empty text, or why there is no start.
[[nodiscard]] std::string plant_start(Plant& plant);

/// One step with the inputs, or with components given. Nothing after the end or a failure. An empty text, or the
/// failure.
[[nodiscard]] std::string plant_step(Plant& plant);
[[nodiscard]] std::string plant_stepWith(Plant& plant, double flow, const std::vector<double>& components);

/// Whether there is nothing more to do.
[[nodiscard]] bool plant_isOver(const Plant& plant);

/// What of a content has come, has gone and is stored more than at the start, and what of it is missing, g (mol).
struct Balance {
    double in = 0.0;
    double out = 0.0;
    double stored = 0.0;
    double oxygen = 0.0;  ///< counts for COD alone
    double gap = 0.0;
};
[[nodiscard]] Balance plant_computeBalance(const Plant& plant, Content content);

/// The bytes of all that a run changes; empty if it can't be saved.
[[nodiscard]] std::vector<char> state_save(const Plant& plant);

/// Takes them. False, and nothing has changed, if they aren't whole or belong to another model.
[[nodiscard]] bool state_restore(const char* bytes, size_t size, Plant& plant);

/// A sum over bytes. Fowler, Noll, Vo: FNV-1a.
[[nodiscard]] uint64_t state_sum(const char* bytes, size_t size);
