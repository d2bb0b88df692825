"""libvellora-c as ctypes sees it: the structs and functions of vellora.h that this package uses."""

from __future__ import annotations

import ctypes
import os
import pathlib
from ctypes import POINTER, byref, c_char_p, c_double, c_int32, c_int64, c_size_t, c_void_p
from itertools import accumulate

from .errors import RefusedError, VelloraError

BAD_ARGUMENT, BAD_STRUCT, NO_HOST = 1, 2, 3
KINDS = {"records": 1, "types": 2, "allTypes": 3, "searchColumns": 4, "headlines": 5, "refresh": 6, "readiness": 7}


class Text(ctypes.Structure):
    _fields_ = [("bytes", c_void_p), ("size", c_size_t)]

    @classmethod
    def of(cls, encoded: bytes) -> Text:
        """Valid as long as `encoded` is."""
        return cls(_address(encoded), len(encoded))

    def take(self) -> bytes | None:
        return None if not self.bytes else ctypes.string_at(self.bytes, self.size)


class Struct(ctypes.Structure):
    """One that begins with its size."""

    def __init__(self, **members: object) -> None:
        super().__init__(struct_size=ctypes.sizeof(self), **members)


Destroy = ctypes.CFUNCTYPE(None, c_void_p)


class Error(Struct):
    _fields_ = [("struct_size", c_size_t), ("code", c_int32), ("text", Text), ("key", Text)]


class RequestInfo(Struct):
    _fields_ = [("struct_size", c_size_t), ("url", Text), ("timeout_seconds", c_double)]


class Response(Struct):
    _fields_ = [("struct_size", c_size_t), ("body", Text), ("error", c_char_p), ("may_retry", c_int32),
                ("retry_after_seconds", c_double)]


Send = ctypes.CFUNCTYPE(None, c_void_p, POINTER(RequestInfo), c_void_p)
Token = ctypes.CFUNCTYPE(None, c_void_p, POINTER(Text), c_void_p)
Log = ctypes.CFUNCTYPE(None, c_void_p, c_int32, POINTER(Text))
Answered = ctypes.CFUNCTYPE(None, c_void_p, c_void_p)


class NetworkTable(Struct):
    _fields_ = [("struct_size", c_size_t), ("context", c_void_p), ("destroy", Destroy), ("send", Send)]


class TokenSourceTable(Struct):
    _fields_ = [("struct_size", c_size_t), ("context", c_void_p), ("destroy", Destroy), ("token", Token)]


class LoggerTable(Struct):
    _fields_ = [("struct_size", c_size_t), ("context", c_void_p), ("destroy", Destroy), ("log", Log)]


class Pair(ctypes.Structure):
    _fields_ = [("name", Text), ("value", Text)]


class Row(Struct):
    _fields_ = [("struct_size", c_size_t), ("meta", POINTER(Pair)), ("meta_count", c_size_t), ("data_key", Text), ("data", Text)]


class RowQuery(Struct):
    _fields_ = [("struct_size", c_size_t), ("meta", POINTER(Pair)), ("meta_count", c_size_t), ("data_key", Text),
                ("is_oldest_first", c_int32), ("lower", c_int64), ("upper", c_int64), ("wants_data", c_int32)]


OfKey = ctypes.CFUNCTYPE(c_int32, c_void_p, POINTER(Text))
Load = ctypes.CFUNCTYPE(None, c_void_p, POINTER(Text), c_void_p)
Save = ctypes.CFUNCTYPE(c_int32, c_void_p, POINTER(Text), POINTER(Text))
CreateTable = ctypes.CFUNCTYPE(c_int32, c_void_p, POINTER(Text), c_double)
Rows = ctypes.CFUNCTYPE(None, c_void_p, POINTER(Text), POINTER(RowQuery), c_void_p)
Purge = ctypes.CFUNCTYPE(c_int32, c_void_p, POINTER(Text), POINTER(RowQuery))
Upsert = ctypes.CFUNCTYPE(c_int32, c_void_p, POINTER(Text), POINTER(Row))


class CacheTable(Struct):
    _fields_ = [("struct_size", c_size_t), ("context", c_void_p), ("destroy", Destroy), ("load", Load), ("save", Save),
                ("remove", OfKey), ("has_table", OfKey), ("create_table", CreateTable), ("rows", Rows), ("purge", Purge),
                ("upsert", Upsert)]


class Listener(Struct):
    _fields_ = [("struct_size", c_size_t), ("context", c_void_p), ("destroy", Destroy), ("answered", Answered)]


class Options(Struct):
    _fields_ = [("struct_size", c_size_t), ("network", POINTER(NetworkTable)), ("server", c_char_p),
                ("token", POINTER(TokenSourceTable)), ("ca_file", c_char_p), ("allow_token_over_plain_http", c_int32),
                ("cache", POINTER(CacheTable)), ("cache_file", c_char_p), ("cache_owner", c_char_p), ("logger", POINTER(LoggerTable)),
                ("theme", c_char_p), ("cache_timeout_seconds", c_double), ("attempts", c_int32), ("loads_late", c_int32)]


class AskOptions(Struct):
    _fields_ = [("struct_size", c_size_t), ("deadline_seconds", c_double), ("source", c_int32), ("theme", c_char_p),
                ("filter", Text)]


class Texts:
    """Several texts in a row, as C takes keys."""

    def __init__(self, encoded: list[bytes]) -> None:
        self._bytes = b"".join(encoded)
        begin = _address(self._bytes)
        ends = accumulate(map(len, encoded), initial=begin)
        self.array = (Text * len(encoded))(*zip(ends, map(len, encoded)))


def _address(encoded: bytes) -> int:
    return ctypes.cast(c_char_p(encoded), c_void_p).value or 0


def _loaded() -> ctypes.CDLL:
    beside = pathlib.Path(__file__).with_name("libvellora-c.so.1")
    return ctypes.CDLL(str(beside) if beside.exists() else beside.name)


def _declare(name: str, result: object, *arguments: object) -> None:
    function = getattr(library, name)
    function.restype, function.argtypes = result, arguments


library = _loaded()
_declare("vellora_version", c_char_p)
_declare("vellora_error_free", None, c_void_p)
_declare("vellora_open", c_void_p, POINTER(Options), POINTER(c_void_p))
_declare("vellora_close", None, c_void_p)
_declare("vellora_reply", c_int32, c_void_p, POINTER(Response))
_declare("vellora_give", c_int32, c_void_p, POINTER(Text))
_declare("vellora_give_row", c_int32, c_void_p, POINTER(Row))
for _begin in ("vellora_ask", "vellora_watch"):
    _declare(_begin, c_void_p, c_void_p, c_int32, POINTER(Text), c_size_t, POINTER(AskOptions), POINTER(Listener),
             POINTER(c_void_p))
_declare("vellora_question_free", None, c_void_p)
_declare("vellora_state", c_void_p, c_void_p, POINTER(c_void_p))
_declare("vellora_forget", c_void_p, c_void_p)
_declare("vellora_release_memory", c_void_p, c_void_p)
_declare("vellora_answer_document", c_void_p, c_void_p, POINTER(Text))
_declare("vellora_answer_free", None, c_void_p)


def check(error: int | None) -> None:
    """Raises what a function of the library has returned, and frees it."""
    if not error:
        return
    try:
        told = Error.from_address(error)
        words, key = _decoded(told.text) or "", _decoded(told.key)
        kind = RefusedError if told.code in (BAD_ARGUMENT, BAD_STRUCT) else VelloraError
    finally:
        library.vellora_error_free(error)
    raise kind(words, key)


def _decoded(text: Text) -> str | None:
    taken = text.take()
    return None if taken is None else taken.decode(errors="replace")


def take_document(answer: int) -> str:
    """The document of an answer, which is freed."""
    try:
        document = Text()
        check(library.vellora_answer_document(answer, byref(document)))
        return _decoded(document) or ""
    finally:
        library.vellora_answer_free(answer)


_first_user: int | None = None


def is_our_process() -> bool:
    """Whether handles of this process work in it: the library's threads do not come along into the child of a fork."""
    return _first_user in (None, os.getpid())


def begin_use() -> None:
    """Refuses the child of a process that uses the library."""
    global _first_user
    if not is_our_process():
        raise VelloraError("Vellora is used in the process that this one was forked from. Start processes by \"spawn\".")
    _first_user = os.getpid()


def version() -> str:
    """The version of the native library, such as "0.1.0"."""
    return library.vellora_version().decode()
