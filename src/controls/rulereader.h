#pragma once
// The clauses of control rules in the project file.

#include <cstdint>

#include "controls/rule.h"
#include "text/tokens.h"

struct Model;

/// Reads one clause of a rule. An error index, or 0.
[[nodiscard]] int32_t rulereader_readLine(Model& model, const Tokens& tokens, int32_t rule, int32_t clause);
int32_t rulereader_readPremise(Model& model, const Tokens& tokens, int32_t rule, int32_t logic);
[[nodiscard]] int32_t rulereader_readAction(Model& model, const Tokens& tokens, int32_t rule);

/// Reads a sensor: the conditions of rules may ask for the concentration of a pollutant where there is one. An error
/// index, or 0.
[[nodiscard]] int32_t rulereader_readSensor(Model& model, const Tokens& tokens);

/// Reads an object and its attribute from the token `place` on, which moves on to the attribute. An error index, or 0.
[[nodiscard]] int32_t rulereader_readOperand(Model& model, const Tokens& tokens, int32_t& place, RuleOperand& operand);
