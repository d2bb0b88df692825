// Made by bindings/generate from the library's field tables, which are what to change.

package vellora;

import java.util.List;
import java.util.Objects;

/**
 * The record {@code ObjectCompactLayoutInfo} of the library, member by member. It is immutable.
 */
public final class ObjectCompactLayoutInfo {
  private final List<CompactLayoutField> layoutFields;
  private final String objectType;

  private ObjectCompactLayoutInfo(Values values) {
    layoutFields = JsonReader.required(values.layoutFields, "layoutFields");
    objectType = JsonReader.required(values.objectType, "objectType");
  }

  public List<CompactLayoutField> getLayoutFields() {
    return layoutFields;
  }

  public String getObjectType() {
    return objectType;
  }

  @Override
  public boolean equals(Object other) {
    if (!(other instanceof ObjectCompactLayoutInfo)) return false;
    ObjectCompactLayoutInfo that = (ObjectCompactLayoutInfo) other;
    return Objects.equals(layoutFields, that.layoutFields)
        && Objects.equals(objectType, that.objectType);
  }

  @Override
  public int hashCode() {
    return Objects.hash(layoutFields, objectType);
  }

  @Override
  public String toString() {
    return "ObjectCompactLayoutInfo(layoutFields=" + layoutFields
        + ", objectType=" + objectType
        + ")";
  }

  /** Reads what the library writes. Throws an IllegalArgumentException for anything else. */
  public static ObjectCompactLayoutInfo fromJson(String json) {
    return JsonReader.whole(json, ObjectCompactLayoutInfo::read);
  }

  static ObjectCompactLayoutInfo read(JsonReader json) {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "layoutFields":
          values.layoutFields = json.list(CompactLayoutField::read);
          return true;
        case "objectType":
          values.objectType = json.text();
          return true;
        default:
          return false;
      }
    });
    return new ObjectCompactLayoutInfo(values);
  }

  private static final class Values {
    List<CompactLayoutField> layoutFields;
    String objectType;
  }
}
