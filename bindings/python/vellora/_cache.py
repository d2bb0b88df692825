"""The table of functions by which the library calls a cache of the host's."""

from __future__ import annotations

import logging
from collections.abc import Callable, Mapping
from ctypes import byref
from typing import Any

from . import _contexts, _native
from .cache import Cache, Row, RowQuery

_log = logging.getLogger("vellora")


def table_of_cache(cache: Cache) -> _native.CacheTable:
    return _native.CacheTable(context=_contexts.hold(cache), destroy=_contexts.destroy, **_FUNCTIONS)


def _load(context: int, key: Any, sink: int) -> None:
    def load(cache: Cache) -> None:
        blob = cache.load(_text_of(key))
        if blob is not None:
            given = _bytes_of(blob)
            _native.library.vellora_give(sink, byref(_native.Text.of(given)))

    _called(context, load)


def _save(context: int, key: Any, blob: Any) -> int:
    return _done(context, lambda cache: cache.save(_text_of(key), blob.contents.take() or b""))


def _remove(context: int, key: Any) -> int:
    return _done(context, lambda cache: cache.remove(_text_of(key)))


def _has_table(context: int, table: Any) -> int:
    return int(bool(_called(context, lambda cache: cache.has_table(_text_of(table)), False)))


def _create_table(context: int, table: Any, longest: float) -> int:
    return _done(context, lambda cache: cache.create_table(_text_of(table), longest))


def _rows(context: int, table: Any, query: Any, sink: int) -> None:
    def give(cache: Cache) -> None:
        for row in [_GivenRow(row) for row in cache.rows(_text_of(table), _query_of(query.contents))]:
            _native.library.vellora_give_row(sink, byref(row))

    _called(context, give)


def _purge(context: int, table: Any, query: Any) -> int:
    return _done(context, lambda cache: cache.purge(_text_of(table), _query_of(query.contents)))


def _upsert(context: int, table: Any, row: Any) -> int:
    return _done(context, lambda cache: cache.upsert(_text_of(table), _row_of(row.contents)))


def _done(context: int, function: Callable[[Cache], bool | None]) -> int:
    return int(_called(context, function, False) is not False)


def _called(context: int, function: Callable[[Cache], Any], otherwise: Any = None) -> Any:
    """What it gives, or otherwise when it raises."""

    def guarded(cache: Cache) -> Any:
        try:
            return function(cache)
        except BaseException:
            _log.exception("The cache raised.")
            return otherwise

    return _contexts.call_host(context, guarded)


def _text_of(text: Any) -> str:
    return _decoded(text.contents) or ""


def _decoded(text: _native.Text) -> str | None:
    taken = text.take()
    return None if taken is None else taken.decode(errors="surrogateescape")


def _meta_of(struct: Any) -> dict[str, str]:
    pairs = [struct.meta[index] for index in range(struct.meta_count)]
    return {_decoded(pair.name) or "": _decoded(pair.value) or "" for pair in pairs}


def _row_of(row: _native.Row) -> Row:
    return Row(meta=_meta_of(row), data_key=_decoded(row.data_key), data=row.data.take() or b"")


def _query_of(query: _native.RowQuery) -> RowQuery:
    positions = range(query.lower, query.upper) if query.is_oldest_first else None
    return RowQuery(meta=_meta_of(query), data_key=_decoded(query.data_key), positions=positions,
                    wants_data=bool(query.wants_data))


class _GivenRow(_native.Row):
    """A row as C sees it, with the bytes that it points to."""

    def __init__(self, row: Row) -> None:
        self._keeps: list[bytes] = []
        pairs = [(self._kept(name), self._kept(value)) for name, value in row.meta.items()]
        super().__init__(meta=(_native.Pair * len(pairs))(*pairs), meta_count=len(pairs), data_key=self._kept(row.data_key or ""),
                         data=_native.Text.of(self._bytes(_bytes_of(row.data))))

    def _kept(self, text: str) -> _native.Text:
        return _native.Text.of(self._bytes(text.encode(errors="surrogateescape")))

    def _bytes(self, encoded: bytes) -> bytes:
        self._keeps.append(encoded)
        return encoded


def _bytes_of(value: object) -> bytes:
    return memoryview(value).tobytes()  # type: ignore[arg-type]


_FUNCTIONS: Mapping[str, Any] = {
    "load": _native.Load(_load),
    "save": _native.Save(_save),
    "remove": _native.OfKey(_remove),
    "has_table": _native.OfKey(_has_table),
    "create_table": _native.CreateTable(_create_table),
    "rows": _native.Rows(_rows),
    "purge": _native.Purge(_purge),
    "upsert": _native.Upsert(_upsert),
}
