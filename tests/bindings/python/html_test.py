"""What a notebook shows."""

import json
import unittest
from xml.etree import ElementTree

from scripted_network import ScriptedNetwork
from vellora import Answer, Catalog, ObjectLayoutInfo, ObjectPresentationInfo, TypeChange

HOSTILE = "<script>alert('\"&')</script>"


def answer_of(look, missing=(), trouble=None):
    document = {"question": "types", "end": "answered", "found": [{"key": HOSTILE, "record": {"typePresentationInfo": look}}],
                "missing": list(missing)} | ({"trouble": trouble} if trouble else {})
    return Answer.from_document(json.dumps(document), lambda entry: ObjectPresentationInfo.from_json(entry["record"]))


def cells(html):
    """The texts of the table's cells, which must be well formed."""
    page = ElementTree.fromstring(f"<div>{html.replace('&emsp;', ' ')}</div>")
    return [["".join(cell.itertext()) for cell in row] for row in page.iter("tr")]


class HtmlTest(unittest.TestCase):
    def test_an_answer_is_a_table_with_its_colours(self):
        with Catalog(network=ScriptedNetwork.of_accounts(), load_late=True) as catalog:
            html = catalog.types(["Account", "Nobody"]).result()._repr_html_()
        self.assertEqual(cells(html), [
            ["key", "api name", "color", "label", "label plural", "createable"],
            ["Account", "Account", "  FF0000", "Account", "Accounts", "yes"],
            ["Nobody", "unknown to the server"]])
        self.assertIn('<span style="background:#FF0000">', html)

    def test_hostile_texts_are_shown_as_texts(self):
        look = {"apiName": HOSTILE, "label": HOSTILE, "labelPlural": HOSTILE, "svgIconUrl": "javascript:" + HOSTILE,
                "color": "red;background:url(//evil.example)", "createable": False}
        missing = [{"key": HOSTILE + "2", "code": "unknown", "text": HOSTILE}]
        html = answer_of(look, missing, {"text": HOSTILE})._repr_html_()
        for tag in ("<script", "style=", "<img", "<a ", "href"):
            self.assertNotIn(tag, html)
        self.assertEqual(cells(html)[1], [HOSTILE, HOSTILE, look["color"], look["svgIconUrl"], HOSTILE, HOSTILE, "no"])
        self.assertEqual(cells(html)[2], [HOSTILE + "2", HOSTILE])

    def test_a_colour_is_six_digits_and_nothing_else(self):
        for color in ("FF000", "FF00000", "FF0000\n", '"><script>', "GGGGGG", "١٢٣٤٥٦"):
            html = answer_of({"apiName": "A", "color": color, "createable": True})._repr_html_()
            self.assertNotIn("style=", html, color)
            self.assertNotIn("<script", html, color)

    def test_columns_and_changes_are_shown_by_their_names(self):
        column = {"name": "Name", "label": HOSTILE, "field": "Name"}
        document = json.dumps({"question": "searchColumns", "end": "answered", "missing": [], "found": [
            {"key": "A", "record": {"objectType": "A", "searchColumns": [column, column | {"label": "Phone"}]}}]})
        answer = Answer.from_document(document, lambda entry: ObjectLayoutInfo.from_json(entry["record"]))
        self.assertEqual(cells(answer._repr_html_())[1], ["A", "A", f"{HOSTILE}, Phone"])
        document = json.dumps({"question": "refresh", "end": "answered", "missing": [], "found": [{"key": "A", "change": "added"}]})
        answer = Answer.from_document(document, lambda entry: TypeChange(entry["change"]))
        self.assertEqual(cells(answer._repr_html_()), [["key", "change"], ["A", "added"]])
