"""Prints the best seconds of each measurement that tables_bench asks NumPy for: "<name>TAB<seconds>"."""
import time

import numpy

SIDE = 4096
RUNS = 3


def report(name, call):
    times = []
    for _ in range(RUNS):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    print(f"{name}\t{min(times)}", flush=True)


def majority(values):
    found, counts = numpy.unique(values, return_counts=True)
    return found[counts.argmax()]


random = numpy.random.default_rng(1)
pixels = random.random((SIDE, SIDE), dtype="float32") * 256
mask = random.integers(0, 10, (SIDE, SIDE)) == 0
report("region/F32 10%/total", lambda: pixels[mask].sum(dtype="float64"))
report("region/F32 10%/extremes", lambda: (lambda part: (part.min(), part.max()))(pixels[mask]))
report("region/F32 10%/deviation", lambda: pixels[mask].std(dtype="float64", ddof=1))
report("region/F32 10%/median", lambda: numpy.median(pixels[mask]))
report("region/F32 10%/majority", lambda: majority(pixels[mask]))
whole = random.integers(0, 65536, (SIDE, SIDE)).astype("uint16")
report("distinct/U16", lambda: numpy.unique(whole, return_counts=True))
