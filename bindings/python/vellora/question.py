"""What is on its way: questions, and watches that ask again."""

from __future__ import annotations

import asyncio
import logging
import threading
from collections import deque
from collections.abc import Callable, Generator
from concurrent.futures import Future, InvalidStateError
from types import TracebackType
from typing import Any, Generic, TypeVar

from . import _contexts, _native
from ._lifetime import Handle, check_process
from .errors import VelloraError

A = TypeVar("A")

_log = logging.getLogger("vellora")
_OVER: Any = object()


class Question(Future, Generic[A]):  # type: ignore[type-arg]
    """An answer that comes: `result()` waits for it, and in asyncio so does `await`.

    `cancel()` gives the question up, and so does whatever interrupts `result()`, such as Ctrl-C, or cancels the task that
    awaits it. `result(timeout)` that runs out of time does not.

    Threads: safe to use from several threads at once. Callbacks of `add_done_callback` come on a thread of the library's,
    one at a time for a catalogue, or on that which cancels or closes, or at once on that which adds them when the question
    has ended already. They must not wait for other answers: what this class and `Watch` wait by is refused there;
    `concurrent.futures.wait` and `as_completed` would wait for ever.

    Errors: concurrent.futures.CancelledError, in asyncio that of asyncio, when it is given up or the catalogue is closed.
    A server that fails is no error, but an answer that says so.
    """

    def __init__(self, read: Callable[[str], A], is_open: set[Any]) -> None:
        """One that is in `is_open` until it has ended."""
        super().__init__()
        self._read = read
        self.handle = Handle()
        self._is_open = is_open
        is_open.add(self)
        self.add_done_callback(_end)

    def result(self, timeout: float | None = None) -> A:
        return self._wait(super().result, timeout)

    def exception(self, timeout: float | None = None) -> BaseException | None:
        return self._wait(super().exception, timeout)

    def _wait(self, wait: Callable[[float | None], Any], timeout: float | None) -> Any:
        self._check_wait()
        try:
            return wait(timeout)
        except TimeoutError:
            raise
        except BaseException:
            self.cancel()
            raise

    def __await__(self) -> Generator[Any, None, A]:
        self._check_wait()
        return asyncio.wrap_future(self).__await__()

    def _check_wait(self) -> None:
        check_process()
        if not self.done():
            _refuse_inside_calls()

    def answered(self, answer: int | None) -> None:
        try:
            read = self._read(_document(answer))
        except BaseException as error:
            self._settle(self.set_exception, error)
        else:
            self._settle(self.set_result, read)

    @staticmethod
    def _settle(settle: Callable[[Any], None], value: Any) -> None:
        try:
            settle(value)
        except InvalidStateError:
            pass  # it was given up meanwhile


def _end(question: Any) -> None:
    if question.cancelled():
        question.set_running_or_notify_cancel()  # else concurrent.futures.wait goes on waiting for it
    question._is_open.discard(question)
    question.handle.end()


class Watch(Generic[A]):
    """The first answer, then each that differs from the one before: `for` waits for them, in asyncio `async for` does.

    It ends with `close`, with the block of a `with`, and with its catalogue. Answers that nobody has taken yet are kept.

    Threads: safe to use from several threads at once; each answer is given once.
    """

    def __init__(self, read: Callable[[str], A], is_open: set[Any]) -> None:
        """One that is in `is_open` until it is closed."""
        self._read = read
        self.handle = Handle()
        self._is_open = is_open
        self._lock = threading.Lock()
        self._answers: deque[Any] = deque()
        self._takers: deque[Future[Any]] = deque()
        self._is_over = False
        is_open.add(self)

    def close(self) -> None:
        """Asks no more. Who waits for an answer waits no longer."""
        with self._lock:
            self._is_over = True
            self._answers.clear()
            self._serve()
        self._is_open.discard(self)
        self.handle.end()

    def __enter__(self) -> Watch[A]:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()

    def __iter__(self) -> Watch[A]:
        return self

    def __next__(self) -> A:
        taker: Future[Any] = Future()
        try:
            self._take(taker)
            answer = taker.result()
        except BaseException:
            self._leave(taker)
            raise
        if answer is _OVER:
            raise StopIteration
        return answer

    async def __aenter__(self) -> Watch[A]:
        return self

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        trace: TracebackType | None) -> None:
        self.close()

    def __aiter__(self) -> Watch[A]:
        return self

    async def __anext__(self) -> A:
        taker: Future[Any] = Future()
        try:
            self._take(taker)
            answer = await asyncio.wrap_future(taker)
        except BaseException:
            self._leave(taker)
            raise
        if answer is _OVER:
            raise StopAsyncIteration
        return answer

    def answered(self, answer: int | None) -> None:
        try:
            self._give(self._read(_document(answer)))
        except BaseException:
            _log.exception("An answer cannot be read.")

    def _take(self, taker: Future[Any]) -> None:
        check_process()
        _refuse_inside_calls()
        with self._lock:
            self._takers.append(taker)
            self._serve()

    def _give(self, answer: A) -> None:
        with self._lock:
            if not self._is_over:
                self._answers.append(answer)
                self._serve()

    def _leave(self, taker: Future[Any]) -> None:
        """It waits no longer. An answer that it has got in that moment is for the next who takes one."""
        with self._lock:
            if not taker.cancel():
                answer = taker.result()
                if answer is not _OVER and not self._is_over:
                    self._answers.appendleft(answer)
                    self._serve()
            elif taker in self._takers:
                self._takers.remove(taker)

    def _serve(self) -> None:
        """Brings answers and takers together, under the lock."""
        while self._takers and (self._answers or self._is_over):
            taker = self._takers.popleft()
            if taker.set_running_or_notify_cancel():
                taker.set_result(self._answers.popleft() if self._answers else _OVER)


def _refuse_inside_calls() -> None:
    if _contexts.depth():
        raise VelloraError("Waiting inside a call of the library's blocks what the answer needs.")


def _document(answer: int | None) -> str:
    if not answer:
        raise VelloraError("There is no memory for the answer.")
    return _native.take_document(answer)


def _answered(context: int, answer: int | None) -> None:
    _contexts.call(context, lambda listener: listener.answered(answer))


_ANSWERED = _native.Answered(_answered)


def listener_for(question: Question[Any] | Watch[Any]) -> _native.Listener:
    return _native.Listener(context=_contexts.hold(question), destroy=_contexts.destroy, answered=_ANSWERED)
