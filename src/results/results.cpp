// Results of each report period.

#include "results/results.h"

void results_open() {}
void results_accumulate() {}
void results_write() {}
void results_end() {}
void results_close() {}
void results_abandon() {}
