// Made by bindings/generate from the library's field tables, which are what to change.

package vellora;

import java.util.Objects;
import java.util.Optional;

/**
 * The record {@code ObjectLayoutFieldMetadata} of the library, member by member. It is immutable.
 */
public final class ObjectLayoutFieldMetadata {
  private final String name;
  private final String label;
  private final String format;  // null: absent
  private final String field;

  private ObjectLayoutFieldMetadata(Values values) {
    name = JsonReader.required(values.name, "name");
    label = JsonReader.required(values.label, "label");
    format = values.format;
    field = JsonReader.required(values.field, "field");
  }

  public String getName() {
    return name;
  }

  public String getLabel() {
    return label;
  }

  public Optional<String> getFormat() {
    return Optional.ofNullable(format);
  }

  public String getField() {
    return field;
  }

  @Override
  public boolean equals(Object other) {
    if (!(other instanceof ObjectLayoutFieldMetadata)) return false;
    ObjectLayoutFieldMetadata that = (ObjectLayoutFieldMetadata) other;
    return Objects.equals(name, that.name)
        && Objects.equals(label, that.label)
        && Objects.equals(format, that.format)
        && Objects.equals(field, that.field);
  }

  @Override
  public int hashCode() {
    return Objects.hash(name, label, format, field);
  }

  @Override
  public String toString() {
    return "ObjectLayoutFieldMetadata(name=" + name
        + ", label=" + label
        + ", format=" + format
        + ", field=" + field
        + ")";
  }

  /** Reads what the library writes. Throws an IllegalArgumentException for anything else. */
  public static ObjectLayoutFieldMetadata fromJson(String json) {
    return JsonReader.whole(json, ObjectLayoutFieldMetadata::read);
  }

  static ObjectLayoutFieldMetadata read(JsonReader json) {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "name":
          values.name = json.text();
          return true;
        case "label":
          values.label = json.text();
          return true;
        case "format":
          values.format = json.orNull(JsonReader::text);
          return true;
        case "field":
          values.field = json.text();
          return true;
        default:
          return false;
      }
    });
    return new ObjectLayoutFieldMetadata(values);
  }

  private static final class Values {
    String name;
    String label;
    String format;
    String field;
  }
}
