"""When native handles end."""

from __future__ import annotations

import atexit
import threading
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from ctypes import byref, c_void_p
from typing import Any

from . import _contexts, _native
from .errors import VelloraError

# What a host's function may take at the end of the program. A thread of the library's that comes later would call into an
# interpreter that is gone.
_LONGEST_FAREWELL = 10.0


class Lifetime:
    """A native catalogue, which is not closed while it is used.

    Threads: safe to use from several threads at once.
    """

    def __init__(self, catalog: int) -> None:
        self._change = threading.Condition()
        self._catalog: int | None = catalog
        self._left: int | None = None  # closed by a callback while it was used: for the last user to free
        self._users = 0
        _open.add(self)

    @contextmanager
    def use(self) -> Iterator[int]:
        check_process()
        with self._change:
            if self._catalog is None:
                raise VelloraError("The catalogue is closed.")
            catalog = self._catalog
            self._users += 1
        try:
            yield catalog
        finally:
            self._end_use()

    def _end_use(self) -> None:
        left = None
        with self._change:
            self._users -= 1
            if self._users == 0:
                left, self._left = self._left, None
            self._change.notify_all()
        if left is not None:
            _native.library.vellora_close(left)

    def close(self) -> None:
        """A second time does nothing. In the child of a fork there is nothing to close."""
        if not _native.is_our_process():
            return
        if _contexts.host_depth():
            raise VelloraError("A host's function must not close a catalogue.")
        with self._change:
            closed, self._catalog = self._catalog, None
            if self._users and _contexts.depth():  # a callback waits for no other thread, so none can wait for it
                closed, self._left = None, self._left or closed
            else:
                self._change.wait_for(lambda: self._users == 0)
        _open.discard(self)
        if closed is not None:
            _native.library.vellora_close(closed)

    @property
    def is_open(self) -> bool:
        return self._catalog is not None


class Handle:
    """The native side of a question or a watch, which may end before it is there: an answer may come before the call that
    asks has returned.

    Threads: safe to use from several threads at once.
    """

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._place = c_void_p()
        self._is_filled = False
        self._is_over = False

    def fill(self, begin: Callable[[Any], int | None]) -> int | None:
        """Has the library put the handle into the place that `begin` gets, and gives the error that this comes to. What
        interrupts the thread behind the call loses nothing."""
        try:
            return begin(byref(self._place))
        finally:
            with self._lock:
                self._is_filled = True
                ended = self._taken() if self._is_over else None
            self._free(ended)

    def end(self) -> None:
        """Gives it up, and waits for a call of the listener that runs, unless this is called from inside it."""
        if not _native.is_our_process():
            return
        with self._lock:
            self._is_over = True
            ended = self._taken() if self._is_filled else None  # before that the call which asks still needs it
        self._free(ended)

    def _taken(self) -> int | None:
        taken, self._place.value = self._place.value, None
        return taken

    @staticmethod
    def _free(question: int | None) -> None:
        if question is not None:
            _native.library.vellora_question_free(question)


def check_process() -> None:
    if not _native.is_our_process():
        raise VelloraError("The catalogue was opened in the process that this one was forked from.")


_open: set[Lifetime] = set()


def _end_all() -> None:
    if not _native.is_our_process():
        return
    for lifetime in list(_open):
        lifetime.close()
    _contexts.wait_until_held(0, _LONGEST_FAREWELL)


atexit.register(_end_all)
