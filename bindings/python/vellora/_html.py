"""Answers as tables for a notebook. Every text is somebody else's, so all of it is escaped."""

from __future__ import annotations

import enum
import re
from collections.abc import Mapping
from dataclasses import fields, is_dataclass
from html import escape
from typing import Any

_COLOR = re.compile(r"[0-9A-Fa-f]{6}")


def table(caption: str, found: Mapping[str, Any], missing: Mapping[str, str], trouble: str | None) -> str:
    rows = {key: _cells(content) for key, content in found.items()}
    names = list(dict.fromkeys(name for cells in rows.values() for name, value in cells.items() if value is not None))
    html = ["<table>", f"<caption>{escape(caption)}</caption>", _row("th", ["key", *(name.replace("_", " ") for name in names)])]
    for key, cells in rows.items():
        html.append(_row("td", [escape(key), *(_cell(name, cells.get(name)) for name in names)]))
    for key, why in missing.items():
        html.append(f'<tr><td>{escape(key)}</td><td colspan="{max(1, len(names))}"><em>{escape(why)}</em></td></tr>')
    html.append("</table>")
    if trouble is not None:
        html.append(f"<p><em>{escape(trouble)}</em></p>")
    return "\n".join(html)


def _row(tag: str, cells: list[str]) -> str:
    return "<tr>" + "".join(f"<{tag}>{cell}</{tag}>" for cell in cells) + "</tr>"


def _cells(content: Any) -> dict[str, Any]:
    """A record's members by their names; the look of an object type in place of the record around it."""
    if isinstance(content, enum.Enum):
        return {"change": content.value}
    look = getattr(content, "type_presentation_info", content)
    return {member.name: getattr(look, member.name) for member in fields(look)}


def _cell(name: str, value: Any) -> str:
    if value is None:
        return ""
    if isinstance(value, tuple):
        return ", ".join(_cell("", getattr(each, "label", each)) for each in value)
    if name == "color" and _COLOR.fullmatch(str(value)):
        return f'<span style="background:#{value}">&emsp;</span> <code>{value}</code>'
    if isinstance(value, bool):
        return "yes" if value else "no"
    return escape(repr(value) if is_dataclass(value) else str(value))
