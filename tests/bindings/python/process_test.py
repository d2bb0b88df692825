"""Signals, forks and the end of the program."""

import asyncio
import os
import signal
import subprocess
import sys
import threading
import traceback
import unittest

from scripted_network import COLUMNS_URL, ScriptedNetwork
from vellora import Catalog, VelloraError

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


def output_of(program):
    done = subprocess.run([sys.executable, "-B", "-X", "dev", "-W", "error", "-c", program], capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


def interrupt_once_it_waits(name):
    """Sends Ctrl-C to this process as soon as the main thread waits in a function of that name."""
    main = threading.main_thread().ident

    def waits():
        frames = [frame.f_code for frame, _ in traceback.walk_stack(sys._current_frames()[main])]
        return any(code.co_name == name for code in frames) and frames[0].co_name in ("wait", "select")

    def interrupt():
        while not waits():
            os.sched_yield()
        os.kill(os.getpid(), signal.SIGINT)

    thread = threading.Thread(target=interrupt)
    thread.start()
    return thread


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
        thread = interrupt_once_it_waits("result")
        self.assertRaises(KeyboardInterrupt, question.result)
        thread.join()
        self.assertTrue(question.cancelled())

    def test_ctrl_c_ends_the_wait_for_a_watch_that_goes_on(self):
        watch = self.catalog.watch_search_columns(["Account"], deadline=600)
        request = self.network.await_silent()
        thread = interrupt_once_it_waits("__next__")
        self.assertRaises(KeyboardInterrupt, next, watch)
        thread.join()
        request.set_result(b'[{"objectType":"Account","searchColumns":[]}]')
        self.assertIn("Account", next(watch).found)

    def test_ctrl_c_ends_asyncio_and_gives_the_question_up(self):
        question = self.ask()

        async def wait():
            await question

        thread = interrupt_once_it_waits("run_until_complete")
        self.assertRaises(KeyboardInterrupt, asyncio.run, wait())
        thread.join()
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
