// Made by bindings/generate from the library's field tables, which are what to change.

package vellora;

import java.util.Objects;
import java.util.Optional;

/**
 * The record {@code ObjectPresentationInfo} of the library, member by member. It is immutable.
 */
public final class ObjectPresentationInfo {
  private final PresentationInfo typePresentationInfo;
  private final PresentationInfo instancePresentationInfo;  // null: absent

  private ObjectPresentationInfo(Values values) {
    typePresentationInfo = JsonReader.required(values.typePresentationInfo, "typePresentationInfo");
    instancePresentationInfo = values.instancePresentationInfo;
  }

  public PresentationInfo getTypePresentationInfo() {
    return typePresentationInfo;
  }

  public Optional<PresentationInfo> getInstancePresentationInfo() {
    return Optional.ofNullable(instancePresentationInfo);
  }

  @Override
  public boolean equals(Object other) {
    if (!(other instanceof ObjectPresentationInfo)) return false;
    ObjectPresentationInfo that = (ObjectPresentationInfo) other;
    return Objects.equals(typePresentationInfo, that.typePresentationInfo)
        && Objects.equals(instancePresentationInfo, that.instancePresentationInfo);
  }

  @Override
  public int hashCode() {
    return Objects.hash(typePresentationInfo, instancePresentationInfo);
  }

  @Override
  public String toString() {
    return "ObjectPresentationInfo(typePresentationInfo=" + typePresentationInfo
        + ", instancePresentationInfo=" + instancePresentationInfo
        + ")";
  }

  /** Reads what the library writes. Throws an IllegalArgumentException for anything else. */
  public static ObjectPresentationInfo fromJson(String json) {
    return JsonReader.whole(json, ObjectPresentationInfo::read);
  }

  static ObjectPresentationInfo read(JsonReader json) {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "typePresentationInfo":
          values.typePresentationInfo = PresentationInfo.read(json);
          return true;
        case "instancePresentationInfo":
          values.instancePresentationInfo = json.orNull(PresentationInfo::read);
          return true;
        default:
          return false;
      }
    });
    return new ObjectPresentationInfo(values);
  }

  private static final class Values {
    PresentationInfo typePresentationInfo;
    PresentationInfo instancePresentationInfo;
  }
}
