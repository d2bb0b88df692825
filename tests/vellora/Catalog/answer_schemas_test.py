#!/usr/bin/env python3
"""Fails when a document of an answer and its schema are not in step. usage: answer_schemas_test.py ROOT

The documents are those that AnswerDocumentTest.cpp expects to the letter.
"""

import copy
import json
import pathlib
import re
import sys
import unittest
import warnings

import jsonschema

ROOT = pathlib.Path(sys.argv[1])
TEST = ROOT / "tests/vellora/Catalog/AnswerDocumentTest.cpp"
KINDS = {"records", "types", "allTypes", "searchColumns", "headlines", "refresh", "readiness"}
SCHEMAS = {name: json.loads((ROOT / f"docs/schemas/{name}.json").read_text()) for name in sorted(KINDS | {"common"})}


def quoted_documents():
    """What stands in raw strings that follow each other makes one document."""
    pieces = r'(?:R"json\((?:.*?)\)json"\s*)+'
    for group in re.findall(pieces, TEST.read_text(), re.DOTALL):
        yield json.loads("".join(re.findall(r'R"json\((.*?)\)json"', group, re.DOTALL)))


DOCUMENTS = list(quoted_documents())


def validator(kind):
    schema = SCHEMAS[kind]
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", DeprecationWarning)  # of versions later than Debian's
        resolver = jsonschema.RefResolver(f"{kind}.json", schema, {f"{name}.json": SCHEMAS[name] for name in SCHEMAS})
    return jsonschema.Draft202012Validator(schema, resolver=resolver)


def is_valid(document):
    return validator(document["question"]).is_valid(document)


def objects_in(value, path=()):
    if isinstance(value, dict):
        yield path
        for key, member in value.items():
            yield from objects_in(member, (*path, key))
    if isinstance(value, list):
        for index, element in enumerate(value):
            yield from objects_in(element, (*path, index))


def at(value, path):
    for step in path:
        value = value[step]
    return value


def members_of(schema):
    """Each member that a schema describes, and each value that it lists, as texts."""
    if isinstance(schema, dict):
        yield from (f"member {name}" for name in schema.get("properties", {}))
        yield from (f"value {value}" for value in schema.get("enum", []))
        for part in schema.values():
            yield from members_of(part)
    if isinstance(schema, list):
        for part in schema:
            yield from members_of(part)


def members_in(value):
    if isinstance(value, dict):
        for key, member in value.items():
            yield f"member {key}"
            yield from members_in(member)
    elif isinstance(value, list):
        for element in value:
            yield from members_in(element)
    else:
        yield f"value {value}"


class AnswerSchemasTest(unittest.TestCase):
    def test_each_kind_of_document_has_an_example(self):
        self.assertEqual({document["question"] for document in DOCUMENTS}, KINDS)

    def test_each_schema_is_one(self):
        for schema in SCHEMAS.values():
            jsonschema.Draft202012Validator.check_schema(schema)

    def test_each_document_is_as_its_schema_says(self):
        for document in DOCUMENTS:
            validator(document["question"]).validate(document)

    def test_all_that_the_schemas_describe_stands_in_a_document(self):
        described = {member for schema in SCHEMAS.values() for member in members_of(schema)}
        shown = {member for document in DOCUMENTS for member in members_in(document)}
        self.assertEqual(described - shown, set())

    def test_a_member_too_many_is_refused_wherever_it_stands(self):
        for document in DOCUMENTS:
            for path in objects_in(document):
                changed = copy.deepcopy(document)
                at(changed, path)["unheardOf"] = 1
                self.assertFalse(is_valid(changed), (document["question"], path))

    def test_members_that_every_document_has_must_not_lack(self):
        for document in DOCUMENTS:
            for name in {"end", "found", "missing", "stale", "state"} & document.keys():
                changed = {key: value for key, value in document.items() if key != name}
                self.assertFalse(is_valid(changed), (document["question"], name))

    def test_another_kind_of_value_is_refused(self):
        for document in DOCUMENTS:
            for name in document.keys() - {"question"}:
                self.assertFalse(is_valid({**document, name: 17}), (document["question"], name))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
