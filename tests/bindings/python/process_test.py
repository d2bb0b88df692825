"""Signals, forks and the end of the program."""

import asyncio
import contextlib
import os
import signal
import subprocess
import sys
import threading
import traceback
import unittest
import warnings

from scripted_network import COLUMNS, COLUMNS_URL, ScriptedNetwork
from vellora import Catalog, Question, VelloraError, Watch

ENDS_OPEN = """
from vellora import Catalog
from scripted_network import COLUMNS_URL, ScriptedNetwork
network = ScriptedNetwork.of_accounts()
network.silence(COLUMNS_URL)
catalog = Catalog(network=network, logger=lambda is_error, line: None)
watch = catalog.watch_readiness()
question = catalog.search_columns(["Account"], deadline=600)
network.await_silent()
"""
FORKS_AND_ENDS = ENDS_OPEN + """
import os, sys
child = os.fork()
if child == 0:
    sys.exit(7)
print(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
"""
OPENS_IN_A_CHILD = """
import os, sys
import vellora
from scripted_network import ScriptedNetwork
child = os.fork()
if child == 0:
    with vellora.Catalog(network=ScriptedNetwork.of_accounts()) as catalog:
        sys.exit(len(catalog.types(["Account"]).result().found))
print(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
"""


# A fork in a process with threads is what is tried here; later versions of Python warn of it.
FORK_WARNING = "This process"


def output_of(program):
    done = subprocess.run([sys.executable, "-B", "-X", "dev", "-W", "error", "-W", f"ignore:{FORK_WARNING}:DeprecationWarning",
                           "-c", program], capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


@contextlib.contextmanager
def ctrl_c_while_it_waits_in(function):
    """Ctrl-C comes, once, when the main thread waits in a call of that function. Whether it does can be seen by itself alone,
    so signals are sent until it has come out, and those that find it elsewhere say nothing."""
    main, is_told, came_out = threading.main_thread().ident, threading.Event(), threading.Event()

    def interrupt(_, frame):
        # Behind "gotit = False" a condition's wait bears being interrupted.
        waits = frame.f_code is threading.Condition.wait.__code__ and "gotit" in frame.f_locals
        is_within = any(each.f_code is function.__code__ for each, _ in traceback.walk_stack(frame))
        if waits and is_within and not is_told.is_set():
            is_told.set()
            raise KeyboardInterrupt

    def send():
        while not came_out.wait(0.001):
            signal.pthread_kill(main, signal.SIGINT)

    before, thread = signal.signal(signal.SIGINT, interrupt), threading.Thread(target=send)
    thread.start()
    try:
        yield
    finally:
        came_out.set()
        thread.join()
        os.sched_yield()  # the last signal arrives with the return from a call of the system
        signal.signal(signal.SIGINT, before)


class ProcessTest(unittest.TestCase):
    def setUp(self):
        self.network = ScriptedNetwork.of_accounts()
        self.network.silence(COLUMNS_URL)
        self.catalog = Catalog(network=self.network, load_late=True)
        self.addCleanup(self.catalog.close)

    def ask(self):
        question = self.catalog.search_columns(["Account"], deadline=600)
        self.network.await_silent()
        return question

    def test_ctrl_c_ends_the_wait_and_gives_the_question_up(self):
        question = self.ask()
        with ctrl_c_while_it_waits_in(Question.result):
            self.assertRaises(KeyboardInterrupt, question.result)
        self.assertTrue(question.cancelled())

    def test_ctrl_c_ends_the_wait_for_a_watch_that_goes_on(self):
        watch = self.catalog.watch_search_columns(["Account"], deadline=600)
        request = self.network.await_silent()
        with ctrl_c_while_it_waits_in(Watch.__next__):
            self.assertRaises(KeyboardInterrupt, next, watch)
        request.set_result(COLUMNS)
        self.assertIn("Account", next(watch).found)

    def test_ctrl_c_ends_asyncio_and_gives_the_question_up(self):
        question = self.ask()

        async def wait():
            asyncio.get_running_loop().call_soon(signal.raise_signal, signal.SIGINT)
            await question

        self.assertRaises(KeyboardInterrupt, asyncio.run, wait())
        self.assertTrue(question.cancelled())

    def test_the_child_of_a_fork_is_refused(self):
        question, watch = self.ask(), self.catalog.watch_readiness()
        uses = (lambda: self.catalog.types(["Account"]), self.catalog.readiness, self.catalog.forget, question.result,
                lambda: next(watch), lambda: asyncio.run(asyncio.wait_for(question, 1)), lambda: Catalog(network=self.network))
        told = self.in_a_child(lambda: [self.refusal_of(use) for use in uses] + [str(self.catalog.close()), str(question.cancel())])
        self.assertEqual(told[-2:], ["None", "True"])
        self.assertEqual(len(told), len(uses) + 2)
        for refusal in told[:-2]:
            self.assertIn("forked from", refusal)
        self.assertFalse(question.done())

    @staticmethod
    def refusal_of(use):
        try:
            return f"it gives {use()}"
        except VelloraError as error:
            return str(error)

    @staticmethod
    def in_a_child(function):
        """The lines that it gives in a child of this process."""
        reader, writer = os.pipe()
        with warnings.catch_warnings():
            warnings.filterwarnings("ignore", FORK_WARNING, DeprecationWarning)
            child = os.fork()
        if child == 0:
            try:
                os.write(writer, "\n".join(function()).encode())
            except BaseException:
                os.write(writer, traceback.format_exc().encode())
            finally:
                os._exit(0)
        os.close(writer)
        with open(reader) as lines:
            told = lines.read().splitlines()
        os.waitpid(child, 0)
        return told

    def test_a_program_may_end_with_all_of_it_open(self):
        self.assertEqual(output_of(ENDS_OPEN), (0, "", ""))

    def test_the_child_of_a_fork_may_end_too(self):
        self.assertEqual(output_of(FORKS_AND_ENDS), (0, "7\n", ""))

    def test_a_child_may_open_a_catalogue_where_its_parent_has_none(self):
        self.assertEqual(output_of(OPENS_IN_A_CHILD), (0, "1\n", ""))
