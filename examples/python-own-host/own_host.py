"""A host of one's own in Python: a network over urllib.

python3 own_host.py SERVER RECORD-ID
"""

import sys
from concurrent.futures import Future, ThreadPoolExecutor
from urllib.error import HTTPError
from urllib.request import urlopen

from vellora import Catalog, Network, NetworkError, Request


# [network]
class HttpNetwork(Network):
    """Sends requests with the program's own client, which would authenticate as well."""

    def __init__(self, server: str, pool: ThreadPoolExecutor) -> None:
        self._server = server
        self._pool = pool

    def send(self, request: Request) -> Future[bytes]:
        return self._pool.submit(self._get, request)

    def _get(self, request: Request) -> bytes:
        try:
            with urlopen(self._server + request.url, timeout=request.timeout) as response:
                return response.read()
        except HTTPError as error:
            with error:
                retry_after = 1.0 if error.code == 503 else None
                raise NetworkError(f"The server answers {error.code}.", retry_after) from None
# [network]


def main() -> None:
    server, key = sys.argv[1:]
    with ThreadPoolExecutor() as pool, Catalog(network=HttpNetwork(server, pool), attempts=1, load_late=True) as catalog:
        answer = catalog.records([key]).result()
    for record_id, info in answer.found.items():
        print(info.type_presentation_info.label or record_id)
    for record_id, missing in answer.missing.items():
        print(f"{record_id}: {missing}")


if __name__ == "__main__":
    main()
