"""Prints the best seconds of each measurement that statistics_bench asks NumPy for: "<name> <seconds>"."""
import time

import numpy

SIDE = 4096
RUNS = 3


def best(call):
    times = []
    for _ in range(RUNS):
        start = time.thread_time()
        call()
        times.append(time.thread_time() - start)
    return min(times)


def statistics(pixels):
    return pixels.min(), pixels.max(), pixels.mean(dtype=numpy.float64), pixels.std(dtype=numpy.float64)


random = numpy.random.default_rng(1)
mask = random.integers(0, 2, (SIDE, SIDE)).astype(bool)
runs = numpy.broadcast_to((numpy.arange(SIDE) // 128 % 2).astype(bool), (SIDE, SIDE)).copy()
for name in ("U8", "U16", "F32", "F64"):
    kind = {"U8": "uint8", "U16": "uint16", "F32": "float32", "F64": "float64"}[name]
    pixels = random.integers(0, 256, (SIDE, SIDE)).astype(kind)
    print(f"statistics/{name}/whole", best(lambda: statistics(pixels)))
    print(f"statistics/{name}/random", best(lambda: statistics(pixels[mask])))
    print(f"statistics/{name}/runs", best(lambda: statistics(pixels[runs])))
pixels = random.integers(0, 256, (SIDE, SIDE)).astype("uint8")
print("histogram/U8", best(lambda: numpy.bincount(pixels.ravel(), minlength=256)))
