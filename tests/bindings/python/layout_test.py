"""The structs of this package beside those that C has, as they were recorded."""

import ctypes
import os
import pathlib
import re
import unittest

from vellora import _native

ROOT = pathlib.Path(os.environ["VELLORA_ROOT"])
RECORD = "layout-i386.txt" if ctypes.sizeof(ctypes.c_void_p) == 4 else "layout.txt"
STRUCTS = {
    "vellora_text": _native.Text,
    "vellora_error": _native.Error,
    "vellora_request_info": _native.RequestInfo,
    "vellora_response": _native.Response,
    "vellora_network": _native.NetworkTable,
    "vellora_token_source": _native.TokenSourceTable,
    "vellora_logger": _native.LoggerTable,
    "vellora_listener": _native.Listener,
    "vellora_pair": _native.Pair,
    "vellora_row": _native.Row,
    "vellora_row_query": _native.RowQuery,
    "vellora_cache": _native.CacheTable,
    "vellora_options": _native.Options,
    "vellora_ask_options": _native.AskOptions,
}


def layout_of(name, struct):
    yield f"{name}: {ctypes.sizeof(struct)} bytes"
    for member, _ in struct._fields_:
        place = getattr(struct, member)
        yield f"{name}.{member}: {place.size} at {place.offset}"


class LayoutTest(unittest.TestCase):
    def test_each_struct_is_as_c_has_it(self):
        recorded = (ROOT / "bindings/c/abi" / RECORD).read_text().splitlines()
        for name, struct in STRUCTS.items():
            expected = [line for line in recorded if re.match(rf"{name}[.:]", line)]
            self.assertEqual(list(layout_of(name, struct)), expected)

    def test_kinds_have_the_numbers_of_the_header(self):
        header = (ROOT / "bindings/c/vellora.h").read_text()
        for kind, number in _native.KINDS.items():
            constant = "VELLORA_" + re.sub("([A-Z])", r"_\1", kind).upper()
            self.assertRegex(header, rf"\b{constant} = {number}\b")
