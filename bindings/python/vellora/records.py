# Made by bindings/generate from the library's field tables, which are what to change.
"""The records of the library, member by member. They are immutable."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any


@dataclass(frozen=True, slots=True, kw_only=True)
class PresentationInfo:
    """The record `PresentationInfo` of the library."""

    api_name: str
    color: str | None = None
    svg_icon_url: str | None = None
    small_icon_url: str | None = None
    large_icon_url: str | None = None
    label: str | None = None
    label_plural: str | None = None
    createable: bool

    @classmethod
    def from_json(cls, json: dict[str, Any]) -> PresentationInfo:
        """Makes one of what the library writes, once that is decoded."""
        return cls(
            api_name=json["apiName"],
            color=json.get("color"),
            svg_icon_url=json.get("svgIconUrl"),
            small_icon_url=json.get("smallIconUrl"),
            large_icon_url=json.get("largeIconUrl"),
            label=json.get("label"),
            label_plural=json.get("labelPlural"),
            createable=json["createable"],
        )


@dataclass(frozen=True, slots=True, kw_only=True)
class ObjectPresentationInfo:
    """The record `ObjectPresentationInfo` of the library."""

    type_presentation_info: PresentationInfo
    instance_presentation_info: PresentationInfo | None = None

    @classmethod
    def from_json(cls, json: dict[str, Any]) -> ObjectPresentationInfo:
        """Makes one of what the library writes, once that is decoded."""
        return cls(
            type_presentation_info=PresentationInfo.from_json(json["typePresentationInfo"]),
            instance_presentation_info=None if json.get("instancePresentationInfo") is None else PresentationInfo.from_json(json["instancePresentationInfo"]),
        )


@dataclass(frozen=True, slots=True, kw_only=True)
class ObjectLayoutFieldMetadata:
    """The record `ObjectLayoutFieldMetadata` of the library."""

    name: str
    label: str
    format: str | None = None
    field: str

    @classmethod
    def from_json(cls, json: dict[str, Any]) -> ObjectLayoutFieldMetadata:
        """Makes one of what the library writes, once that is decoded."""
        return cls(
            name=json["name"],
            label=json["label"],
            format=json.get("format"),
            field=json["field"],
        )


@dataclass(frozen=True, slots=True, kw_only=True)
class ObjectLayoutInfo:
    """The record `ObjectLayoutInfo` of the library."""

    object_type: str
    search_columns: tuple[ObjectLayoutFieldMetadata, ...]

    @classmethod
    def from_json(cls, json: dict[str, Any]) -> ObjectLayoutInfo:
        """Makes one of what the library writes, once that is decoded."""
        return cls(
            object_type=json["objectType"],
            search_columns=tuple(ObjectLayoutFieldMetadata.from_json(each) for each in json["searchColumns"]),
        )


@dataclass(frozen=True, slots=True, kw_only=True)
class CompactLayoutField:
    """The record `CompactLayoutField` of the library."""

    api_name: str
    field_type: str
    label: str
    reference_to: str | None = None
    relationship_name: str | None = None
    html_formatted: bool
    layout_fields: tuple[CompactLayoutField, ...] | None = None

    @classmethod
    def from_json(cls, json: dict[str, Any]) -> CompactLayoutField:
        """Makes one of what the library writes, once that is decoded."""
        return cls(
            api_name=json["apiName"],
            field_type=json["fieldType"],
            label=json["label"],
            reference_to=json.get("referenceTo"),
            relationship_name=json.get("relationshipName"),
            html_formatted=json["htmlFormatted"],
            layout_fields=None if json.get("layoutFields") is None else tuple(CompactLayoutField.from_json(each) for each in json["layoutFields"]),
        )


@dataclass(frozen=True, slots=True, kw_only=True)
class ObjectCompactLayoutInfo:
    """The record `ObjectCompactLayoutInfo` of the library."""

    layout_fields: tuple[CompactLayoutField, ...]
    object_type: str

    @classmethod
    def from_json(cls, json: dict[str, Any]) -> ObjectCompactLayoutInfo:
        """Makes one of what the library writes, once that is decoded."""
        return cls(
            layout_fields=tuple(CompactLayoutField.from_json(each) for each in json["layoutFields"]),
            object_type=json["objectType"],
        )
