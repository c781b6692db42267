#!/usr/bin/env python3
"""Measures what Python adds: properties, calls, objects, and twelve megapixels as arrays. Not a test.

Usage: speed.py       (run by the Python of build/x86_64/tests/python/environment, on a quiet machine)

A row is the best of several runs: what it takes, without what else the machine does.
"""

import resource
import timeit

import numpy as np
import zeva

blur = zeva.filters.GaussianBlur()
image = zeva.CIImageQOR.from_color("orange").crop((0, 0, 4, 4))
pixels = np.zeros((3000, 4000, 4), np.uint8)
large = zeva.from_array(pixels)


def set_number():
    blur.radius = 8.0


def get_number():
    return blur.radius


def make_object():
    return zeva.filters.GaussianBlur()


def make_chain():
    return image.gaussian_blur(radius=2)


def best(function, number):
    return min(timeit.repeat(function, number=number, repeat=30)) / number * 1e6


for function in set_number, get_number, make_object, make_chain:
    print(f"{function.__name__:24} {best(function, 2000):10.2f} us")
for name, function in {
    "picture of 12 Mpx": lambda: zeva.from_array(pixels),
    "array of its floats": large.values,
    "array of its bytes": large.pixels,
}.items():
    print(f"{name:24} {min(timeit.repeat(function, number=1, repeat=5)) * 1e3:10.2f} ms")
before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
print(f"{'most memory':24} {before / 1024:10.0f} MB")
