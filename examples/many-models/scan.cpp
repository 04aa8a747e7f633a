// Two hundred variations of one town, in as many threads as the machine has cores: how much water goes into the brook,
// for twenty grades of paving and ten heights of the throttle.
//
//     scan MODEL REPORT

#include <tarnvelde_model.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int PAVINGS = 20;    ///< 60 % ... 155 % of the paving that the project has
constexpr int THROTTLES = 10;  ///< 0.05 m ... 0.23 m

double getPaving(int k) {
    return 0.60 + 0.05 * k;
}

double getThrottle(int k) {
    return 0.05 + 0.02 * k;
}

struct ModelEnd {
    void operator()(tv_model* model) const { tv_free(model); }
};
using Model = std::unique_ptr<tv_model, ModelEnd>;

/// The numbers of what is varied and read: the same in each model of the project.
struct Numbers {
    int32_t throttle, brook;               ///< objects
    int32_t impervious, height, volume;    ///< variables
    std::vector<double> imperviousShares;  ///< %, of the project as it is
};

/// What all threads share: the text of the project and the numbers are only read, each thread writes its own places of
/// the results.
struct Scan {
    std::string project;
    Numbers numbers;
    std::atomic<int> next{0};
    std::vector<double> spilled = std::vector<double>(PAVINGS * THROTTLES);  ///< m3
    std::vector<int32_t> codes = std::vector<int32_t>(PAVINGS * THROTTLES);
};

/// A model of the project, opened from its text, so that no thread waits for the disk.
int32_t open(const std::string& project, const char* report, Model& model) {
    tv_model* made = nullptr;
    const int32_t code = tv_create(&made);
    model.reset(made);
    return code != TV_OK ? code : tv_openText(made, project.data(), project.size(), nullptr, report);
}

int32_t findNumbers(const tv_model* model, Numbers& numbers) {
    int32_t count = 0;
    const int32_t codes[] = {tv_findObject(model, TV_LINK, "THROTTLE", &numbers.throttle),
                             tv_findObject(model, TV_NODE, "BROOK", &numbers.brook),
                             tv_findVariable(TV_SUBCATCHMENT, "impervious_share", &numbers.impervious),
                             tv_findVariable(TV_LINK, "orifice_height", &numbers.height),
                             tv_findVariable(TV_NODE, "inflow_volume", &numbers.volume),
                             tv_getCount(model, TV_SUBCATCHMENT, &count)};
    const auto* wrong = std::find_if(std::begin(codes), std::end(codes), [](int32_t code) { return code != TV_OK; });
    if (wrong != std::end(codes)) {
        return *wrong;
    }
    numbers.imperviousShares.resize(static_cast<size_t>(count));
    return tv_getValues(model, numbers.impervious, TV_NO_POLLUTANT, numbers.imperviousShares.data(),
                        numbers.imperviousShares.size());
}

/// One variation: its parameters are set, the model runs, and the water in the brook is read before the end.
int32_t simulate(tv_model* model, const Numbers& numbers, double paving, double throttle, double& spilled) {
    std::vector<double> shares = numbers.imperviousShares;
    for (double& share : shares) {
        share = std::min(100.0, share * paving);
    }
    int32_t code = tv_setValues(model, numbers.impervious, TV_NO_POLLUTANT, shares.data(), shares.size());
    code = code != TV_OK ? code : tv_setValue(model, numbers.height, numbers.throttle, TV_NO_POLLUTANT, throttle);
    code = code != TV_OK ? code : tv_start(model, nullptr, nullptr);
    code = code != TV_OK ? code : tv_runUntil(model, TV_END);
    code = code != TV_OK ? code : tv_getValue(model, numbers.volume, numbers.brook, TV_NO_POLLUTANT, &spilled);
    const int32_t ended = tv_end(model);
    return code != TV_OK ? code : ended;
}

/// What a thread does: it opens one model, and runs it for one variation after the other until none is left.
void work(Scan& scan) {
    Model model;
    const int32_t opened = open(scan.project, nullptr, model);
    for (int k = scan.next++; k < PAVINGS * THROTTLES; k = scan.next++) {
        const auto place = static_cast<size_t>(k);
        scan.codes[place] = opened != TV_OK ? opened
                                            : simulate(model.get(), scan.numbers, getPaving(k / THROTTLES),
                                                       getThrottle(k % THROTTLES), scan.spilled[place]);
    }
}

void show(const Scan& scan) {
    std::printf("Water in the brook, m3\n\nPaving, %% of    Height of the throttle, m\nwhat there is");
    for (int t = 0; t < THROTTLES; ++t) {
        std::printf("%7.2f", getThrottle(t));
    }
    std::printf("\n");
    for (int p = 0; p < PAVINGS; ++p) {
        std::printf("%13.0f", 100.0 * getPaving(p));
        for (int t = 0; t < THROTTLES; ++t) {
            std::printf("%7.0f", scan.spilled[static_cast<size_t>(p * THROTTLES + t)]);
        }
        std::printf("\n");
    }
}

/// The project as it is, with a report.
int32_t runOnce(Scan& scan, const char* report) {
    Model model;
    int32_t code = open(scan.project, report, model);
    code = code != TV_OK ? code : findNumbers(model.get(), scan.numbers);
    code = code != TV_OK ? code : tv_start(model.get(), nullptr, nullptr);
    code = code != TV_OK ? code : tv_runUntil(model.get(), TV_END);
    return code != TV_OK ? code : tv_report(model.get());
}

int fail(int32_t code) {
    std::fprintf(stderr, "Error %d: %s\n", static_cast<int>(code), tv_describeCode(code));
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "scan MODEL REPORT\n");
        return 2;
    }
    Scan scan;
    std::ifstream file(argv[1], std::ios::binary);
    scan.project.assign(std::istreambuf_iterator<char>(file), {});
    if (const int32_t code = runOnce(scan, argv[2])) {
        return fail(code);
    }
    const auto begin = std::chrono::steady_clock::now();
    const unsigned count = std::max(1u, std::thread::hardware_concurrency());
    std::vector<std::thread> threads;
    for (unsigned k = 0; k < count; ++k) {
        threads.emplace_back([&scan] { work(scan); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    for (const int32_t code : scan.codes) {
        if (code != TV_OK) {
            return fail(code);
        }
    }
    show(scan);
    std::printf("\n%zu runs in %u threads: %.2f s\n", scan.spilled.size(), count, seconds);
    return 0;
}
