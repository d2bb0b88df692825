// Made by bindings/generate from the library's field tables, which are what to change.

package vellora;

import java.util.Objects;
import java.util.Optional;

/**
 * The record {@code PresentationInfo} of the library, member by member. It is immutable.
 */
public final class PresentationInfo {
  private final String apiName;
  private final String color;  // null: absent
  private final String svgIconUrl;  // null: absent
  private final String smallIconUrl;  // null: absent
  private final String largeIconUrl;  // null: absent
  private final String label;  // null: absent
  private final String labelPlural;  // null: absent
  private final Boolean createable;

  private PresentationInfo(Values values) {
    apiName = JsonReader.required(values.apiName, "apiName");
    color = values.color;
    svgIconUrl = values.svgIconUrl;
    smallIconUrl = values.smallIconUrl;
    largeIconUrl = values.largeIconUrl;
    label = values.label;
    labelPlural = values.labelPlural;
    createable = JsonReader.required(values.createable, "createable");
  }

  public String getApiName() {
    return apiName;
  }

  public Optional<String> getColor() {
    return Optional.ofNullable(color);
  }

  public Optional<String> getSvgIconUrl() {
    return Optional.ofNullable(svgIconUrl);
  }

  public Optional<String> getSmallIconUrl() {
    return Optional.ofNullable(smallIconUrl);
  }

  public Optional<String> getLargeIconUrl() {
    return Optional.ofNullable(largeIconUrl);
  }

  public Optional<String> getLabel() {
    return Optional.ofNullable(label);
  }

  public Optional<String> getLabelPlural() {
    return Optional.ofNullable(labelPlural);
  }

  public boolean isCreateable() {
    return createable;
  }

  @Override
  public boolean equals(Object other) {
    if (!(other instanceof PresentationInfo)) return false;
    PresentationInfo that = (PresentationInfo) other;
    return Objects.equals(apiName, that.apiName)
        && Objects.equals(color, that.color)
        && Objects.equals(svgIconUrl, that.svgIconUrl)
        && Objects.equals(smallIconUrl, that.smallIconUrl)
        && Objects.equals(largeIconUrl, that.largeIconUrl)
        && Objects.equals(label, that.label)
        && Objects.equals(labelPlural, that.labelPlural)
        && Objects.equals(createable, that.createable);
  }

  @Override
  public int hashCode() {
    return Objects.hash(apiName, color, svgIconUrl, smallIconUrl, largeIconUrl, label, labelPlural, createable);
  }

  @Override
  public String toString() {
    return "PresentationInfo(apiName=" + apiName
        + ", color=" + color
        + ", svgIconUrl=" + svgIconUrl
        + ", smallIconUrl=" + smallIconUrl
        + ", largeIconUrl=" + largeIconUrl
        + ", label=" + label
        + ", labelPlural=" + labelPlural
        + ", createable=" + createable
        + ")";
  }

  /** Reads what the library writes. Throws an IllegalArgumentException for anything else. */
  public static PresentationInfo fromJson(String json) {
    return JsonReader.whole(json, PresentationInfo::read);
  }

  static PresentationInfo read(JsonReader json) {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "apiName":
          values.apiName = json.text();
          return true;
        case "color":
          values.color = json.orNull(JsonReader::text);
          return true;
        case "svgIconUrl":
          values.svgIconUrl = json.orNull(JsonReader::text);
          return true;
        case "smallIconUrl":
          values.smallIconUrl = json.orNull(JsonReader::text);
          return true;
        case "largeIconUrl":
          values.largeIconUrl = json.orNull(JsonReader::text);
          return true;
        case "label":
          values.label = json.orNull(JsonReader::text);
          return true;
        case "labelPlural":
          values.labelPlural = json.orNull(JsonReader::text);
          return true;
        case "createable":
          values.createable = json.bool();
          return true;
        default:
          return false;
      }
    });
    return new PresentationInfo(values);
  }

  private static final class Values {
    String apiName;
    String color;
    String svgIconUrl;
    String smallIconUrl;
    String largeIconUrl;
    String label;
    String labelPlural;
    Boolean createable;
  }
}
