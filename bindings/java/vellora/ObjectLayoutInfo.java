// Made by bindings/generate from the library's field tables, which are what to change.

package vellora;

import java.util.List;
import java.util.Objects;

/**
 * The record {@code ObjectLayoutInfo} of the library, member by member. It is immutable.
 */
public final class ObjectLayoutInfo {
  private final String objectType;
  private final List<ObjectLayoutFieldMetadata> searchColumns;

  private ObjectLayoutInfo(Values values) {
    objectType = JsonReader.required(values.objectType, "objectType");
    searchColumns = JsonReader.required(values.searchColumns, "searchColumns");
  }

  public String getObjectType() {
    return objectType;
  }

  public List<ObjectLayoutFieldMetadata> getSearchColumns() {
    return searchColumns;
  }

  @Override
  public boolean equals(Object other) {
    if (!(other instanceof ObjectLayoutInfo)) return false;
    ObjectLayoutInfo that = (ObjectLayoutInfo) other;
    return Objects.equals(objectType, that.objectType)
        && Objects.equals(searchColumns, that.searchColumns);
  }

  @Override
  public int hashCode() {
    return Objects.hash(objectType, searchColumns);
  }

  @Override
  public String toString() {
    return "ObjectLayoutInfo(objectType=" + objectType
        + ", searchColumns=" + searchColumns
        + ")";
  }

  /** Reads what the library writes. Throws an IllegalArgumentException for anything else. */
  public static ObjectLayoutInfo fromJson(String json) {
    return JsonReader.whole(json, ObjectLayoutInfo::read);
  }

  static ObjectLayoutInfo read(JsonReader json) {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "objectType":
          values.objectType = json.text();
          return true;
        case "searchColumns":
          values.searchColumns = json.list(ObjectLayoutFieldMetadata::read);
          return true;
        default:
          return false;
      }
    });
    return new ObjectLayoutInfo(values);
  }

  private static final class Values {
    String objectType;
    List<ObjectLayoutFieldMetadata> searchColumns;
  }
}
