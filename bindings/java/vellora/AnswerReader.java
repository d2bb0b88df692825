package vellora;

import java.time.Instant;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.function.Function;

/** Reads the document of one answer; docs/schemas describes it. */
final class AnswerReader<T> {
  private final JsonReader json;
  private final Function<JsonReader, T> content;
  private final Map<String, T> found = new LinkedHashMap<>();
  private final Map<String, Missing> missing = new LinkedHashMap<>();
  private final Map<String, Age> ages = new LinkedHashMap<>();
  private String lastText;  // most of what was found came at one moment
  private Instant lastMoment;

  private AnswerReader(JsonReader json, Function<JsonReader, T> content) {
    this.json = json;
    this.content = content;
  }

  /** What reads an answer of which {@code content} reads what was found of a key. */
  static <T> Function<JsonReader, Answer<T>> of(Function<JsonReader, T> content) {
    return json -> new AnswerReader<>(json, content).answer();
  }

  private Answer<T> answer() {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "end":
          values.end = End.of(json.text());
          return true;
        case "found":
          json.list(each -> foundEntry());
          return true;
        case "missing":
          json.list(each -> missingEntry());
          return true;
        case "trouble":
          values.trouble = Failure.read(json);
          return true;
        default:
          return values.readAge(key);
      }
    });
    return new Answer<>(values.end, found, missing, values.trouble, values.age(), ages);
  }

  private String foundEntry() {
    Values values = new Values();
    json.object(key -> {
      switch (key) {
        case "key":
          values.key = json.text();
          return true;
        case "record":
        case "change":
          values.content = content.apply(json);
          return true;
        default:
          return values.readAge(key);
      }
    });
    found.put(JsonReader.required(values.key, "key"), JsonReader.required(values.content, "record"));
    ages.put(values.key, values.age());
    return values.key;
  }

  private String missingEntry() {
    Map<String, String> texts = new LinkedHashMap<>();
    json.object(key -> {
      texts.put(key, json.text());
      return true;
    });
    String key = JsonReader.required(texts.get("key"), "key");
    missing.put(key, new Missing(texts.get("code"), texts.get("text"), texts.get("request")));
    return key;
  }

  private final class Values {
    End end;
    Failure trouble;
    String key;
    T content;
    Instant fetched;
    Boolean isStale;

    boolean readAge(String key) {
      if (key.equals("fetched")) fetched = moment(json.text());
      else if (key.equals("stale")) isStale = json.bool();
      else return false;
      return true;
    }

    Age age() {
      return new Age(fetched, isStale);
    }
  }

  private Instant moment(String text) {
    if (!text.equals(lastText)) {
      lastMoment = Instant.parse(text);
      lastText = text;
    }
    return lastMoment;
  }
}
