"""The figures of six layers of 4096 x 4096 bytes, by NumPy.

    describe_numpy.py RAW FIGURES

RAW holds the planes one after another. Prints the seconds that it took, and fails where the figures of the tool in FIGURES
(of `emantle describe --json`) are others. The planes are taken in blocks that stay in the cache, and the sums come from one
matrix product, which is faster than numpy.cov of the whole by far.
"""
import json
import sys
import time

import numpy

LAYERS, SIDE, ROWS = 6, 4096, 64


def describe(path):
    planes = numpy.fromfile(path, numpy.uint8).reshape(LAYERS, SIDE * SIDE)
    histograms = numpy.zeros((LAYERS, 256))
    low = numpy.full(LAYERS, 255)
    high = numpy.zeros(LAYERS, int)
    sums = numpy.zeros(LAYERS)
    products = numpy.zeros((LAYERS, LAYERS))
    for first in range(0, SIDE * SIDE, ROWS * SIDE):
        block = planes[:, first:first + ROWS * SIDE]
        for layer in range(LAYERS):
            histograms[layer] += numpy.bincount(block[layer], minlength=256)
        low = numpy.minimum(low, block.min(axis=1))
        high = numpy.maximum(high, block.max(axis=1))
        wide = block.astype(numpy.float64)
        sums += wide.sum(axis=1)
        products += wide @ wide.T
    count = SIDE * SIDE
    mean = sums / count
    covariance = (products / count - numpy.outer(mean, mean)) * (count / (count - 1))
    median = [int(numpy.searchsorted(h.cumsum(), count / 2)) for h in histograms]
    return low, high, mean, covariance, histograms, median, histograms.argmax(axis=1)


start = time.perf_counter()
low, high, mean, covariance, histograms, median, mode = describe(sys.argv[1])
seconds = time.perf_counter() - start
image = json.load(open(sys.argv[2]))["images"][0]
assert numpy.allclose(image["covariance"], covariance, rtol=1e-9, atol=1e-9)
for i, layer in enumerate(image["layers"]):
    assert (layer["minimum"], layer["maximum"]) == (low[i], high[i])
    assert (layer["median"], layer["mode"]) == (median[i], mode[i])
    assert numpy.isclose(layer["mean"], mean[i]) and numpy.isclose(layer["stddev"] ** 2, covariance[i][i])
    assert numpy.array_equal(layer["histogram"], histograms[i])
print(seconds)
