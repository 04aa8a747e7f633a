#!/usr/bin/env python3
"""A fortnight of inflow, made up: a daily pattern of water and load, and a storm on the ninth day that dilutes, after a
first flush. make-inflow.py FLOW COD NH4 TP TSS ALK, the means in m3/d and mg/L, writes a table for tarnvelde-plant run."""
import math
import sys

flow, cod, nh4, tp, tss, alk = (float(word) for word in sys.argv[1:])
print("day,flow,COD,NH4,NO3,TP,TSS,ALK")
for hour in range(14 * 24):
    clock = hour % 24
    water = 1 + 0.3 * math.sin(2 * math.pi * (clock - 7) / 24) + 0.1 * math.sin(4 * math.pi * (clock - 4) / 24)
    load = 1 + 0.3 * math.sin(2 * math.pi * (clock - 9) / 24)
    since = hour - (8 * 24 + 14)
    storm = 3.5 if 0 <= since < 8 else 1.8 if 8 <= since < 16 else 1.0
    flush = 1.6 if 0 <= since < 2 else 1.0
    share = load / water / storm * flush  # of the mean concentrations
    print(f"{hour / 24:.6f},{flow * water * storm:.1f},{cod * share:.1f},{nh4 * share / flush:.2f},0.0,{tp * share:.2f},"
          f"{tss * share:.1f},{max(alk / storm, 100):.1f}")
