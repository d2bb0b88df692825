#!/usr/bin/env python3
"""Shows that check_sleeps.py finds what it is there for."""

import pathlib
import tempfile
import unittest
from unittest import mock

import check_sleeps


@mock.patch.dict(check_sleeps.STARTING, {}, clear=True)
@mock.patch.dict(check_sleeps.WAITING, {}, clear=True)
class CheckSleepsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def problems(self, text):
        file = self.root / "hostkit/A.cpp"
        file.parent.mkdir(exist_ok=True)
        file.write_text(text)
        return list(check_sleeps.problems(self.root))

    def test_a_source_that_does_neither_is_fine(self):
        self.assertEqual(self.problems("std::thread thread_;\nstd::thread::id id;\nwait(lock);  // x.wait(lock)\n"), [])

    def test_each_way_to_start_a_thread_is_found(self):
        for text in ("std::thread([] {}).detach();", "thread_ = std::thread{run};", "std::jthread poller(run);",
                     "std::async(std::launch::async, run);", "pthread_create(&id, nullptr, run, nullptr);"):
            self.assertEqual(self.problems(text), ["hostkit/A.cpp: starts a thread, and is not known to"], text)

    def test_each_way_to_wait_is_found(self):
        for text in ("changed_.wait(lock);", "a->wait_for(lock, 1min);", "std::this_thread::sleep_for(1s);", "usleep(5);",
                     "curl_multi_poll(multi, nullptr, 0, 1000, nullptr);", "poll(&one, 1, 1000);"):
            self.assertEqual(self.problems(text), ["hostkit/A.cpp: waits, and is not known to"], text)

    def test_one_that_is_known_is_fine_as_long_as_it_does_so(self):
        with mock.patch.dict(check_sleeps.WAITING, {"hostkit/A.cpp": "a caller"}):
            self.assertEqual(self.problems("changed_.wait(lock);"), [])
            self.assertEqual(self.problems(""), ["hostkit/A.cpp: is known as one that waits, and does not"])


if __name__ == "__main__":
    unittest.main()
