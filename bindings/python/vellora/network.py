"""What a host gives in place of what is ready-made."""

from __future__ import annotations

import abc
from concurrent.futures import Future
from dataclasses import dataclass


@dataclass(frozen=True, slots=True)
class Request:
    """What a `Network` is to ask for.

    `url` is relative to your server and percent-encoded, such as "/services/data/v50.0/theme"; `timeout` says in seconds
    how long the answer may take.
    """

    url: str
    timeout: float


class Network(abc.ABC):
    """The network of your program. It sends GETs without headers or body to your records server: resolve the URL against
    its address, and authenticate.

    Threads: called from several threads at once, which are the library's: what takes long gives a Future. The library goes
    on working on the thread that completes it.

    Errors: whatever `send` or the Future raises, and a body that is none, is a failed request. A `NetworkError` also says
    whether the same request may succeed later.
    """

    @abc.abstractmethod
    def send(self, request: Request) -> bytes | Future[bytes]:
        """The body of the answer, or a Future of it, such as an executor's `submit` or asyncio's
        `run_coroutine_threadsafe` gives. Complete it in any case."""
