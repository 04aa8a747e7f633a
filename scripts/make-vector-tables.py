#!/usr/bin/env python3
"""Writes src/platform/vectortables.h, the numbers of the logarithms and powers that are worked out four at a time.

Needs nothing but Python: all is worked out with 60 decimal digits and rounded once, at the end.

    scripts/make-vector-tables.py > src/platform/vectortables.h
"""

from decimal import Decimal, getcontext
from fractions import Fraction

getcontext().prec = 60

LOG_ROWS = 256
EXP_ROWS = 128
LN2 = Decimal(2).ln()
LOG_STEP = Decimal(2) ** -42  # of the higher parts of logarithms: whole multiples up to 1075 ln 2 fit into a double
LN2_STEP = LN2 / EXP_ROWS


def get_decimal(number):
    """An exact fraction or double as a decimal."""
    fraction = Fraction(number)
    return Decimal(fraction.numerator) / Decimal(fraction.denominator)


def round_double(number):
    """The double next to a decimal: float() of a fraction rounds correctly."""
    return float(Fraction(number))


def split(number):
    """A multiple of LOG_STEP, and the rest."""
    high = round_double((number / LOG_STEP).to_integral_value() * LOG_STEP)
    return high, round_double(number - get_decimal(high))


# --- inverses and their logarithms ---------------------------------------------------------------------------------


def find_inverse(row):
    """Of the multiples of 1/512 the one whose products with the row's numbers stay closest to 1. At both ends it is
    what makes the product of numbers beside 1 exactly these numbers."""
    if row == 0:
        return Fraction(1)
    if row == LOG_ROWS - 1:
        return Fraction(1, 2)
    low, high = get_row(row)
    return min((Fraction(k, 512) for k in range(256, 513)), key=lambda c: max(abs(low * c - 1), abs(high * c - 1)))


def get_row(row):
    return 1 + Fraction(row, LOG_ROWS), 1 + Fraction(row + 1, LOG_ROWS)


def get_range():
    """Of all products less 1."""
    ends = [end * find_inverse(row) - 1 for row in range(LOG_ROWS) for end in get_row(row)]
    return get_decimal(min(ends)), get_decimal(max(ends))


# --- polynomials ---------------------------------------------------------------------------------------------------


def get_cosine(angle):
    term, total, n = Decimal(1), Decimal(0), 0
    while abs(term) > Decimal(10) ** -58:
        total += term
        n += 2
        term = -term * angle * angle / (n * (n - 1))
    return total


def get_pi():
    """Machin 1706."""
    def get_arctangent(inverse):
        power, total, n = Decimal(1) / inverse, Decimal(0), 1
        while abs(power) > Decimal(10) ** -58:
            total += power / n if n % 4 == 1 else -power / n
            power /= inverse * inverse
            n += 2
        return total
    return 4 * (4 * get_arctangent(Decimal(5)) - get_arctangent(Decimal(239)))


def interpolate(function, low, high, count):
    """The polynomial of so many coefficients that meets the function in the zeros of the Chebyshev polynomial, which is
    next to the best one (Powell 1967). Newton's divided differences, multiplied out."""
    middle, half = (low + high) / 2, (high - low) / 2
    angle = get_pi() / (2 * count)
    places = [middle + half * get_cosine(angle * (2 * k + 1)) for k in range(count)]
    differences = [function(place) for place in places]
    for order in range(1, count):
        for k in range(count - 1, order - 1, -1):
            differences[k] = (differences[k] - differences[k - 1]) / (places[k] - places[k - order])
    coefficients = [differences[-1]]
    for k in range(count - 2, -1, -1):
        shifted = [Decimal(0)] + coefficients
        for n, coefficient in enumerate(coefficients):
            shifted[n] -= places[k] * coefficient
        shifted[0] += differences[k]
        coefficients = shifted
    return [round_double(coefficient) for coefficient in coefficients]


def sum_series(get_term, r):
    """A power series in r."""
    total, power, n = Decimal(0), Decimal(1), 0
    while abs(power) > Decimal(10) ** -58:
        total += power * get_term(n)
        power *= r
        n += 1
    return total


def get_log_rest(r):
    """(ln(1 + r) - r + r^2 / 2) / r^3"""
    return sum_series(lambda n: Decimal((-1) ** n) / (n + 3), r)


def get_exp_rest(r):
    """(e^r - 1 - r) / r^2"""
    def get_term(n):
        factorial = Decimal(1)
        for k in range(2, n + 3):
            factorial *= k
        return 1 / factorial
    return sum_series(get_term, r)


# --- writing -------------------------------------------------------------------------------------------------------


def write_array(name, numbers, comment):
    print(f"\n/// {comment}")
    print(f"inline constexpr double {name}[{len(numbers)}] = {{{', '.join(number.hex() for number in numbers)}}};")


def write_rows(name, rows, comment):
    print(f"\n/// {comment}")
    print(f"alignas(64) inline constexpr double {name}[{len(rows) * len(rows[0])}] = {{")
    for row in rows:
        print(f"    {', '.join(number.hex() for number in row)},")
    print("};")


def write_number(name, number, comment):
    print(f"\n/// {comment}")
    print(f"inline constexpr double {name} = {number.hex()};")


def write():
    print("#pragma once")
    print("// Numbers of the room vectormath, written by scripts/make-vector-tables.py: "
          "each is the double next to what it")
    print("// stands for.")
    print("\n// clang-format off")
    high, low = split(LN2)
    write_number("LN2_HIGH", high, "ln 2 to a multiple of 2^-42")
    write_number("LN2_LOW", low, "ln 2 - LN2_HIGH")
    write_array("LOG_TERMS", interpolate(get_log_rest, *get_range(), 5),
                "(ln(1 + r) - r + r^2 / 2) / r^3, by rising power of r")
    rows = []
    for row in range(LOG_ROWS):
        inverse = find_inverse(row)
        rows.append([float(inverse), *split(-get_decimal(inverse).ln()), 0.0])
    write_rows("LOG_ROWS", rows,
               "For numbers from 1 + row / 256 on: nearly the inverse, c; -ln c to a multiple of 2^-42; "
               "the rest of -ln c")
    step = round_double(LN2_STEP)
    write_number("EXP_STEPS", round_double(1 / LN2_STEP), "128 / ln 2")
    write_number("EXP_STEP_HIGH", step, "ln 2 / 128")
    write_number("EXP_STEP_LOW", round_double(LN2_STEP - get_decimal(step)), "ln 2 / 128 - EXP_STEP_HIGH")
    half = LN2_STEP / 2 * Decimal("1.0001")
    write_array("EXP_TERMS", interpolate(get_exp_rest, -half, half, 4), "(e^r - 1 - r) / r^2, by rising power of r")
    rows = []
    for row in range(EXP_ROWS):
        power = (LN2_STEP * row).exp()
        rows.append([round_double(power), round_double(power - get_decimal(round_double(power)))])
    write_rows("EXP_ROWS", rows, "2^(row / 128), and what the rounding has taken off it")
    print("\n// clang-format on")


write()
