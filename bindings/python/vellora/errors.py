"""What this package raises of its own."""

from __future__ import annotations


class VelloraError(Exception):
    """What is no answer: the catalogue is closed, the library cannot work. `key` is the key that it is about, or None."""

    def __init__(self, text: str, key: str | None = None) -> None:
        super().__init__(text)
        self.key = key


class RefusedError(VelloraError, ValueError):
    """An argument that the library refuses."""


class NetworkError(Exception):
    """Why a request failed, for a `Network` to raise. With `retry_after`, in seconds, the same request may succeed later."""

    def __init__(self, text: str, retry_after: float | None = None) -> None:
        super().__init__(text)
        self.retry_after = retry_after
