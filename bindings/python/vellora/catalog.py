"""The catalogue: what the object types of a business-records server look like."""

from __future__ import annotations

import asyncio
import enum
import logging
import os
import warnings
from collections.abc import Callable, Iterable
from ctypes import byref, c_void_p, pointer
from datetime import timedelta
from types import TracebackType
from typing import TYPE_CHECKING, Any, TypedDict

from . import _arguments, _cache, _contexts, _host, _native
from ._lifetime import Lifetime
from .answer import Answer, Readiness, TypeChange
from .cache import Cache
from .network import Network
from .question import Question, Watch, listener_for
from .records import ObjectCompactLayoutInfo, ObjectLayoutInfo, ObjectPresentationInfo

if TYPE_CHECKING:
    from typing import Unpack

_MOST_ATTEMPTS = 2**31 - 1


class Source(enum.Enum):
    """Where an answer may come from."""

    CACHE_FIRST = 0  # what the cache has, the rest from the server
    CACHE_ONLY = 1  # no request is sent
    SERVER_FIRST = 2  # the server, and the cache where that fails


class QuestionOptions(TypedDict, total=False):
    """How one question is to be answered: by keyword.

    `deadline` says in seconds, or as a timedelta, when it ends at the latest: after ten seconds unless told, 0 for at once.
    `theme` says whose colours and icons are wanted: the catalogue's theme unless told.
    """

    deadline: float | timedelta | None
    source: Source
    theme: str | None


def _reads(content: Callable[[dict[str, Any]], Any]) -> Callable[[str], Any]:
    return lambda document: Answer.from_document(document, content)


_READS = {
    "records": _reads(lambda entry: ObjectPresentationInfo.from_json(entry["record"])),
    "types": _reads(lambda entry: ObjectPresentationInfo.from_json(entry["record"])),
    "allTypes": _reads(lambda entry: ObjectPresentationInfo.from_json(entry["record"])),
    "searchColumns": _reads(lambda entry: ObjectLayoutInfo.from_json(entry["record"])),
    "headlines": _reads(lambda entry: ObjectCompactLayoutInfo.from_json(entry["record"])),
    "refresh": _reads(lambda entry: TypeChange(entry["change"])),
    "readiness": Readiness.from_document,
}


class Catalog:
    """Answers questions about the object types of a business-records server, from the cache while that is fresh.

        with Catalog("https://records.example") as catalog:
            answer = catalog.records(["001000000000009"]).result()

    In asyncio write `async with` and `await catalog.records(…)`. Each question ends, at its deadline at the latest. Each key
    is in the answer's `found` or in its `missing`, with the reason.

    Ownership: it keeps native memory, a cache and connections until it is closed; what is open when the program ends is
    closed then. The garbage collector does not close it, but warns.

    Threads: safe to use from several threads at once. It works in the process that opened it, and not in one forked from
    that.

    Errors: TypeError and ValueError for arguments, RefusedError, which is a ValueError, for what the library refuses,
    VelloraError for what is none of these, such as a catalogue that is closed.
    """

    def __init__(
        self,
        server: str | None = None,
        *,
        network: Network | None = None,
        token: Callable[[str | None], str | None] | None = None,
        ca_file: str | os.PathLike[str] | None = None,
        allow_token_over_plain_http: bool = False,
        cache: Cache | None = None,
        cache_file: str | os.PathLike[str] | None = None,
        cache_owner: str | None = None,
        logger: logging.Logger | Callable[[bool, str], object] | None = None,
        theme: str | None = None,
        cache_timeout: float | timedelta | None = None,
        attempts: int | None = None,
        load_late: bool = False,
    ) -> None:
        """Begins to load both lists, unless it is to `load_late`: with the first question that needs them.

        `network` is one of your own, in place of the ready-made one, which `server`, `token`, `ca_file` and
        `allow_token_over_plain_http` are for. `token` gives the token to send, or None; it is called with the one that the
        server has just refused, or None, and once at the beginning, to keep it out of the log. `cache` is one of your own.
        Without it `cache_file` is where the ready-made one is kept, or else in memory; a file of another `cache_owner` is
        refused. `logger` is one of Python's, or is called with whether it is an error, and a line. `theme` says whose colours
        are wanted: "light" unless told. `cache_timeout` is the age at which what is cached is stale: an hour unless told.
        `attempts` says how often a request is sent at most: four times unless told.

        Functions of the host are called from several threads at once, and must not close the catalogue.
        """
        if network is not None and not isinstance(network, Network):
            raise TypeError("The network is not a vellora.Network.")
        if cache is not None and not isinstance(cache, Cache):
            raise TypeError("The cache is not a vellora.Cache.")
        _arguments.function(token, "The source of tokens")
        if not isinstance(logger, logging.Logger):
            _arguments.function(logger, "The logger")
        options = _native.Options(
            server=_arguments.zero_ended(server, "The server"),
            ca_file=_arguments.path(ca_file, "The file of authorities"),
            allow_token_over_plain_http=bool(allow_token_over_plain_http),
            cache_file=_arguments.path(cache_file, "The cache file"),
            cache_owner=_arguments.zero_ended(cache_owner, "The owner of the cache"),
            theme=_arguments.zero_ended(theme, "The theme"),
            cache_timeout_seconds=_arguments.seconds(cache_timeout, "The time-out of the cache"),
            attempts=_arguments.whole(attempts, 1, _MOST_ATTEMPTS, "The number of attempts"),
            loads_late=bool(load_late),
        )
        self._open: set[Any] = set()
        self._lifetime = Lifetime(_opened(options, network=(network, _host.table_of_network), cache=(cache, _cache.table_of_cache),
                                          token=(token, _host.table_of_token), logger=(logger, _host.table_of_logger)))

    def records(self, ids: Iterable[str], **options: Unpack[QuestionOptions]) -> Question[Answer[ObjectPresentationInfo]]:
        """What are the records with these ids?"""
        return self._ask("records", ids, **options)

    def types(self, names: Iterable[str], **options: Unpack[QuestionOptions]) -> Question[Answer[ObjectPresentationInfo]]:
        """What do the object types with these API names look like?"""
        return self._ask("types", names, **options)

    def all_types(self, filter: str = "", **options: Unpack[QuestionOptions]) -> Question[Answer[ObjectPresentationInfo]]:
        """Which object types are there with these words in label, plural or name?"""
        return self._ask("allTypes", (), filter, **options)

    def search_columns(self, names: Iterable[str], **options: Unpack[QuestionOptions]) -> Question[Answer[ObjectLayoutInfo]]:
        """Which columns do search results of these object types show?"""
        return self._ask("searchColumns", names, **options)

    def headlines(self, names: Iterable[str],
                  **options: Unpack[QuestionOptions]) -> Question[Answer[ObjectCompactLayoutInfo]]:
        """Which fields head the records of these object types?"""
        return self._ask("headlines", names, **options)

    def refresh(self, **options: Unpack[QuestionOptions]) -> Question[Answer[TypeChange]]:
        """Fetches both lists anew, whatever their age. What has changed?"""
        return self._ask("refresh", (), **options)

    def watch_records(self, ids: Iterable[str], **options: Unpack[QuestionOptions]) -> Watch[Answer[ObjectPresentationInfo]]:
        """Asks `records`, and again after each refresh."""
        return self._watch("records", ids, **options)

    def watch_types(self, names: Iterable[str], **options: Unpack[QuestionOptions]) -> Watch[Answer[ObjectPresentationInfo]]:
        """Asks `types`, and again after each refresh."""
        return self._watch("types", names, **options)

    def watch_all_types(self, filter: str = "", **options: Unpack[QuestionOptions]) -> Watch[Answer[ObjectPresentationInfo]]:
        """Asks `all_types`, and again after each refresh."""
        return self._watch("allTypes", (), filter, **options)

    def watch_search_columns(self, names: Iterable[str], **options: Unpack[QuestionOptions]) -> Watch[Answer[ObjectLayoutInfo]]:
        """Asks `search_columns`, and again after each refresh."""
        return self._watch("searchColumns", names, **options)

    def watch_headlines(self, names: Iterable[str],
                        **options: Unpack[QuestionOptions]) -> Watch[Answer[ObjectCompactLayoutInfo]]:
        """Asks `headlines`, and again after each refresh."""
        return self._watch("headlines", names, **options)

    def watch_readiness(self) -> Watch[Readiness]:
        """The present state, then each that follows."""
        return self._watch("readiness", ())

    def readiness(self) -> Readiness:
        """Whether both lists are there, at this moment."""
        answer = c_void_p()
        with self._lifetime.use() as catalog:
            _native.check(_native.library.vellora_state(catalog, byref(answer)))
        return Readiness.from_document(_native.take_document(answer.value or 0))

    def forget(self) -> None:
        """Gives all questions up, as cancelled, and deletes what the library has written into the cache: for a sign-out."""
        with self._lifetime.use() as catalog:
            _native.check(_native.library.vellora_forget(catalog))

    def release_memory(self) -> None:
        """Lets go of what is only remembered, as when the system is short of memory. Nothing is lost, and questions under way
        go on; the next one that needs a list decodes it once more."""
        with self._lifetime.use() as catalog:
            _native.check(_native.library.vellora_release_memory(catalog))

    def close(self) -> None:
        """Gives all questions up: they are cancelled when it returns, and watches end. It waits for a callback that runs,
        unless it is called from inside it. A second time does nothing."""
        self._lifetime.close()
        for each in list(self._open):
            each.close() if isinstance(each, Watch) else each.cancel()

    def __enter__(self) -> Catalog:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()

    async def __aenter__(self) -> Catalog:
        return self

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        trace: TracebackType | None) -> None:
        await asyncio.to_thread(self.close)

    def __del__(self) -> None:
        lifetime = getattr(self, "_lifetime", None)
        if lifetime is not None and lifetime.is_open and _native.is_our_process():
            warnings.warn("a vellora.Catalog was not closed", ResourceWarning, source=self)

    def _ask(self, kind: str, keys: Iterable[str], filter: str = "", **options: Unpack[QuestionOptions]) -> Question[Any]:
        question: Question[Any] = Question(_READS[kind], self._open)
        try:
            self._begin(_native.library.vellora_ask, question, kind, keys, _ask_options(filter, **options))
        except BaseException:
            question.cancel()
            raise
        return question

    def _watch(self, kind: str, keys: Iterable[str], filter: str = "", **options: Unpack[QuestionOptions]) -> Watch[Any]:
        watch: Watch[Any] = Watch(_READS[kind], self._open)
        try:
            self._begin(_native.library.vellora_watch, watch, kind, keys, _ask_options(filter, **options))
        except BaseException:
            watch.close()
            raise
        return watch

    def _begin(self, begin: Any, question: Question[Any] | Watch[Any], kind: str, keys: Iterable[str],
               options: _native.AskOptions) -> None:
        texts = _native.Texts(_arguments.keys(keys))
        with self._lifetime.use() as catalog:
            listener = listener_for(question)
            error = question.handle.fill(lambda place: begin(catalog, _native.KINDS[kind], texts.array, len(texts.array),
                                                             byref(options), byref(listener), place))
            if error:
                _contexts.release(listener.context)
            _native.check(error)


def _ask_options(filter: str, *, deadline: float | timedelta | None = None, source: Source = Source.CACHE_FIRST,
                 theme: str | None = None) -> _native.AskOptions:
    if not isinstance(source, Source):
        raise TypeError("The source is not a vellora.Source.")
    words = _arguments.text(filter, "The filter")
    options = _native.AskOptions(deadline_seconds=_arguments.seconds(deadline, "The deadline"), source=source.value,
                                 theme=_arguments.zero_ended(theme, "The theme"))
    if words:
        options.filter = _native.Text.of(words)
        options.keeps_words = words
    return options


def _opened(options: _native.Options, **given: tuple[Any, Callable[[Any], Any]]) -> int:
    """`given` is what the host has given, by the members of the options, with what makes its table."""
    _native.begin_use()
    tables = {member: table_of(value) for member, (value, table_of) in given.items() if value is not None}
    for member, table in tables.items():
        setattr(options, member, pointer(table))
    catalog = c_void_p()
    error = _native.library.vellora_open(byref(options), byref(catalog))
    if error:
        for table in tables.values():
            _contexts.release(table.context)
    _native.check(error)
    return catalog.value or 0
