"""What callers hand in, checked and encoded before the library sees it."""

from __future__ import annotations

import os
from collections.abc import Iterable
from datetime import timedelta


def text(value: str, what: str) -> bytes:
    if not isinstance(value, str):
        raise TypeError(f"{what} is {_article(value)}, not a str.")
    try:
        return value.encode()
    except UnicodeEncodeError:
        raise ValueError(f"{what} is not UTF-8.") from None


def zero_ended(value: str | None, what: str) -> bytes | None:
    """As C takes a text that ends with a zero; None stays None."""
    if value is None:
        return None
    encoded = text(value, what)
    if b"\0" in encoded:
        raise ValueError(f"{what} has a zero inside.")
    return encoded


def path(value: str | os.PathLike[str] | None, what: str) -> bytes | None:
    if value is None:
        return None
    encoded = os.fsencode(value)
    if b"\0" in encoded:
        raise ValueError(f"{what} has a zero inside.")
    return encoded


def keys(values: Iterable[str]) -> list[bytes]:
    """Any text can be a key. One that is not UTF-8, as os.fsdecode gives it, is a key that the answer names as none."""
    if isinstance(values, (str, bytes)):
        raise TypeError(f"The keys are {_article(values)}, not a list of str.")
    return [_key(value) for value in values]


def _key(value: str) -> bytes:
    if not isinstance(value, str):
        raise TypeError(f"A key is {_article(value)}, not a str.")
    try:
        return value.encode(errors="surrogateescape")
    except UnicodeEncodeError:
        return value.encode(errors="surrogatepass")


def seconds(value: float | timedelta | None, what: str) -> float:
    """As C takes it: 0 stands for the default, so what has no length is below 0."""
    if value is None:
        return 0.0
    if isinstance(value, timedelta):
        value = value.total_seconds()
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        raise TypeError(f"{what} is {_article(value)}, not a number of seconds or a timedelta.")
    if value != value:
        raise ValueError(f"{what} is not a number.")
    try:
        return float(value) if value > 0 else -1.0
    except OverflowError:
        raise ValueError(f"{what} is too large.") from None


def function(value: object, what: str) -> None:
    if value is not None and not callable(value):
        raise TypeError(f"{what} is {_article(value)}, which cannot be called.")


def _article(value: object) -> str:
    return "None" if value is None else f"of type {type(value).__name__}"


def whole(value: int | None, least: int, most: int, what: str) -> int:
    """None is 0, which stands for the default."""
    if value is None:
        return 0
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{what} is {_article(value)}, not an int.")
    if not least <= value <= most:
        raise ValueError(f"{what} is not between {least} and {most}.")
    return value
