// Made by bindings/generate from the library's field tables, which are what to change.

package vellora;

import java.util.List;
import java.util.Objects;
import java.util.Optional;

/**
 * The record {@code CompactLayoutField} of the library, member by member. It is immutable.
 */
public final class CompactLayoutField {
  private final String apiName;
  private final String fieldType;
  private final String label;
  private final String referenceTo;  // null: absent
  private final String relationshipName;  // null: absent
  private final Boolean htmlFormatted;
  private final List<CompactLayoutField> layoutFields;  // null: absent

  private CompactLayoutField(Values values) {
    apiName = JsonReader.required(values.apiName, "apiName");
    fieldType = JsonReader.required(values.fieldType, "fieldType");
    label = JsonReader.required(values.label, "label");
    referenceTo = values.referenceTo;
    relationshipName = values.relationshipName;
    htmlFormatted = JsonReader.required(values.htmlFormatted, "htmlFormatted");
    layoutFields = values.layoutFields;
  }

  public String getApiName() {
    return apiName;
  }

  public String getFieldType() {
    return fieldType;
  }

  public String getLabel() {
    return label;
  }

  public Optional<String> getReferenceTo() {
    return Optional.ofNullable(referenceTo);
  }

  public Optional<String> getRelationshipName() {
    return Optional.ofNullable(relationshipName);
  }

  public boolean isHtmlFormatted() {
    return htmlFormatted;
  }

  public Optional<List<CompactLayoutField>> getLayoutFields() {
    return Optional.ofNullable(layoutFields);
  }

  @Override
  public boolean equals(Object other) {
    if (!(other instanceof CompactLayoutField)) return false;
    CompactLayoutField that = (CompactLayoutField) other;
    return Objects.equals(apiName, that.apiName)
        && Objects.equals(fieldType, that.fieldType)
        && Objects.equals(label, that.label)
        && Objects.equals(referenceTo, that.referenceTo)
        && Objects.equals(relationshipName, that.relationshipName)
        && Objects.equals(htmlFormatted, that.htmlFormatted)
        && Objects.equals(layoutFields, that.layoutFields);
  }

  @Override
  public int hashCode() {
    return Objects.hash(apiName, fieldType, label, referenceTo, relationshipName, htmlFormatted, layoutFields);
  }

  @Override
  public String toString() {
    return "CompactLayoutField(apiName=" + apiName
        + ", fieldType=" + fieldType
        + ", label=" + label
        + ", referenceTo=" + referenceTo
        + ", relationshipName=" + relationshipName
        + ", htmlFormatted=" + htmlFormatted
        + ", layoutFields=" + layoutFields
        + ")";
  }

  /** Reads what the library writes. Throws an IllegalArgumentException for anything else. */
  public static CompactLayoutField fromJson(String json) {
    return JsonReader.whole(json, CompactLayoutField::read);
  }

  static CompactLayoutField read(JsonReader json) {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "apiName":
          values.apiName = json.text();
          return true;
        case "fieldType":
          values.fieldType = json.text();
          return true;
        case "label":
          values.label = json.text();
          return true;
        case "referenceTo":
          values.referenceTo = json.orNull(JsonReader::text);
          return true;
        case "relationshipName":
          values.relationshipName = json.orNull(JsonReader::text);
          return true;
        case "htmlFormatted":
          values.htmlFormatted = json.bool();
          return true;
        case "layoutFields":
          values.layoutFields = json.orNull(each -> each.list(CompactLayoutField::read));
          return true;
        default:
          return false;
      }
    });
    return new CompactLayoutField(values);
  }

  private static final class Values {
    String apiName;
    String fieldType;
    String label;
    String referenceTo;
    String relationshipName;
    Boolean htmlFormatted;
    List<CompactLayoutField> layoutFields;
  }
}
