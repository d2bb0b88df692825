"""A cache of the host's own."""

from __future__ import annotations

import abc
from collections.abc import Iterable, Mapping
from dataclasses import dataclass


@dataclass(frozen=True, slots=True, kw_only=True)
class Row:
    """A row of a table. One to be written has no `data_key`, or that of the row to replace: give it one of yours."""

    meta: Mapping[str, str]
    data_key: str | None = None
    data: bytes = b""


@dataclass(frozen=True, slots=True, kw_only=True)
class RowQuery:
    """Which rows are meant: those whose meta holds all of `meta`, and that have this `data_key`, where it is one.

    Without `positions` the newest of rows with equal meta comes first. With them the rows are counted by when they were last
    written, the oldest from 0, and those at these positions are meant. Rows may come without data unless it `wants_data`.
    """

    meta: Mapping[str, str]
    data_key: str | None = None
    positions: range | None = None
    wants_data: bool = True


class Cache(abc.ABC):
    """Keeps what the server told, by key and in tables of rows. It should outlive the program: what it holds is what is
    answered offline. Each signed-in user needs one of their own.

    Names, keys and meta are any bytes, as os.fsdecode gives them.

    Threads: called from several threads at once, which are the library's. It must not use a catalogue.

    Errors: what raises has failed, and so has what gives False; the logger "vellora" of Python's is told of what raises.
    Questions that need what is then not kept fail, and say so; none waits for it.
    """

    @abc.abstractmethod
    def load(self, key: str) -> bytes | None:
        """The blob of that key, exactly as it was saved; None when there is none."""

    @abc.abstractmethod
    def save(self, key: str, blob: bytes) -> bool | None:
        """Keeps it, in place of an earlier one."""

    @abc.abstractmethod
    def remove(self, key: str) -> bool | None:
        """Deletes the blob of that key."""

    @abc.abstractmethod
    def has_table(self, table: str) -> bool:
        """Whether the table has been created."""

    @abc.abstractmethod
    def create_table(self, table: str, longest: float) -> bool | None:
        """Creates it, unless it is there. A row that is older than `longest`, in seconds, is not given any more."""

    @abc.abstractmethod
    def rows(self, table: str, query: RowQuery) -> Iterable[Row]:
        """The rows that are meant."""

    @abc.abstractmethod
    def purge(self, table: str, query: RowQuery) -> bool | None:
        """Deletes each row that is meant, whatever its position."""

    @abc.abstractmethod
    def upsert(self, table: str, row: Row) -> bool | None:
        """Stores a row, which is then the newest. One without a data key may replace an earlier row of equal meta."""
