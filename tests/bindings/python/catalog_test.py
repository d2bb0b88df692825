"""What users of a catalogue rely on, and what is refused."""

import asyncio
import contextlib
import gc
import threading
import unittest
import warnings
import weakref
from concurrent.futures import CancelledError, Future, wait
from datetime import timedelta, timezone
from unittest import mock

import vellora
from scripted_network import ACCOUNT_ID, COLUMNS, COLUMNS_URL, HEADLINES_URL, TYPES_URL, ScriptedNetwork
from vellora import Catalog, End, NetworkError, Question, RefusedError, Source, State, TypeChange, VelloraError, Why, _contexts, _native


def opened(network=None, **options):
    return Catalog(network=network or ScriptedNetwork.of_accounts(), load_late=True, attempts=1, **options)


@contextlib.contextmanager
def interrupted_behind(name):
    """Ctrl-C comes when the library's function of that name has returned."""
    function = getattr(_native.library, name)

    def interrupted(*arguments):
        function(*arguments)
        raise KeyboardInterrupt

    with mock.patch.object(_native.library, name, interrupted):
        yield


class CatalogTest(unittest.TestCase):
    def setUp(self):
        self.network = ScriptedNetwork.of_accounts()
        self.network.silence(COLUMNS_URL)
        self.catalog = opened(self.network)
        self.addCleanup(self.catalog.close)

    def test_who_waits_gets_typed_records_and_reasons(self):
        answer = self.catalog.records([ACCOUNT_ID, "zzz"]).result()
        self.assertIs(answer.end, End.ANSWERED)
        self.assertEqual(answer.found[ACCOUNT_ID].type_presentation_info.color, "FF0000")
        self.assertIs(answer.missing["zzz"].why, Why.UNKNOWN)
        self.assertEqual(answer.ages[ACCOUNT_ID].fetched.tzinfo, timezone.utc)

    def test_asyncio_awaits_several_questions_at_once(self):
        async def ask():
            return await asyncio.gather(self.catalog.types(["Account"]), self.catalog.all_types("acc", theme="dark"))

        light, dark = asyncio.run(ask())
        self.assertEqual(light.found["Account"].type_presentation_info.color, "FF0000")
        self.assertEqual(dark.found["Account"].type_presentation_info.color, "00FF00")

    def test_cancelling_a_task_cancels_its_question(self):
        async def ask():
            question = self.catalog.search_columns(["Account"], deadline=600)
            task = asyncio.ensure_future(question)
            await asyncio.to_thread(self.network.await_silent)
            task.cancel()
            with self.assertRaises(asyncio.CancelledError):
                await task
            return question

        self.assertTrue(asyncio.run(ask()).cancelled())

    def test_a_question_that_is_cancelled_tells_whoever_waits_on_another_thread(self):
        question = self.catalog.search_columns(["Account"], deadline=600)
        told = Future()
        question.add_done_callback(lambda ended: told.set_result(ended.cancelled()))
        self.network.await_silent()
        self.assertTrue(question.cancel())
        self.assertTrue(told.result())
        self.assertRaises(CancelledError, question.result)

    def test_a_wait_that_runs_out_of_time_does_not_give_the_question_up(self):
        question = self.catalog.search_columns(["Account"], deadline=600)
        self.assertRaises(TimeoutError, question.result, 0.001)
        self.network.await_silent().set_result(COLUMNS)
        self.assertEqual(question.result().found["Account"].search_columns, ())

    def test_a_deadline_can_be_a_timedelta_and_zero_is_at_once(self):
        for deadline in (timedelta(0), 0, -1):
            answer = self.catalog.search_columns(["Account"], deadline=deadline).result()
            self.assertIs(answer.end, End.TIMED_OUT)

    def test_only_the_cache_is_asked_where_that_is_said(self):
        answer = self.catalog.types(["Account"], source=Source.CACHE_ONLY).result()
        self.assertIs(answer.missing["Account"].why, Why.NOT_CACHED)

    def test_a_watch_is_iterated_until_it_is_closed(self):
        with self.catalog.watch_types(["Account"]) as watch:
            self.assertEqual(next(watch).found["Account"].type_presentation_info.label, "Account")
            self.network.answer(TYPES_URL, b'{"sobjects":[]}')
            self.assertIs(self.catalog.refresh().result().found["Account"], TypeChange.REMOVED)
            self.assertIn("Account", next(watch).missing)
        self.assertEqual(list(watch), [])

    def test_a_watch_is_iterated_in_asyncio_until_its_catalogue_is_closed(self):
        async def states():
            async with opened() as catalog:
                seen = []
                async for readiness in (watch := catalog.watch_readiness()):
                    seen.append(readiness.state)
                    if readiness.state is State.READY:
                        break
                    await catalog.types(["Account"])
            return seen, [left async for left in watch]

        seen, left = asyncio.run(states())
        self.assertEqual((seen[0], seen[-1]), (State.LOADING, State.READY))
        self.assertEqual(left, [])

    def test_a_watch_goes_on_after_a_task_that_waited_for_it_was_cancelled(self):
        async def ask():
            with self.catalog.watch_search_columns(["Account"], deadline=600) as watch:
                task = asyncio.ensure_future(anext(watch))
                request = await asyncio.to_thread(self.network.await_silent)
                task.cancel()
                with self.assertRaises(asyncio.CancelledError):
                    await task
                request.set_result(COLUMNS)
                return await anext(watch)

        self.assertIn("Account", asyncio.run(ask()).found)

    def test_an_answer_that_comes_while_its_taker_is_cancelled_is_for_the_next(self):
        async def ask():
            with self.catalog.watch_search_columns(["Account"], deadline=600) as watch:
                task = asyncio.ensure_future(anext(watch))
                request = await asyncio.to_thread(self.network.await_silent)
                given = threading.Event()
                watch._takers[0].add_done_callback(lambda _: given.set())
                request.set_result(COLUMNS)
                given.wait()  # the loop has not seen the answer yet
                task.cancel()
                with self.assertRaises(asyncio.CancelledError):
                    await task
                return await anext(watch)

        self.assertIn("Account", asyncio.run(ask()).found)

    def test_an_answer_that_a_taker_leaves_goes_to_who_waits(self):
        with self.catalog.watch_search_columns(["Account"], deadline=600) as watch:
            first, second = Future(), Future()
            watch._take(first)
            watch._take(second)
            self.network.await_silent().set_result(COLUMNS)
            self.assertIn("Account", first.result().found)
            watch._leave(first)
            self.assertIs(second.result(), first.result())

    def test_who_left_a_watch_is_not_kept(self):
        with self.catalog.watch_search_columns(["Account"], deadline=600) as watch:
            taker = Future()
            watch._take(taker)
            watch._leave(taker)
            self.assertEqual(len(watch._takers), 0)

    def test_closing_cancels_what_is_under_way_and_is_final(self):
        question = self.catalog.search_columns(["Account"], deadline=600)
        self.network.await_silent()
        self.catalog.close()
        self.assertTrue(question.cancelled())
        self.catalog.close()
        for use in (lambda: self.catalog.types(["Account"]), self.catalog.readiness, self.catalog.forget,
                    self.catalog.release_memory, self.catalog.refresh, self.catalog.watch_readiness):
            with self.assertRaisesRegex(VelloraError, "is closed"):
                use()

    def call_back(self, callback):
        """Has a question of search columns call back, on the thread that answers."""
        self.catalog.search_columns(["Account"], deadline=600).add_done_callback(callback)
        self.network.await_silent().set_result(COLUMNS)

    def test_a_callback_can_close_the_catalogue(self):
        closed = Future()

        def close(_):
            try:
                self.catalog.close()
            finally:
                closed.set_result(None)

        self.call_back(close)
        closed.result()
        self.assertRaises(VelloraError, self.catalog.readiness)

    def test_a_callback_closes_the_catalogue_while_another_thread_forgets(self):
        closed, entered = Future(), threading.Event()

        def close(_):
            entered.set()
            try:
                self.catalog.close()
            finally:
                closed.set_result(None)

        self.call_back(close)
        entered.wait()
        with contextlib.suppress(VelloraError):
            self.catalog.forget()
        closed.result()
        self.assertRaises(VelloraError, self.catalog.readiness)

    def test_a_callback_that_waits_for_another_answer_is_refused(self):
        told = Future()
        waits = (lambda other: other.result(), lambda other: other.exception(), lambda other: asyncio.run(asyncio.wait_for(other, None)),
                 lambda _: next(self.catalog.watch_types(["Account"])),
                 lambda _: asyncio.run(asyncio.wait_for(anext(self.catalog.watch_types(["Account"])), None)))

        def ask(_):
            other = self.catalog.headlines(["Account"], deadline=600)
            told.set_result([self.refusal_of(wait, other) for wait in waits])

        self.network.silence(HEADLINES_URL)
        self.call_back(ask)
        self.assertEqual(told.result(), ["Waiting inside a call of the library's blocks what the answer needs."] * len(waits))

    @staticmethod
    def refusal_of(wait, question):
        try:
            return f"it gives {wait(question)}"
        except BaseException as error:
            return str(error)

    def test_a_callback_reads_a_question_that_has_ended(self):
        told = Future()
        self.call_back(lambda question: told.set_result((question.result(), question.exception())))
        self.assertIn("Account", told.result()[0].found)

    def test_a_callback_that_raises_takes_no_other_with_it(self):
        def fail(_):
            raise RuntimeError("a callback that raises")

        question = self.catalog.types(["Account"])
        with self.assertLogs("concurrent.futures", "ERROR") as logs:
            question.add_done_callback(fail)
            told = Future()
            question.add_done_callback(lambda _: told.set_result(None))
            told.result()
        self.assertIn("a callback that raises", logs.output[0])
        self.assertIn("Account", self.catalog.types(["Account"]).result().found)

    def test_forgetting_deletes_what_was_cached(self):
        self.catalog.types(["Account"]).result()
        self.catalog.forget()
        self.assertIs(self.catalog.readiness().state, State.LOADING)

    def test_a_list_that_fails_is_told_of_in_the_state(self):
        self.network.answer(TYPES_URL, NetworkError("no signal"))
        self.catalog.types(["Account"]).result()
        readiness = self.catalog.readiness()
        self.assertIs(readiness.state, State.FAILED)
        self.assertEqual((str(readiness.trouble), readiness.trouble.request), ("no signal (%s)" % TYPES_URL, TYPES_URL))

    def test_the_version_is_that_of_the_library(self):
        self.assertRegex(vellora.version(), r"^\d+\.\d+\.\d+$")


class RefusalTest(unittest.TestCase):
    def setUp(self):
        self.network = ScriptedNetwork.of_accounts()
        self.catalog = opened(self.network)
        self.addCleanup(self.catalog.close)

    def refuses(self, error, words, function, *arguments, **options):
        with self.assertRaisesRegex(error, words):
            function(*arguments, **options)

    def test_keys_are_texts_in_a_list(self):
        for keys, words in ((None, "iterable"), ("Account", "of type str"), (b"Account", "of type bytes"), ([None], "is None"),
                            ([b"Account"], "of type bytes"), ([1], "of type int"), (3, "iterable")):
            self.refuses(TypeError, words, self.catalog.types, keys)

    def test_a_key_that_is_not_utf8_is_missing_for_that_reason(self):
        for key in ("\udcff", "\ud800"):
            answer = self.catalog.types([key, "Account"]).result()
            self.assertIn("not UTF-8", str(*answer.missing.values()))
            self.assertIn("Account", answer.found)

    def test_what_is_not_utf8_in_a_key_stands_in_the_answer_as_one_sign(self):
        answer = self.catalog.types(["\udcff", "Account\udcfe"]).result()
        self.assertEqual(list(answer.missing), ["\ufffd", "Account\ufffd"])

    def test_a_key_can_have_any_length_and_a_zero_inside(self):
        for key in ("", "\0", "A\0ccount", "x" * 1_000_000):
            self.assertEqual(len(self.catalog.types([key]).result().missing), 1)

    def test_options_are_of_their_types(self):
        ask = self.catalog.all_types
        self.refuses(TypeError, "of type str", ask, deadline="10")
        self.refuses(TypeError, "of type bool", ask, deadline=True)
        self.refuses(ValueError, "not a number", ask, deadline=float("nan"))
        self.refuses(ValueError, "too large", ask, deadline=10**400)
        self.refuses(TypeError, "vellora.Source", ask, source=1)
        self.refuses(TypeError, "of type bytes", ask, theme=b"dark")
        self.refuses(ValueError, "zero inside", ask, theme="da\0rk")
        self.refuses(ValueError, "not UTF-8", ask, theme="\udcff")
        self.refuses(TypeError, "is None", ask, None)
        self.refuses(ValueError, "not UTF-8", ask, "\udcff")
        self.refuses(TypeError, "unexpected keyword", ask, depth=1)

    def test_what_a_catalogue_is_made_with_is_of_its_type(self):
        self.refuses(TypeError, "vellora.Network", Catalog, network=object())
        self.refuses(TypeError, "vellora.Cache", Catalog, "https://records.example", cache={})
        self.refuses(TypeError, "cannot be called", Catalog, "https://records.example", token="secret")
        self.refuses(TypeError, "cannot be called", Catalog, "https://records.example", logger=1)
        self.refuses(TypeError, "of type int", Catalog, 3)
        self.refuses(ValueError, "zero inside", Catalog, "https://records.example", cache_file="a\0b")
        for attempts in (0, -1, 2**31):
            self.refuses(ValueError, "not between", Catalog, "https://records.example", attempts=attempts)

    def test_what_the_library_refuses_is_a_value_error_too(self):
        self.refuses(RefusedError, "cannot be watched", self.catalog._watch, "refresh", ())
        self.assertTrue(issubclass(RefusedError, ValueError))

    def test_a_catalogue_without_a_server_or_a_network_says_what_it_lacks(self):
        self.refuses(VelloraError, "address is empty", Catalog)
        self.refuses(VelloraError, "not a URL", Catalog, "no address")

    def test_what_is_refused_is_not_held(self):
        self.assertTrue(_contexts.wait_until_held(1, 600))  # this test's network; the library may still let go of others
        held = _contexts.held()
        for make in (lambda: Catalog("no address", logger=print), lambda: self.catalog.types([None]),
                     lambda: self.catalog.watch_types([None]),
                     lambda: self.catalog._watch("refresh", ())):
            self.assertRaises(Exception, make)
        self.assertEqual(_contexts.held(), held)
        self.assertEqual(self.catalog._open, set())


class LifetimeTest(unittest.TestCase):
    QUESTIONS = 60

    def test_questions_that_have_ended_leave_nothing(self):
        with opened(ScriptedNetwork.of_accounts()) as catalog:
            self.ask(catalog)
        self.assertEqual(catalog._open, set())  # only now: who waits is told before it is taken out
        self.assertTrue(_contexts.wait_until_held(0, 600))
        self.assertEqual([left for left in gc.get_objects() if isinstance(left, Question)], [])

    def ask(self, catalog):
        """Of every kind of end: answered, missing, cancelled."""
        questions = [catalog.records([ACCOUNT_ID, "zzz", ""]) for _ in range(self.QUESTIONS)]
        for question in questions[::5]:
            question.cancel()
        self.assertEqual(wait(questions).not_done, set())

    def test_ctrl_c_behind_the_call_that_asks_gives_up_what_it_began(self):
        network = ScriptedNetwork()
        network.silence(TYPES_URL)
        with opened(network) as catalog:
            held = _contexts.held()
            for name, ask in (("vellora_ask", lambda: catalog.types(["Account"], deadline=600)),
                              ("vellora_watch", lambda: catalog.watch_types(["Account"], deadline=600))):
                with interrupted_behind(name):
                    self.assertRaises(KeyboardInterrupt, ask)
                self.assertTrue(_contexts.wait_until_held(held, 600))
                self.assertEqual(catalog._open, set())

    def test_a_closed_catalogue_lets_go_of_what_the_host_gave(self):
        network = ScriptedNetwork.of_accounts()
        network.silence(COLUMNS_URL)
        catalog = opened(network)
        question = catalog.search_columns(["Account"], deadline=600)
        request = network.await_silent()
        kept = [weakref.ref(network), weakref.ref(question)]
        catalog.close()
        request.set_exception(NetworkError("too late"))
        self.assertTrue(_contexts.wait_until_held(0, 600))
        del network, question, catalog, request
        gc.collect()
        self.assertEqual([reference() for reference in kept], [None, None])

    def test_a_catalogue_that_nobody_closes_is_warned_of(self):
        catalog = opened()
        lifetime = catalog._lifetime
        with warnings.catch_warnings(record=True) as told:
            warnings.simplefilter("always")
            del catalog
            gc.collect()
        lifetime.close()
        self.assertEqual([str(each.message) for each in told], ["a vellora.Catalog was not closed"])
