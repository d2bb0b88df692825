"""Has the command fetch both lists of a demo server, and tells what went over the wire."""

import subprocess

LISTS = {"sobjects": "types", "theme": "themes"}


def fetch(vellora, relay, cache, *options, environment=None):
    """Runs the command once on that cache file, and gives the requests that it sent."""
    relay.taken()
    ended = subprocess.run([vellora, "--server", relay.address, "--cache", cache, *options, "ids", "001000000000009"],
                           env=environment, capture_output=True, text=True, timeout=120)
    if ended.returncode not in (0, 3, 5):  # answered, no such type, a request failed
        raise SystemExit(f"vellora ended with {ended.returncode}: {ended.stderr}")
    return relay.taken()


def by_list(requests):
    """The one request for each list."""
    found = {LISTS[request.path.rpartition("/")[2]]: request for request in requests}
    if len(found) != len(LISTS) or len(requests) != len(LISTS):
        raise SystemExit(f"the command fetches other lists than {sorted(LISTS.values())}: "
                         f"{[request.path for request in requests]}")
    return {name: found[name] for name in LISTS.values()}
