"""What a cache of the host's may give and do."""

import logging
import threading
import unittest
import weakref
from unittest import mock

from scripted_network import ACCOUNT_ID, COLUMNS, COLUMNS_URL, ScriptedNetwork
from vellora import Cache, Catalog, End, Row, RowQuery, Source, State, _cache, _contexts, _native

FUNCTIONS = ("load", "save", "remove", "has_table", "create_table", "rows", "purge", "upsert")


class DictCache(Cache):
    """All in memory."""

    def __init__(self):
        self._lock = threading.Lock()
        self._written = 0
        self.blobs = {}
        self.tables = {}
        self.longest = {}

    def load(self, key):
        return self.blobs.get(key)

    def save(self, key, blob):
        self.blobs[key] = blob

    def remove(self, key):
        self.blobs.pop(key, None)

    def has_table(self, table):
        return table in self.tables

    def create_table(self, table, longest):
        with self._lock:
            self.tables.setdefault(table, [])
        self.longest[table] = longest

    def rows(self, table, query):
        with self._lock:
            meant = [row for row in self.tables[table] if self.is_meant(row, query)]
        return meant[::-1] if query.positions is None else meant[query.positions.start:query.positions.stop]

    def purge(self, table, query):
        with self._lock:
            self.tables[table] = [row for row in self.tables[table] if not self.is_meant(row, query)]

    def upsert(self, table, row):
        with self._lock:
            self._written += 1
            rows = [each for each in self.tables[table] if each.meta != row.meta]
            self.tables[table] = rows + [Row(meta=row.meta, data_key=row.data_key or str(self._written), data=row.data)]

    @staticmethod
    def is_meant(row, query):
        return row.meta.items() >= query.meta.items() and query.data_key in (None, row.data_key)


def failing(name, error):
    """A cache one function of which raises."""
    cache = DictCache()
    setattr(cache, name, mock.Mock(side_effect=error))
    return cache


class CacheTest(unittest.TestCase):
    def setUp(self):
        self.network = ScriptedNetwork.of_accounts()
        self.network.answer(COLUMNS_URL, COLUMNS)

    def opened(self, cache, network=None):
        return Catalog(network=network or self.network, cache=cache, load_late=True, attempts=1)

    def fill(self, cache):
        with self.opened(cache) as catalog:
            self.ask(catalog)

    def ask(self, catalog, **options):
        return [catalog.records([ACCOUNT_ID], deadline=600, **options).result(),
                catalog.search_columns(["Account"], deadline=600, **options).result()]

    def test_what_it_keeps_is_answered_without_the_network(self):
        cache = DictCache()
        self.fill(cache)
        self.assertEqual(set(cache.longest.values()), {7 * 24 * 3600.0})
        with self.opened(cache, ScriptedNetwork()) as catalog:
            records, columns = self.ask(catalog, source=Source.CACHE_ONLY)
        self.assertEqual(records.found[ACCOUNT_ID].type_presentation_info.color, "FF0000")
        self.assertEqual(list(columns.found), ["Account"])

    def test_forgetting_deletes_from_it_what_was_written(self):
        cache = DictCache()
        with self.opened(cache) as catalog:
            self.ask(catalog)
            self.assertTrue(any(cache.tables.values()))
            self.assertTrue(cache.blobs)
            catalog.forget()
            self.assertIs(catalog.readiness().state, State.LOADING)
        self.assertEqual((list(cache.tables.values()), cache.blobs), ([[]] * len(cache.tables), {}))

    def test_what_it_raises_is_logged_and_each_question_ends(self):
        for name in FUNCTIONS:
            for error in (OSError("the disk is full"), SystemExit(3)):
                cache = failing(name, error)
                with self.subTest(name), self.assertLogs("vellora", "ERROR") as logs, self.opened(cache) as catalog:
                    records, columns = self.ask(catalog)
                    catalog.forget()
                    self.assertTrue(getattr(cache, name).called)
                    self.assertIn(records.end, (End.ANSWERED, End.FAILED))
                    self.assertIs(columns.end, End.ANSWERED)
                self.assertIn("The cache raised.", logs.output[0])

    def test_what_it_gives_in_place_of_a_blob_or_of_rows_is_logged_and_not_taken(self):
        for name, needs_it in (("load", 1), ("rows", 0)):
            for given in (3, "text", [None], [Row(meta={1: 2})], [Row(meta={}, data="text")]):
                cache = DictCache()
                self.fill(cache)
                setattr(cache, name, lambda *_: given)
                with self.subTest(f"{name} gives {given}"), self.assertLogs("vellora", "ERROR"):
                    with self.opened(cache) as catalog:
                        answer = self.ask(catalog, source=Source.CACHE_ONLY)[needs_it]
                        self.assertEqual(dict(answer.found), {})

    def test_rows_that_are_not_all_given_are_not_taken(self):
        def rows(table, query):
            yield from DictCache.rows(cache, table, query)
            raise OSError("the disk is gone")

        cache = DictCache()
        self.fill(cache)
        cache.rows = rows
        with self.assertLogs("vellora", "ERROR"), self.opened(cache) as catalog:
            answer, _ = self.ask(catalog, source=Source.CACHE_ONLY)
        self.assertEqual(dict(answer.found), {})

    def test_it_is_let_go_of_when_the_catalogue_is_closed(self):
        cache = DictCache()
        kept = weakref.ref(cache)
        self.fill(cache)
        self.assertTrue(_contexts.wait_until_held(0, 600))
        del cache
        self.assertIsNone(kept())

    def test_what_is_no_catalogue_leaves_it_to_the_host(self):
        self.assertTrue(_contexts.wait_until_held(0, 600))  # the library may still let go of an earlier test's
        self.assertRaises(Exception, Catalog, "no address", cache=DictCache())
        self.assertEqual(_contexts.held(), 0)


class ConversionTest(unittest.TestCase):
    """What crosses, beside what came: by the functions of a table, as C calls them."""

    def setUp(self):
        self.cache = mock.create_autospec(Cache, instance=True)
        self.table = _cache.table_of_cache(self.cache)
        self.addCleanup(_contexts.release, self.table.context)

    def call(self, function, *arguments):
        return getattr(self.table, function)(self.table.context, *arguments)

    def text(self, encoded):
        return _native.Text.of(encoded)

    def test_any_bytes_are_a_text_and_come_back(self):
        name = b"a\0\xff"
        row = Row(meta={"n\0\udcff": "v\udcfe"}, data_key="k\udcff", data=b"\0\xff")
        self.assertEqual(self.call("save", self.text(name), self.text(b"")), 1)
        self.cache.save.assert_called_once_with("a\0\udcff", b"")
        self.assertEqual(self.call("upsert", self.text(b"t"), _cache._GivenRow(row)), 1)
        self.cache.upsert.assert_called_once_with("t", row)

    def test_what_is_absent_is_none(self):
        self.call("purge", self.text(b"t"), _native.RowQuery())
        self.cache.purge.assert_called_once_with("t", RowQuery(meta={}, wants_data=False))

    def test_positions_are_a_range(self):
        self.call("purge", self.text(b"t"), _native.RowQuery(is_oldest_first=1, lower=2, upper=5, wants_data=1))
        self.cache.purge.assert_called_once_with("t", RowQuery(meta={}, positions=range(2, 5)))

    def test_nothing_is_yes_false_is_no_and_what_raises_too(self):
        text = self.text(b"k")
        for given, told in ((None, 1), (True, 1), (False, 0)):
            self.cache.remove.return_value = given
            self.assertEqual(self.call("remove", text), told)
        self.cache.remove.side_effect = OSError("the disk is full")
        with self.assertLogs("vellora", logging.ERROR):
            self.assertEqual(self.call("remove", text), 0)

    def test_a_table_is_there_only_where_that_is_said(self):
        for given, told in ((None, 0), (True, 1), (False, 0)):
            self.cache.has_table.return_value = given
            self.assertEqual(self.call("has_table", self.text(b"t")), told)
