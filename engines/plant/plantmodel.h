#pragma once
// What a model file says of a plant, and its numbers.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "matrix.h"

constexpr size_t CONSTITUENT_COUNT = 6;  ///< COD, NH4, NO3, TP, TSS, ALK
constexpr size_t PRODUCT_COUNT = 19;     ///< components that hosts ask for

extern const std::array<std::string_view, CONSTITUENT_COUNT> ConstituentNames;
extern const std::array<std::string_view, PRODUCT_COUNT> ProductNames;

enum class Kinetics : uint8_t { ASM1, ASM2D };
enum class Aeration : uint8_t { NONE, KLA, OXYGEN };
enum class SettlerKind : uint8_t { TAKACS, IDEAL };
enum class Stream : uint8_t { EFFLUENT, OVERFLOW, WASTE, BYPASS };

/// A flow of the plant's own: constant + ratio x inflow of the tanks, within limits.
struct FlowRule {
    double constant = 0.0;  ///< m3/d
    double ratio = 0.0;     ///< of the inflow that is treated
    double least = 0.0;     ///< m3/d
    double most = 1e12;     ///< m3/d
};

struct Tank {
    std::string name;
    double volume = 0.0;  ///< m3
    double share = 0.0;   ///< of the inflow that is treated
    Aeration aeration = Aeration::NONE;
    double kla = 0.0;            ///< 1/d, given, or that of the controller without an error
    double setpoint = 0.0;       ///< g O2/m3
    double klaLeast = 0.0;       ///< 1/d
    double klaMost = 0.0;        ///< 1/d
    double gain = 25.0;          ///< 1/d per g O2/m3
    double integralTime = 0.01;  ///< d
    size_t line = 0;
};

/// From the end of a tank to the beginning of itself or of one before it.
struct Recycle {
    size_t from = 0;
    size_t to = 0;
    FlowRule flow;
};

/// Takacs, Patry, Nolasco (1991); defaults are those of the benchmark.
struct Settler {
    SettlerKind kind = SettlerKind::TAKACS;
    double area = 0.0;   ///< m2
    double depth = 4.0;  ///< m
    size_t layers = 10;
    size_t feed = 6;            ///< layer, counted from the bottom, 1 being the lowest
    double v0 = 474.0;          ///< m/d, Vesilind
    double v0Most = 250.0;      ///< m/d
    double rh = 0.000576;       ///< m3/g, hindered settling
    double rp = 0.00286;        ///< m3/g, settling at low concentration
    double fns = 0.00228;       ///< of the feed's solids, doesn't settle; of the ideal one what it loses
    double threshold = 3000.0;  ///< g/m3, above which a layer over the feed is held by the one below
};

struct Effluent {
    std::string name;
    Stream stream = Stream::EFFLUENT;
};

/// How six constituents become the components of the model.
struct Fractions {
    double inertDissolved = 0.08;       ///< of COD: S_I
    double fermentable = 0.2;           ///< of COD: S_S, S_F
    double acetate = 0.0;               ///< of COD: S_A, none in ASM1
    double inertParticulate = 0.15;     ///< of COD: X_I
    double biomass = 0.1;               ///< of COD: X_BH, X_H; what is left of COD is X_S
    double nitrogenDissolved = 0.03;    ///< g N/g COD of S_S: S_ND of ASM1
    double nitrogenParticulate = 0.04;  ///< g N/g COD of X_S: X_ND of ASM1
    double alkalinity = 50.0;           ///< g/mol, of ALK: as CaCO3
};

/// A concentration that the run starts with.
struct StartValue {
    size_t unit = 0;  ///< tank, or behind the tanks the layers from the bottom
    size_t component = 0;
    double value = 0.0;  ///< unit of the component
};

struct PlantModel {
    std::string title;
    Kinetics kinetics = Kinetics::ASM1;
    bool isBenchmark = false;  ///< the benchmark's parameters
    double start = 0.0;        ///< day number and part of the day, day 1 being 31 December 1899
    double end = 0.0;
    int64_t duration = 0;       ///< s
    int64_t step = 900;         ///< s, at whose ends results are handed over
    double temperature = 20.0;  ///< degree C
    double saturation = -1.0;   ///< g O2/m3, below 0: after the temperature
    double relativeTolerance = 1e-5;
    double absoluteTolerance = 1e-4;  ///< unit of the component
    std::vector<ParameterChoice> choices;
    std::vector<Tank> tanks;
    std::vector<Recycle> recycles;
    FlowRule returned;  ///< return sludge, into the first tank or the one named
    size_t returnTank = 0;
    FlowRule waste;             ///< waste sludge, off the underflow
    double bypassAbove = 1e12;  ///< m3/d, what comes beyond it passes the plant by
    Settler settler;
    std::vector<std::string> influents;
    std::vector<Effluent> effluents;
    Fractions fractions;
    double designFlow = 0.0;           ///< m3/d, of the steady state
    std::vector<double> designInflow;  ///< components
    bool startsSteady = true;          ///< else empty but for the start values
    std::vector<StartValue> startValues;
    MatrixTable table;
    Matrix matrix;
};

/// Oxygen in water that is saturated with air, g/m3, at a temperature, degree C. Elmore and Hayes (1960).
[[nodiscard]] double plantmodel_computeSaturation(double temperature);

/// What constituents, g/m3, make of components. `components` has room for all.
void plantmodel_splitInflow(const PlantModel& model, const std::array<double, CONSTITUENT_COUNT>& constituents,
                            double* components);

/// What hosts see of components, g/m3.
void plantmodel_mapProducts(const PlantModel& model, const double* components,
                            std::array<double, PRODUCT_COUNT>& products);
