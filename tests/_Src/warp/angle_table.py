#!/usr/bin/env python3
"""angle_table.py > angle_table.inl: angles with the doubles nearest to their sines and cosines.

Needs mpmath (Debian's python3-mpmath). Works with 2000 bits, more than the largest double's
reduction takes away.
"""

import math
import random
import struct

import mpmath

DEGREE = 0.017453292519943295
SHORT_DEGREE = 0.01745329252


def nearest(value):
    """The double nearest to a number of many bits."""
    mpmath.mp.prec = 53
    rounded = float(+value)
    mpmath.mp.prec = 2000
    return rounded


def any_double(generator, low, high):
    """A double with a binary exponent between two."""
    mantissa = 1.0 + generator.getrandbits(52) * 2.0**-52
    return math.ldexp(mantissa, generator.randint(low, high)) * generator.choice((1, -1))


def beside(value):
    """A double and its two neighbours."""
    bits = struct.unpack("<q", struct.pack("<d", value))[0]
    return [struct.unpack("<d", struct.pack("<q", bits + i))[0] for i in (-1, 0, 1)]


def angles():
    """Exact angles, quarter turns by a hair, random ones of all sizes."""
    generator = random.Random(1)
    chosen = [degrees * DEGREE for degrees in range(-360, 721, 15)]
    chosen += [degrees * SHORT_DEGREE for degrees in (1, 31, 46, 61, 89, 91, 121, 181, 271, 361, -89.7)]
    for quarters in (1, 2, 3, 4, 7, 1000, 63661, 63662, 63663, 10**9, 2**40 + 1):
        chosen += beside(nearest(mpmath.pi / 2 * quarters))
    # The double that is nearest to a multiple of a quarter turn, of all that there are.
    chosen += beside(6381956970095103 * 2.0**797)
    chosen += beside(1e5) + [1e9, 1e22, 1e300, -1e300, 2.0**1023, 1.7976931348623157e308]
    chosen += [5e-324, -2.2250738585072014e-308, 1e-300, 1e-20, 2.0**-27, 2.0**-26, -1e-5]
    for low, high in ((-60, -10), (-10, 3), (3, 16), (17, 60), (61, 1023)):
        chosen += [any_double(generator, low, high) for _ in range(40)]
    # The bits that tell their quarters from halves lie in two words of the product.
    chosen += [any_double(generator, 21, 21) for _ in range(12)]
    return chosen


def main():
    mpmath.mp.prec = 2000
    print("// Made by angle_table.py: an angle, its sine and its cosine.")
    print("// clang-format off")
    for angle in angles():
        exact = mpmath.mpf(angle)
        print(f"{{{angle.hex()}, {nearest(mpmath.sin(exact)).hex()}, "
              f"{nearest(mpmath.cos(exact)).hex()}}},")


main()
