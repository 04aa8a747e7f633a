/* Prints sums over the bits of what the functions of the C library give for numbers by chance, and some texts of
 * numbers: scripts/check-windows.sh compares what this prints on Linux with what it prints under wine. Of sin and acos
 * it takes those of the folder mathematics on both systems. */

#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

double tarnvelde_mathematics_sin(double x);
double tarnvelde_mathematics_acos(double x);

static uint64_t chance = 88172645463325252ULL;

static uint64_t drawBits(void) {
    chance ^= chance << 13;
    chance ^= chance >> 7;
    chance ^= chance << 17;
    return chance;
}

static double draw(double low, double high) {
    return low + (high - low) * ((double)(drawBits() >> 11) * 0x1p-53);
}

static double drawAny(void) {
    const uint64_t bits = drawBits();
    double number;
    memcpy(&number, &bits, sizeof number);
    return number;
}

static void add(uint64_t* sum, double number) {
    uint64_t bits;
    memcpy(&bits, &number, sizeof bits);
    *sum = (*sum ^ bits) * 1099511628211ULL;
}

enum { MANY = 400000, SUMS = 9 };

int main(void) {
    static const char* const names[SUMS] = {"exp", "log", "pow", "sqrt", "fmod", "sin", "acos", "strtod", "rounding"};
    static const double special[] = {0.0, 1.0, 0.5, -1.0, 2.0, 1e300, 1e-310, 745.2, -745.2, 709.8};
    uint64_t sums[SUMS] = {0};
    char text[64];
    for (int k = 0; k < MANY; ++k) {
        const double any = drawAny(), other = drawAny(), small = draw(-20.0, 20.0), plus = draw(0.0, 10.0);
        add(&sums[0], exp(small));
        add(&sums[0], exp(any));
        add(&sums[0], exp(draw(-750.0, 750.0)));
        add(&sums[1], log(plus));
        add(&sums[1], log(any));
        add(&sums[1], log(draw(0.9, 1.1)));
        add(&sums[2], pow(plus, 5.0 / 3.0));
        add(&sums[2], pow(plus, draw(-4.0, 4.0)));
        add(&sums[2], pow(any, other));
        add(&sums[3], sqrt(plus));
        add(&sums[3], sqrt(any));
        add(&sums[4], fmod(small, plus));
        add(&sums[5], tarnvelde_mathematics_sin(plus));
        add(&sums[6], tarnvelde_mathematics_acos(draw(-1.0, 1.0)));
        add(&sums[6], tarnvelde_mathematics_acos(1.0 - plus * 1e-7));
        if (k % 8 == 0) {
            snprintf(text, sizeof text, "%.17g", any == any ? any : small);
            add(&sums[7], strtod(text, NULL));
        }
        add(&sums[8], floor(small) + ceil(plus) * 64.0 + trunc(small) * 4096.0 + round(small) * 262144.0);
    }
    for (size_t k = 0; k < sizeof special / sizeof *special; ++k) {
        for (size_t i = 0; i < sizeof special / sizeof *special; ++i) {
            add(&sums[2], pow(special[k], special[i]));
        }
        add(&sums[0], exp(special[k]));
        add(&sums[1], log(special[k]));
        add(&sums[3], sqrt(special[k]));
    }
    for (int k = 0; k < SUMS; ++k) {
        printf("%s %016llx\n", names[k], (unsigned long long)sums[k]);
    }
    printf("%.3f %16.3f %f %e %g %.17g\n", 2.0005, -0.0005, 1e22, 12345.678, 1e-5, 0.1);
    return 0;
}
