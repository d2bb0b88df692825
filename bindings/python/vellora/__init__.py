"""Vellora: what the object types of a business-records server look like. See bindings/python/README.md."""

from ._native import version
from .answer import Age, Answer, End, Missing, Readiness, State, Trouble, TypeChange, Why
from .cache import Cache, Row, RowQuery
from .catalog import Catalog, QuestionOptions, Source
from .errors import NetworkError, RefusedError, VelloraError
from .network import Network, Request
from .question import Question, Watch
from .records import (
    CompactLayoutField,
    ObjectCompactLayoutInfo,
    ObjectLayoutFieldMetadata,
    ObjectLayoutInfo,
    ObjectPresentationInfo,
    PresentationInfo,
)

__all__ = [
    "Age",
    "Answer",
    "Cache",
    "Catalog",
    "CompactLayoutField",
    "End",
    "Missing",
    "Network",
    "NetworkError",
    "ObjectCompactLayoutInfo",
    "ObjectLayoutFieldMetadata",
    "ObjectLayoutInfo",
    "ObjectPresentationInfo",
    "PresentationInfo",
    "Question",
    "QuestionOptions",
    "Readiness",
    "RefusedError",
    "Request",
    "Row",
    "RowQuery",
    "Source",
    "State",
    "Trouble",
    "TypeChange",
    "VelloraError",
    "Watch",
    "Why",
    "version",
]
