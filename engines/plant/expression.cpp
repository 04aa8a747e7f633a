// Texts of rates and coefficients, read by recursive descent, worked out on a stack.

#include "expression.h"

#include <array>
#include <charconv>

namespace {

constexpr size_t MOST_DEPTH = 32;  // of brackets, and of the stack

struct Reader {
    std::string_view text;
    const NameLookup& lookup;
    Expression& expression;
    size_t place = 0;
    size_t depth = 0;
    std::string error = {};
};

double applyQuotient(double above, double below) {
    return below != 0.0 ? above / below : 0.0;
}

double applyOperation(Operation operation, double left, double right) {
    switch (operation) {
        case Operation::ADD: return left + right;
        case Operation::SUBTRACT: return left - right;
        case Operation::MULTIPLY: return left * right;
        case Operation::DIVIDE: return applyQuotient(left, right);
        case Operation::MONOD: return right != 0.0 ? applyQuotient(left, right + left) : 1.0;
        case Operation::INHIBITION: return applyQuotient(left, left + right);
        default: return 0.0;
    }
}

void emitPair(Reader& reader, Operation operation) {
    auto& code = reader.expression.code;
    const size_t size = code.size();
    if (size >= 2 && code[size - 1].operation == Operation::NUMBER && code[size - 2].operation == Operation::NUMBER) {
        code[size - 2].number = applyOperation(operation, code[size - 2].number, code[size - 1].number);
        code.pop_back();
    } else {
        code.push_back({operation, 0, 0.0});
    }
}

char peek(Reader& reader) {
    while (reader.place < reader.text.size() && reader.text[reader.place] == ' ') {
        ++reader.place;
    }
    return reader.place < reader.text.size() ? reader.text[reader.place] : '\0';
}

void fail(Reader& reader, const std::string& what) {
    if (reader.error.empty()) {
        reader.error = what + " in \"" + std::string(reader.text) + "\"";
    }
}

void want(Reader& reader, char sign) {
    if (peek(reader) == sign) {
        ++reader.place;
    } else {
        fail(reader, std::string("no ") + sign);
    }
}

void readSum(Reader& reader);

bool isLetter(char sign) {
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z') || sign == '_';
}

bool isDigit(char sign) {
    return (sign >= '0' && sign <= '9') || sign == '.';
}

void readFunction(Reader& reader, std::string_view name) {
    ++reader.place;
    readSum(reader);
    if (name == "rest") {
        reader.expression.code.push_back({Operation::REST, 0, 0.0});
    } else {
        want(reader, ',');
        readSum(reader);
        if (name != "monod" && name != "inhibition") {
            fail(reader, "unknown function " + std::string(name));
        }
        emitPair(reader, name == "monod" ? Operation::MONOD : Operation::INHIBITION);
    }
    want(reader, ')');
}

void readName(Reader& reader) {
    const size_t begin = reader.place;
    while (reader.place < reader.text.size() &&
           (isLetter(reader.text[reader.place]) || isDigit(reader.text[reader.place]))) {
        ++reader.place;
    }
    const std::string_view name = reader.text.substr(begin, reader.place - begin);
    if (peek(reader) == '(') {
        readFunction(reader, name);
        return;
    }
    const NameMeaning meaning = reader.lookup(name);
    if (!meaning.isKnown) {
        fail(reader, "unknown name " + std::string(name));
    }
    reader.expression.code.push_back(
        {meaning.isComponent ? Operation::COMPONENT : Operation::NUMBER, meaning.component, meaning.number});
}

void readNumber(Reader& reader) {
    double number = 0.0;
    const char* begin = reader.text.data() + reader.place;
    const auto [end, status] = std::from_chars(begin, reader.text.data() + reader.text.size(), number);
    if (status != std::errc()) {
        fail(reader, "no number");
        return;
    }
    reader.place += static_cast<size_t>(end - begin);
    reader.expression.code.push_back({Operation::NUMBER, 0, number});
}

void readFactor(Reader& reader) {
    const char sign = peek(reader);
    if (++reader.depth > MOST_DEPTH) {
        fail(reader, "too many brackets");
    }
    if (!reader.error.empty()) {
        return;
    }
    if (sign == '(') {
        ++reader.place;
        readSum(reader);
        want(reader, ')');
    } else if (sign == '-') {
        ++reader.place;
        reader.expression.code.push_back({Operation::NUMBER, 0, -1.0});
        readFactor(reader);
        emitPair(reader, Operation::MULTIPLY);
    } else if (isLetter(sign)) {
        readName(reader);
    } else {
        readNumber(reader);
    }
    --reader.depth;
}

void readProduct(Reader& reader) {
    readFactor(reader);
    for (char sign = peek(reader); reader.error.empty() && (sign == '*' || sign == '/'); sign = peek(reader)) {
        ++reader.place;
        readFactor(reader);
        emitPair(reader, sign == '*' ? Operation::MULTIPLY : Operation::DIVIDE);
    }
}

void readSum(Reader& reader) {
    readProduct(reader);
    for (char sign = peek(reader); reader.error.empty() && (sign == '+' || sign == '-'); sign = peek(reader)) {
        ++reader.place;
        readProduct(reader);
        emitPair(reader, sign == '+' ? Operation::ADD : Operation::SUBTRACT);
    }
}

}  // namespace

std::string expression_compile(std::string_view text, const NameLookup& lookup, Expression& expression) {
    expression.code.clear();
    Reader reader{text, lookup, expression};
    readSum(reader);
    if (peek(reader) != '\0') {
        fail(reader, "something is left");
    }
    return reader.error;
}

double expression_compute(const Expression& expression, const double* concentrations) {
    std::array<double, 2 * MOST_DEPTH> stack;
    size_t top = 0;
    for (const Instruction& instruction : expression.code) {
        switch (instruction.operation) {
            case Operation::NUMBER: stack[top++] = instruction.number; break;
            case Operation::COMPONENT: {
                const double value = concentrations[instruction.component];
                stack[top++] = value > 0.0 ? value : 0.0;
                break;
            }
            case Operation::REST: stack[top - 1] = stack[top - 1] > 0.0 ? stack[top - 1] : 0.0; break;
            default: --top; stack[top - 1] = applyOperation(instruction.operation, stack[top - 1], stack[top]);
        }
    }
    return top == 1 ? stack[0] : 0.0;
}

bool expression_isConstant(const Expression& expression) {
    return expression.code.size() == 1 && expression.code[0].operation == Operation::NUMBER;
}
