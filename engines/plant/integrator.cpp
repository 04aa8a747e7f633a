// The plant's equations in the hands of CVODE.

#include "integrator.h"

#include <cvode/cvode.h>
#include <cvode/cvode_ls.h>
#include <nvector/nvector_serial.h>
#include <sunlinsol/sunlinsol_spgmr.h>

#include <algorithm>
#include <cmath>

struct Solver {
    SUNContext context = nullptr;
    N_Vector state = nullptr;
    N_Vector tolerance = nullptr;  // absolute
    N_Vector errors = nullptr;
    N_Vector weights = nullptr;
    SUNLinearSolver linear = nullptr;
    void* cvode = nullptr;
    bool isBegun = false;
    long steps = 0;

    Solver() = default;
    ~Solver() {
        CVodeFree(&cvode);
        if (linear != nullptr) {
            SUNLinSolFree(linear);
        }
        for (N_Vector vector : {state, tolerance, errors, weights}) {
            if (vector != nullptr) {
                N_VDestroy(vector);
            }
        }
        SUNContext_Free(&context);
    }
    Solver(const Solver&) = delete;
    Solver& operator=(const Solver&) = delete;
};

namespace {

constexpr int KRYLOV_DIMENSION = 20;
constexpr double CONTROLLER_TOLERANCE = 0.01;  // 1/d

// A stray trial of the integrator may leave all sense: it is refused, and a shorter step tried.
bool areNumbers(N_Vector vector) {
    const double* entries = N_VGetArrayPointer(vector);
    const auto length = static_cast<size_t>(N_VGetLength(vector));
    return std::all_of(entries, entries + length, [](double entry) { return std::isfinite(entry); });
}

int computeRates(double /*time*/, N_Vector state, N_Vector rates, void* data) {
    auto& integrator = *static_cast<Integrator*>(data);
    system_computeRates(integrator.system, N_VGetArrayPointer(state), N_VGetArrayPointer(rates));
    return areNumbers(rates) ? 0 : 1;
}

int setupPreconditioner(double /*time*/, N_Vector state, N_Vector /*rates*/, int isKept, int* isNew, double gamma,
                        void* data) {
    auto& integrator = *static_cast<Integrator*>(data);
    *isNew = isKept != 0 ? 0 : 1;
    return preconditioner_setup(integrator.system, N_VGetArrayPointer(state), gamma, isKept != 0,
                                integrator.preconditioner)
               ? 0
               : 1;
}

int solvePreconditioner(double /*time*/, N_Vector /*state*/, N_Vector /*rates*/, N_Vector right, N_Vector solution,
                        double /*gamma*/, double /*delta*/, int /*side*/, void* data) {
    auto& integrator = *static_cast<Integrator*>(data);
    N_VScale(1.0, right, solution);
    preconditioner_solve(integrator.system, integrator.preconditioner, N_VGetArrayPointer(solution));
    return areNumbers(solution) ? 0 : 1;
}

// Messages of the library go nowhere: what they say is in its codes.
void ignoreMessage(int /*code*/, const char* /*module*/, const char* /*function*/, char* /*text*/, void* /*data*/) {}

// Masses that leave in the step are known as well as the concentrations they leave with.
void setTolerances(const Integrator& integrator, double days, double* tolerance) {
    const System& system = integrator.system;
    const Layout& layout = system.layout;
    const PlantModel& model = *system.model;
    std::fill_n(tolerance, layout.size(), model.absoluteTolerance);
    double volume = 0.0;
    for (size_t k = 0; k < layout.tanks; ++k) {
        tolerance[layout.tank(k) + layout.components] = CONTROLLER_TOLERANCE;
        volume += model.tanks[k].volume;
    }
    for (size_t c = 0; c < layout.components; ++c) {
        tolerance[layout.overflow() + c] = model.absoluteTolerance * (1.0 + system.flows.overflow * days);
        tolerance[layout.waste() + c] = model.absoluteTolerance * (1.0 + system.flows.waste * days);
    }
    tolerance[layout.oxygen()] = model.absoluteTolerance * volume;
}

// Where the changes of a state are no numbers; the size of the state if all are.
size_t findNoNumber(System& system, const std::vector<double>& state) {
    std::vector<double> rates(state.size());
    system_computeRates(system, state.data(), rates.data());
    const auto found = std::find_if(rates.begin(), rates.end(), [](double rate) { return !std::isfinite(rate); });
    return static_cast<size_t>(found - rates.begin());
}

std::string describeFailure(Integrator& integrator, int code, const std::vector<double>& state) {
    const Solver& solver = *integrator.solver;
    const size_t size = integrator.system.layout.size();
    const size_t broken = findNoNumber(integrator.system, state);
    size_t worst = 0;
    if (broken < size) {
        return "the integration fails, a change is no number: " + integrator_describePlace(integrator.system, broken);
    }
    if (CVodeGetEstLocalErrors(solver.cvode, solver.errors) == CV_SUCCESS &&
        CVodeGetErrWeights(solver.cvode, solver.weights) == CV_SUCCESS) {
        const double* errors = N_VGetArrayPointer(solver.errors);
        const double* weights = N_VGetArrayPointer(solver.weights);
        const auto measure = [&](size_t k) {
            const double error = std::fabs(errors[k] * weights[k]);
            return std::isfinite(error) ? error : HUGE_VAL;
        };
        for (size_t k = 1; k < size; ++k) {
            worst = measure(k) > measure(worst) ? k : worst;
        }
    }
    const char* why = code == CV_TOO_MUCH_WORK ? "too many steps are needed" : "no step is short enough";
    return std::string("the integration fails, ") + why +
           "; hardest to follow: " + integrator_describePlace(integrator.system, worst);
}

bool createSolver(Integrator& integrator, Solver& solver) {
    const auto size = static_cast<sunindextype>(integrator.system.layout.size());
    if (SUNContext_Create(nullptr, &solver.context) != 0) {
        return false;
    }
    solver.state = N_VNew_Serial(size, solver.context);
    for (N_Vector* vector : {&solver.tolerance, &solver.errors, &solver.weights}) {
        *vector = solver.state != nullptr ? N_VClone(solver.state) : nullptr;
    }
    solver.cvode = CVodeCreate(CV_BDF, solver.context);
    if (solver.state == nullptr || solver.weights == nullptr || solver.errors == nullptr ||
        solver.tolerance == nullptr || solver.cvode == nullptr) {
        return false;
    }
    N_VConst(0.0, solver.state);
    N_VConst(1.0, solver.tolerance);
    solver.linear = SUNLinSol_SPGMR(solver.state, SUN_PREC_LEFT, KRYLOV_DIMENSION, solver.context);
    return solver.linear != nullptr && CVodeSetErrHandlerFn(solver.cvode, ignoreMessage, nullptr) == CV_SUCCESS &&
           CVodeInit(solver.cvode, computeRates, 0.0, solver.state) == CV_SUCCESS &&
           CVodeSVtolerances(solver.cvode, integrator.system.model->relativeTolerance, solver.tolerance) ==
               CV_SUCCESS &&
           CVodeSetUserData(solver.cvode, &integrator) == CV_SUCCESS &&
           CVodeSetLinearSolver(solver.cvode, solver.linear, nullptr) == CVLS_SUCCESS &&
           CVodeSetPreconditioner(solver.cvode, setupPreconditioner, solvePreconditioner) == CVLS_SUCCESS &&
           CVodeSetNonlinConvCoef(solver.cvode, 0.01) == CV_SUCCESS;
}

}  // namespace

void SolverEnd::operator()(Solver* solver) const {
    delete solver;
}

std::string integrator_init(const PlantModel& model, Integrator& integrator) {
    system_init(model, integrator.system);
    integrator.solver.reset(new Solver);
    return createSolver(integrator, *integrator.solver) ? "" : "no memory for the integration";
}

std::string integrator_advance(Integrator& integrator, double days, long mostSteps, std::vector<double>& state) {
    Solver& solver = *integrator.solver;
    const Layout& layout = integrator.system.layout;
    std::copy(state.begin(), state.end(), N_VGetArrayPointer(solver.state));
    setTolerances(integrator, days, N_VGetArrayPointer(solver.tolerance));
    int code = CVodeReInit(solver.cvode, 0.0, solver.state);
    if (code == CV_SUCCESS) {
        code = CVodeSVtolerances(solver.cvode, integrator.system.model->relativeTolerance, solver.tolerance);
    }
    if (code == CV_SUCCESS) {
        code = CVodeSetStopTime(solver.cvode, days);
    }
    if (code == CV_SUCCESS) {
        code = CVodeSetMaxNumSteps(solver.cvode, mostSteps);
    }
    if (code == CV_SUCCESS) {
        double reached = 0.0;
        code = CVode(solver.cvode, days, solver.state, &reached, CV_NORMAL);
    }
    long steps = 0;
    if (CVodeGetNumSteps(solver.cvode, &steps) == CV_SUCCESS) {
        solver.steps += steps;
    }
    if (code < 0 || !areNumbers(solver.state)) {
        return describeFailure(integrator, code, state);
    }
    const double* reached = N_VGetArrayPointer(solver.state);
    std::copy_n(reached, layout.size(), state.begin());
    return {};
}

std::string integrator_describePlace(const System& system, size_t place) {
    const Layout& layout = system.layout;
    const std::vector<std::string>& names = system.model->matrix.names;
    if (place < layout.tank(layout.tanks)) {
        const size_t tank = place / (layout.components + 1);
        const size_t component = place % (layout.components + 1);
        return "tank " + system.model->tanks[tank].name + ", " +
               (component < layout.components ? names[component] : std::string("its oxygen controller"));
    }
    if (place < layout.overflow()) {
        const size_t behind = place - layout.layer(0);
        return "settler, layer " + std::to_string(behind / layout.components + 1) + ", " +
               names[behind % layout.components];
    }
    if (place < layout.oxygen()) {
        return "what leaves the settler, " + names[(place - layout.overflow()) % layout.components];
    }
    return "the oxygen of all tanks";
}

long integrator_countSteps(const Integrator& integrator) {
    return integrator.solver ? integrator.solver->steps : 0;
}
