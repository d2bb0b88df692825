"""Python objects that the library holds: by number, from the moment they are handed over until it lets go of them."""

from __future__ import annotations

import itertools
import threading
from collections.abc import Callable
from typing import Any

from . import _native

_numbers = itertools.count(1)
_held: dict[int, Any] = {}
_change = threading.Condition()
_calls = threading.local()


def hold(value: Any) -> int:
    number = next(_numbers)
    with _change:
        _held[number] = value
    return number


def release(number: int | None) -> None:
    with _change:
        _held.pop(number, None)
        _change.notify_all()


def held() -> int:
    """How many objects the library holds."""
    return len(_held)


def wait_until_held(most: int, timeout: float) -> bool:
    with _change:
        return _change.wait_for(lambda: len(_held) <= most, timeout)


def call(number: int | None, function: Callable[[Any], Any]) -> Any:
    """Calls with an object that the library holds, from inside a call of the library's."""
    _calls.depth = depth() + 1
    try:
        return function(_held[number])
    finally:
        _calls.depth -= 1


def call_host(number: int | None, function: Callable[[Any], Any]) -> Any:
    """The same with what a host has given."""
    _calls.host_depth = host_depth() + 1
    try:
        return call(number, function)
    finally:
        _calls.host_depth -= 1


def depth() -> int:
    """How many calls of the library's this thread is inside."""
    return getattr(_calls, "depth", 0)


def host_depth() -> int:
    """How many of them call a host's function."""
    return getattr(_calls, "host_depth", 0)


destroy = _native.Destroy(release)
