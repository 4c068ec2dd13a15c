"""Checks of arguments. Every refusal names the parameter, its value and what is accepted."""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import Any

import numpy as np

_FLOAT32 = np.finfo(np.float32)


def refuse(name: str, value: object, accepted: str) -> ValueError:
    """The error for a value out of range."""
    return ValueError(f"{name}={value!r} is out of range; accepted: {accepted}")


def _is_bool(value: object) -> bool:
    return isinstance(value, (bool, np.bool_))


def real_number(name: str, value: Any) -> float:
    """`value` as a float, whatever kind of real number it is; not a bool, a text or an array."""
    kind = np.asarray(value)
    if kind.ndim != 0 or kind.dtype.kind not in "iuf":
        try:
            if _is_bool(value) or isinstance(value, (str, bytes)) or kind.ndim != 0:
                raise TypeError
            return float(value)  # Fraction, Decimal and their like
        except TypeError:
            raise TypeError(f"{name}={value!r} is not a real number") from None
    return float(value)


def positive(name: str, value: Any, unit: str = "") -> float:
    """`value` as a float that stays positive and finite in single precision."""
    number = real_number(name, value)
    if not (float(_FLOAT32.tiny) <= number <= float(_FLOAT32.max)):
        suffix = f" {unit}" if unit else ""
        raise refuse(name, value, f"a number greater than 0{suffix} (1.2e-38 to 3.4e38)")
    return number


def positive_or_none(name: str, value: Any, unit: str = "") -> float | None:
    """As `positive`, with None let through."""
    return None if value is None else positive(name, value, unit)


def integer(name: str, value: Any, lowest: int, highest: int) -> int:
    """`value` as an int from `lowest` to `highest`."""
    if _is_bool(value) or not isinstance(value, (int, np.integer)):
        raise TypeError(f"{name}={value!r} is not a whole number")
    if not lowest <= value <= highest:
        raise refuse(name, value, f"{lowest} to {highest}")
    return int(value)


def boolean(name: str, value: Any) -> bool:
    """`value` if it is a bool."""
    if not _is_bool(value):
        raise TypeError(f"{name}={value!r} is neither True nor False")
    return bool(value)


def choice(name: str, value: Any, choices: Sequence[str]) -> str:
    """`value` if it is one of `choices`."""
    if not isinstance(value, str) or value not in choices:
        raise refuse(name, value, " or ".join(repr(c) for c in choices))
    return value


def coordinates(name: str, values: Any, count: int) -> tuple[float, ...]:
    """`values` as `count` finite floats (mm); a single number stands for a tuple of one."""
    sequence = values if np.ndim(values) else [values]
    if len(sequence) != count:
        raise ValueError(f"{name}={values!r} has {len(sequence)} values; accepted: {count}")
    numbers = tuple(real_number(f"{name}[{i}]", v) for i, v in enumerate(sequence))
    for i, number in enumerate(numbers):
        if not math.isfinite(number) or abs(number) > float(_FLOAT32.max):
            raise refuse(f"{name}[{i}]", number, "finite numbers (mm)")
    return numbers
