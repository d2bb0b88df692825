"""What questions come to. All of it is immutable."""

from __future__ import annotations

import enum
import functools
import json
from collections.abc import Callable, Mapping
from dataclasses import dataclass, field
from datetime import datetime
from types import MappingProxyType
from typing import Any, Generic, TypeVar

from . import _html

T = TypeVar("T")


class End(enum.Enum):
    """How a question has ended."""

    ANSWERED = "answered"  # each key was found, or is missing for a reason of its own
    FAILED = "failed"  # nothing was found and something could not be asked, or all came to grief
    TIMED_OUT = "timedOut"
    CANCELLED = "cancelled"


class Why(enum.Enum):
    """Why a key is missing."""

    UNKNOWN = "unknown"  # the server doesn't know it
    FAILED = "failed"  # it could not be asked
    NOT_ASKED = "notAsked"  # it is none, such as an empty one
    NOT_CACHED = "notCached"  # only the cache was to be asked
    TIMED_OUT = "timedOut"
    CANCELLED = "cancelled"


class TypeChange(enum.Enum):
    """What a refresh found of an object type."""

    ADDED = "added"
    REMOVED = "removed"
    CHANGED = "changed"


class State(enum.Enum):
    """Whether both lists are there, in a word."""

    LOADING = "loading"
    READY = "ready"
    FAILED = "failed"


@dataclass(frozen=True, slots=True)
class Trouble:
    """What went wrong, for a person, and the request that it came from, where it was one."""

    text: str
    request: str | None = None

    def __str__(self) -> str:
        return self.text


@dataclass(frozen=True, slots=True)
class Missing:
    """Why a key has no answer: in a word, for a person, and the request that failed, where it was one."""

    why: Why
    text: str
    request: str | None = None

    def __str__(self) -> str:
        return self.text


@dataclass(frozen=True, slots=True)
class Age:
    """When the server gave something, and whether that is longer ago than the catalogue's time-out. None: not known."""

    fetched: datetime | None
    is_stale: bool | None


@dataclass(frozen=True, slots=True)
class Readiness:
    """Whether both lists are there, and why the last load of them failed, if it did."""

    state: State
    trouble: Trouble | None = None

    @classmethod
    def from_document(cls, document: str) -> Readiness:
        read = json.loads(document)
        return cls(State(read["state"]), _trouble(read))


@dataclass(frozen=True)
class Answer(Generic[T]):
    """What a question has come to: each key that was asked for is found or missing, never both.

    `found` and `missing` are in the order asked; where nothing was named, in the order of the keys. What is not UTF-8 in a
    key stands there as U+FFFD, so keys that differ in it alone are one. `trouble` is what kept the answer from being fuller
    or fresher. `document` is all of it as JSON, as docs/schemas describes it.
    """

    question: str
    end: End
    found: Mapping[str, T]
    missing: Mapping[str, Missing]
    trouble: Trouble | None
    age: Age
    ages: Mapping[str, Age] = field(repr=False)
    document: str = field(repr=False)

    @classmethod
    def from_document(cls, document: str, content: Callable[[dict[str, Any]], T]) -> Answer[T]:
        """Reads a document; `content` reads what was found of a key."""
        read = json.loads(document)
        entries = read["found"]
        return cls(
            question=read["question"],
            end=End(read["end"]),
            found=MappingProxyType({entry["key"]: content(entry) for entry in entries}),
            missing=MappingProxyType({each["key"]: _missing(each) for each in read["missing"]}),
            trouble=_trouble(read),
            age=_age(read),
            ages=MappingProxyType({entry["key"]: _age(entry) for entry in entries}),
            document=document,
        )

    def _repr_html_(self) -> str:
        """As a notebook shows it."""
        return _html.table(self.question, self.found, {key: str(why) for key, why in self.missing.items()},
                           str(self.trouble) if self.trouble else None)


def _missing(json: dict[str, Any]) -> Missing:
    return Missing(Why(json["code"]), json["text"], json.get("request"))


def _trouble(json: dict[str, Any]) -> Trouble | None:
    trouble = json.get("trouble")
    return None if trouble is None else Trouble(trouble["text"], trouble.get("request"))


def _age(json: dict[str, Any]) -> Age:
    return _age_of(json.get("fetched"), json.get("stale"))


@functools.lru_cache(maxsize=64)  # most of what was found came at one moment
def _age_of(fetched: str | None, is_stale: bool | None) -> Age:
    return Age(None if fetched is None else datetime.fromisoformat(fetched), is_stale)
