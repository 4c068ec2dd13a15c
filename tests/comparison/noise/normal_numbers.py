"""Normal numbers from counters, written down once more in plain Python.

Prints the table that normal_numbers_test.cpp compares with, bit by bit; Python's own quantiles, by the
logarithms of the system's library, are the judge of the values:

    python3 tests/comparison/noise/normal_numbers.py

compares the table in the file normal_numbers.txt beside it, --write writes it.
"""

import math
import sys
from pathlib import Path
from statistics import NormalDist

TABLE = Path(__file__).with_suffix(".txt")
WORD = 2**32 - 1
LN2 = float.fromhex("0x1.62e42fefa39efp-1")

# Wichura's algorithm AS 241 (1988): numerators and denominators, highest power first.
MIDDLE = (
    "2509.0809287301226727 33430.575583588128105 67265.770927008700853 45921.953931549871457"
    " 13731.693765509461125 1971.5909503065514427 133.14166789178437745 3.3871328727963666080",
    "5226.4952788528545610 28729.085735721942674 39307.895800092710610 21213.794301586595867"
    " 5394.1960214247511077 687.18700749205790830 42.313330701600911252 1",
)
TAIL = (
    "7.74545014278341407640e-4 .0227238449892691845833 .241780725177450611770 1.27045825245236838258"
    " 3.64784832476320460504 5.76949722146069140550 4.63033784615654529590 1.42343711074968357734",
    "1.05075007164441684324e-9 5.47593808499534494600e-4 .0151986665636164571966 .148103976427480074590"
    " .689767334985100004550 1.67638483018380384940 2.05319162663775882187 1",
)
FAR_TAIL = (
    "2.01033439929228813265e-7 2.71155556874348757815e-5 1.24266094738807843860e-3"
    " .0265321895265761230930 .296560571828504891230 1.78482653991729133580 5.46378491116411436990"
    " 6.65790464350110377720",
    "2.04426310338993978564e-15 1.42151175831644588870e-7 1.84631831751005468180e-5"
    " 7.86869131145613259100e-4 .0148753612908506148525 .136929880922735805310"
    " .599832206555887937690 1",
)


def philox(counter, key):
    a, b, c, d = counter
    k, m = key
    for _ in range(10):
        first, second = a * 0xD2511F53, c * 0xCD9E8D57
        a, b, c, d = second >> 32 ^ b ^ k, second & WORD, first >> 32 ^ d ^ m, first & WORD
        k, m = k + 0x9E3779B9 & WORD, m + 0xBB67AE85 & WORD
    return a, b, c, d


def logarithm(value):
    mantissa, exponent = math.frexp(value)
    mantissa, exponent = mantissa * 2, exponent - 1
    if mantissa > 1.4142135623730951:
        mantissa, exponent = mantissa / 2, exponent + 1
    s = (mantissa - 1) / (mantissa + 1)
    total = 0.0
    for power in range(21, 0, -2):
        total = total * (s * s) + 1 / power
    return exponent * LN2 + 2 * s * total


def ratio(polynomials, x):
    values = []
    for text in polynomials:
        value = 0.0
        for number in text.split():
            value = value * x + float(number)
        values.append(value)
    return values[0] / values[1]


def quantile(probability):
    q = 0.5 - probability
    if q <= 0.425:
        return q * ratio(MIDDLE, 0.180625 - q * q)
    r = math.sqrt(-logarithm(probability))
    return ratio(TAIL, r - 1.6) if r <= 5 else ratio(FAR_TAIL, r - 5)


def normals(seed, stream, pair):
    def words(number):
        return number & WORD, number >> 32

    a, b, c, d = philox((*words(pair), *words(stream)), words(seed))
    for high, low in ((a, b), (c, d)):
        bits = high << 32 | low
        value = quantile(((bits >> 12) + 0.5) * 2.0**-53)
        yield -value if bits & 1 else value


def table():
    for seed, stream, pairs in ((1, 0, range(40)), (2**63 + 5, 2**40 + 3, (0, 1, 2**31, 2**33 + 7))):
        for pair in pairs:
            first, second = normals(seed, stream, pair)
            yield f"{seed} {stream} {pair} {first.hex()} {second.hex()}\n"


def check_against_library():
    for exponent in range(1, 54):
        for part in (1, 1.3, 1.7):
            probability = min(part * 2.0**-exponent, 0.5)
            true = -NormalDist().inv_cdf(probability)
            assert math.isclose(quantile(probability), true, rel_tol=2e-15, abs_tol=1e-300)
            assert math.isclose(logarithm(probability), math.log(probability), rel_tol=4e-16)


if __name__ == "__main__":
    text = "".join(table())
    if sys.argv[1:] == ["--write"]:
        TABLE.write_text(text)
    check_against_library()
    if TABLE.read_text() != text:
        sys.exit(f"{TABLE} is not what this script computes")
