// A parameter scan: the same model for several values of one parameter, each in a process of its own, as many at a time
// as there are processors. One process holds one project, and so the processes share nothing.
//
//     scan MODEL FOLDER        reports go to FOLDER

#include <sys/wait.h>
#include <tarnvelde.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

/// What a child hands back through its pipe.
struct Outcome {
    int32_t code = -1;
    double peak = 0.0;    ///< m3/s, at MOUTH
    double volume = 0.0;  ///< m3, that came there
};

struct Child {
    double impervious;  ///< %
    pid_t process;
    int pipe;  ///< the end to read from
};

/// The inflow of the outfall, m3/s. The value is stored and the result is -1: a mark shows whether it was.
double readInflow() {
    double inflow = -1.0;
    tarnvelde_getResult(TARNVELDE_OUTFALL, "MOUTH", TARNVELDE_RESULT_OUTFALL_INFLOW, &inflow);
    return inflow;
}

/// The steps of a run, watched.
int32_t step(Outcome& outcome) {
    double days = 0.0, seconds = 0.0;
    tarnvelde_getRoutingStep(&seconds);
    int32_t code;
    do {
        code = tarnvelde_step(&days);
        const double inflow = readInflow();
        outcome.peak = std::max(outcome.peak, inflow);
        outcome.volume += inflow * seconds;
    } while (code == 0 && days > 0.0);
    return code;
}

/// A whole run with one value of the parameter.
Outcome simulate(const std::string& model, const std::string& report, double impervious) {
    Outcome outcome;
    outcome.code = tarnvelde_open(model.c_str(), report.c_str(), "");
    if (outcome.code == 0 &&
        tarnvelde_setParam(TARNVELDE_SUBCATCHMENT, "FIELD", TARNVELDE_PARAM_SUBCATCHMENT_IMPERVIOUS, impervious) !=
            TARNVELDE_SUCCESS) {
        outcome.code = -1;
    }
    if (outcome.code == 0) {
        outcome.code = tarnvelde_start(TARNVELDE_SAVE_NOTHING);
    }
    if (outcome.code == 0) {
        outcome.code = step(outcome);
    }
    tarnvelde_report();
    tarnvelde_end();
    tarnvelde_close();
    return outcome;
}

/// Starts a child that simulates. The project lives in the child only: the parent never opens one.
Child start(const std::string& model, const std::string& folder, double impervious) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return {impervious, -1, -1};
    }
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        close(ends[0]);
        if (!std::freopen("/dev/null", "w", stdout)) {  // the engine prints its progress there
            _exit(1);
        }
        const std::string report = folder + "/scan-" + std::to_string(static_cast<int>(impervious)) + ".rpt";
        const Outcome outcome = simulate(model, report, impervious);
        _exit(write(ends[1], &outcome, sizeof outcome) == sizeof outcome ? 0 : 1);
    }
    close(ends[1]);
    return {impervious, process, ends[0]};
}

/// Waits for a child and prints its line. False if it failed.
bool finish(const Child& child) {
    Outcome outcome;
    if (child.process < 0 || read(child.pipe, &outcome, sizeof outcome) != sizeof outcome) {
        outcome.code = -1;
    }
    close(child.pipe);
    int status = 0;
    if (child.process > 0) {
        waitpid(child.process, &status, 0);
    }
    if (outcome.code != 0) {
        std::printf("%12.0f   failed with code %d\n", child.impervious, static_cast<int>(outcome.code));
        return false;
    }
    std::printf("%12.0f %12.3f %12.0f\n", child.impervious, outcome.peak, outcome.volume);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "scan MODEL FOLDER\n");
        return 2;
    }
    const std::vector<double> values = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100};
    const size_t atOnce = std::max(1u, std::thread::hardware_concurrency());
    std::printf("impervious, %%   peak, m3/s   volume, m3\n");
    std::vector<Child> children;
    bool isGood = true;
    for (size_t k = 0, done = 0; done < values.size();) {
        if (k < values.size() && k - done < atOnce) {
            children.push_back(start(argv[1], argv[2], values[k++]));
        } else {
            isGood = finish(children[done++]) && isGood;
        }
    }
    return isGood ? 0 : 1;
}
