// The state of a run as bytes: a head that says of which model it is, numbers one after the other, and a sum over all.

#include <array>
#include <cmath>
#include <cstring>

#include "plant.h"

namespace {

constexpr std::array<char, 8> MARK = {'T', 'V', 'P', 'L', 'A', 'N', 'T', '1'};
constexpr size_t SUM_SIZE = sizeof(uint64_t);

struct Head {
    std::array<char, 8> mark;
    uint64_t fingerprint;
    int64_t now;
    uint64_t isFailed;
    uint64_t count;  // of the numbers that follow
};

// Calls `visit` with each number that a run changes, in one order for both ways.
template <typename AnyPlant, typename Visit>
void visitNumbers(AnyPlant& plant, const Visit& visit) {
    for (auto& value : plant.state) {
        visit(value);
    }
    for (auto& input : plant.inputs) {
        for (auto& value : input) {
            visit(value);
        }
    }
    for (auto& output : plant.outputs) {
        for (auto& value : output) {
            visit(value);
        }
    }
    for (auto& value : plant.waiting) {
        visit(value);
    }
    visit(plant.books.waterIn);
    visit(plant.books.waterOut);
    visit(plant.books.oxygen);
    for (auto* masses : {&plant.books.in, &plant.books.out, &plant.books.stored}) {
        for (auto& value : *masses) {
            visit(value);
        }
    }
}

}  // namespace

uint64_t state_sum(const char* bytes, size_t size) {
    uint64_t sum = 14695981039346656037U;
    for (size_t k = 0; k < size; ++k) {
        sum = (sum ^ static_cast<unsigned char>(bytes[k])) * 1099511628211U;
    }
    return sum;
}

std::vector<char> state_save(const Plant& plant) {
    if (!plant.isStarted) {
        return {};
    }
    Head head{MARK, plant.fingerprint, plant.now, plant.isFailed ? 1U : 0U, 0};
    visitNumbers(plant, [&](const double&) { ++head.count; });
    std::vector<char> bytes(sizeof head + head.count * sizeof(double) + SUM_SIZE);
    std::memcpy(bytes.data(), &head, sizeof head);
    size_t place = sizeof head;
    visitNumbers(plant, [&](const double& value) {
        std::memcpy(bytes.data() + place, &value, sizeof value);
        place += sizeof value;
    });
    const uint64_t sum = state_sum(bytes.data(), place);
    std::memcpy(bytes.data() + place, &sum, SUM_SIZE);
    return bytes;
}

bool state_restore(const char* bytes, size_t size, Plant& plant) {
    Head head{};
    uint64_t sum = 0;
    uint64_t count = 0;
    visitNumbers(plant, [&](const double&) { ++count; });
    if (!plant.isStarted || size != sizeof head + count * sizeof(double) + SUM_SIZE) {
        return false;
    }
    std::memcpy(&head, bytes, sizeof head);
    std::memcpy(&sum, bytes + size - SUM_SIZE, SUM_SIZE);
    if (head.mark != MARK || head.fingerprint != plant.fingerprint || head.count != count || head.now < 0 ||
        head.now > plant.model.duration || sum != state_sum(bytes, size - SUM_SIZE)) {
        return false;
    }
    for (uint64_t k = 0; k < count; ++k) {
        double value = 0.0;
        std::memcpy(&value, bytes + sizeof head + k * sizeof value, sizeof value);
        if (!std::isfinite(value)) {
            return false;
        }
    }
    size_t place = sizeof head;
    visitNumbers(plant, [&](double& value) {
        std::memcpy(&value, bytes + place, sizeof value);
        place += sizeof value;
    });
    plant.now = head.now;
    plant.isFailed = head.isFailed != 0;
    plant.failure = plant.isFailed ? "the run had failed when its state was saved" : "";
    return true;
}
