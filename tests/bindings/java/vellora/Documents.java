package vellora;

import java.util.Iterator;
import java.util.List;
import java.util.Map;
import java.util.Optional;
import java.util.function.BiConsumer;
import java.util.function.Consumer;

/** Writes an answer as the library does, out of what its Java values show: so nothing has got lost on the way. */
final class Documents {
  private final StringBuilder text = new StringBuilder();

  private Documents() {}

  static <T> String of(String question, Answer<T> answer) {
    Documents to = new Documents();
    to.object(() -> {
      to.member("question", question);
      to.member("end", answer.getEnd().word);
      to.list("found", answer.getFound(), (key, record) -> {
        to.content(record);
        to.age(answer.ageOf(key));
      });
      to.list("missing", answer.getMissing(), (key, missing) -> {
        to.member("code", missing.getWhy().word);
        to.member("text", missing.getText());
        to.member("request", missing.getRequest());
      });
      to.trouble(answer.getTrouble());
      to.age(answer.getAge());
    });
    return to.text.toString();
  }

  static String of(Readiness readiness) {
    Documents to = new Documents();
    to.object(() -> {
      to.member("question", "readiness");
      to.member("state", readiness.getState().word);
      to.trouble(readiness.getTrouble());
    });
    return to.text.toString();
  }

  private void content(Object value) {
    if (value instanceof TypeChange) {
      member("change", ((TypeChange) value).word);
      return;
    }
    key("record");
    if (value instanceof ObjectPresentationInfo) object(() -> write((ObjectPresentationInfo) value));
    else if (value instanceof ObjectLayoutInfo) object(() -> write((ObjectLayoutInfo) value));
    else object(() -> write((ObjectCompactLayoutInfo) value));
  }

  private void write(ObjectPresentationInfo info) {
    key("typePresentationInfo");
    object(() -> write(info.getTypePresentationInfo()));
    info.getInstancePresentationInfo().ifPresent(instance -> {
      key("instancePresentationInfo");
      object(() -> write(instance));
    });
  }

  private void write(PresentationInfo info) {
    member("apiName", info.getApiName());
    member("color", info.getColor());
    member("svgIconUrl", info.getSvgIconUrl());
    member("smallIconUrl", info.getSmallIconUrl());
    member("largeIconUrl", info.getLargeIconUrl());
    member("label", info.getLabel());
    member("labelPlural", info.getLabelPlural());
    member("createable", info.isCreateable());
  }

  private void write(ObjectLayoutInfo layout) {
    member("objectType", layout.getObjectType());
    list("searchColumns", layout.getSearchColumns(), column -> {
      member("name", column.getName());
      member("label", column.getLabel());
      member("format", column.getFormat());
      member("field", column.getField());
    });
  }

  private void write(ObjectCompactLayoutInfo layout) {
    member("objectType", layout.getObjectType());
    list("layoutFields", layout.getLayoutFields(), this::write);
  }

  private void write(CompactLayoutField field) {
    member("apiName", field.getApiName());
    member("fieldType", field.getFieldType());
    member("label", field.getLabel());
    member("referenceTo", field.getReferenceTo());
    member("relationshipName", field.getRelationshipName());
    member("htmlFormatted", field.isHtmlFormatted());
    field.getLayoutFields().ifPresent(parts -> list("layoutFields", parts, this::write));
  }

  private void trouble(Optional<Failure> trouble) {
    trouble.ifPresent(failure -> {
      key("trouble");
      object(() -> {
        member("text", failure.getText());
        member("request", failure.getRequest());
      });
    });
  }

  private void age(Age age) {
    member("fetched", age.getFetched().map(Object::toString));
    member("stale", age.isStale());
  }

  private <T> void list(String name, Map<String, T> entries, BiConsumer<String, T> each) {
    list(name, List.copyOf(entries.entrySet()), entry -> {
      member("key", entry.getKey());
      each.accept(entry.getKey(), entry.getValue());
    });
  }

  private <T> void list(String name, List<T> values, Consumer<T> each) {
    key(name);
    text.append('[');
    for (Iterator<T> value = values.iterator(); value.hasNext(); text.append(value.hasNext() ? "," : "")) {
      T one = value.next();
      object(() -> each.accept(one));
    }
    text.append(']');
  }

  private void object(Runnable members) {
    text.append('{');
    members.run();
    text.append('}');
  }

  private void member(String name, Optional<String> value) {
    value.ifPresent(given -> member(name, given));
  }

  private void member(String name, boolean value) {
    key(name);
    text.append(value);
  }

  private void member(String name, String value) {
    key(name);
    text.append('"').append(value.replace("\\", "\\\\").replace("\"", "\\\"")).append('"');
  }

  private void key(String name) {
    if (text.charAt(text.length() - 1) != '{') text.append(',');
    text.append('"').append(name).append("\":");
  }
}
