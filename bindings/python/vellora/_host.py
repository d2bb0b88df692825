"""The tables of functions by which the library calls what a host gives."""

from __future__ import annotations

import logging
import threading
from collections.abc import Callable
from concurrent.futures import CancelledError, Future
from ctypes import byref
from typing import Any

from . import _contexts, _native
from .errors import NetworkError
from .network import Network, Request

_log = logging.getLogger("vellora")


class _Reply:
    """To a request, once: whatever a host does, the first time counts."""

    def __init__(self, request: int) -> None:
        self._lock = threading.Lock()
        self._request: int | None = request

    def with_body(self, body: bytes) -> None:
        self._give(_native.Response(body=_native.Text.of(body)))

    def with_error(self, error: BaseException) -> None:
        response = _native.Response(error=_words_for(error))
        if isinstance(error, NetworkError) and error.retry_after is not None:
            response.may_retry, response.retry_after_seconds = 1, _wait_of(error)
        self._give(response)

    def _give(self, response: _native.Response) -> None:
        with self._lock:
            request, self._request = self._request, None
        if request is not None and _native.is_our_process():
            _native.library.vellora_reply(request, byref(response))


def _send(context: int, info: Any, request: int) -> None:
    asked = info.contents
    sent = Request((asked.url.take() or b"").decode(), asked.timeout_seconds)
    reply = _Reply(request)

    def send(network: Network) -> None:
        try:
            _reply_with(reply, network.send(sent))
        except BaseException as error:
            reply.with_error(error)

    _contexts.call_host(context, send)


def _reply_with(reply: _Reply, body: object) -> None:
    if isinstance(body, Future):
        body.add_done_callback(lambda done: _reply_when_done(reply, done))
    else:
        reply.with_body(_bytes_of(body))


def _reply_when_done(reply: _Reply, done: Future[Any]) -> None:
    try:
        reply.with_body(_bytes_of(done.result()))
    except CancelledError:
        reply.with_error(NetworkError("The request was cancelled."))
    except BaseException as error:
        reply.with_error(error)


def _bytes_of(body: object) -> bytes:
    if isinstance(body, Future):
        raise TypeError("The network gives a Future of a Future.")
    if not isinstance(body, (bytes, bytearray, memoryview)):
        raise TypeError(f"The network gives no bytes, but an object of type {type(body).__name__}.")
    return bytes(body)


def _wait_of(error: NetworkError) -> float:
    try:
        return max(0.0, float(error.retry_after or 0))
    except BaseException:  # of an object that is none
        return 0.0


def _words_for(error: BaseException) -> bytes:
    try:
        words = str(error) if isinstance(error, NetworkError) else f"{type(error).__name__}: {error}"
    except BaseException:  # of its own __str__
        words = type(error).__name__
    return words.encode(errors="replace").replace(b"\0", b"?")


def _token(context: int, refused: Any, sink: int) -> None:
    before = (refused.contents.take() or b"").decode(errors="replace") if refused else None

    def give(source: Callable[[str | None], str | None]) -> None:
        token = source(before)
        if token is not None:
            encoded = token.encode()
            _native.library.vellora_give(sink, byref(_native.Text.of(encoded)))

    _contexts.call_host(context, lambda source: _guarded(give, source, "The source of tokens"))


def _write(context: int, is_error: int, line: Any) -> None:
    words = (line.contents.take() or b"").decode(errors="replace")
    _contexts.call_host(context, lambda logger: _guarded(lambda log: log(bool(is_error), words), logger, "The logger"))


def _guarded(function: Callable[[Any], None], argument: Any, what: str) -> None:
    try:
        function(argument)
    except BaseException:
        _log.exception("%s raised.", what)


_SEND, _TOKEN, _LOG = _native.Send(_send), _native.Token(_token), _native.Log(_write)


def table_of_network(network: Network) -> _native.NetworkTable:
    return _native.NetworkTable(context=_contexts.hold(network), destroy=_contexts.destroy, send=_SEND)


def table_of_token(source: Callable[[str | None], str | None]) -> _native.TokenSourceTable:
    return _native.TokenSourceTable(context=_contexts.hold(source), destroy=_contexts.destroy, token=_TOKEN)


def table_of_logger(logger: logging.Logger | Callable[[bool, str], object]) -> _native.LoggerTable:
    log = _lines_to(logger) if isinstance(logger, logging.Logger) else logger
    return _native.LoggerTable(context=_contexts.hold(log), destroy=_contexts.destroy, log=_LOG)


def _lines_to(logger: logging.Logger) -> Callable[[bool, str], object]:
    return lambda is_error, line: logger.log(logging.ERROR if is_error else logging.DEBUG, "%s", line)
