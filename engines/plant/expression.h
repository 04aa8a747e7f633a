#pragma once
// Rates and coefficients of a Gujer matrix are written as texts, from which the numbers and the manual's tables are
// made. Here such a text becomes a short program for a stack.
//
// Known are numbers, names, + - * / and brackets, and
//   monod(S, K)       S / (K + S), and 1 if K is 0
//   inhibition(K, S)  K / (K + S)
//   rest(x)           x, but nothing below 0
// A quotient by 0 counts as 0: what isn't there consumes nothing.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

enum class Operation : uint8_t { NUMBER, COMPONENT, ADD, SUBTRACT, MULTIPLY, DIVIDE, MONOD, INHIBITION, REST };

struct Instruction {
    Operation operation;
    uint32_t component;  ///< of COMPONENT
    double number;       ///< of NUMBER
};

/// In the order of the work: operands first.
struct Expression {
    std::vector<Instruction> code;
};

/// What a name means: a component, or a number.
struct NameMeaning {
    bool isKnown = false;
    bool isComponent = false;
    uint32_t component = 0;
    double number = 0.0;
};

using NameLookup = std::function<NameMeaning(std::string_view)>;

/// Translates a text. An empty text, or what is wrong with it.
[[nodiscard]] std::string expression_compile(std::string_view text, const NameLookup& lookup, Expression& expression);

/// The value at concentrations, g/m3. What is below 0 counts as 0.
[[nodiscard]] double expression_compute(const Expression& expression, const double* concentrations);

/// Whether no component is in it.
[[nodiscard]] bool expression_isConstant(const Expression& expression);
