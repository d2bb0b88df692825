package vellora;

import java.util.Collections;
import java.util.Map;
import java.util.Optional;

/**
 * What a question has come to: each key that was asked for is found or missing, never both. Immutable.
 *
 * @param <T> what is found of a key
 */
public final class Answer<T> {
  private final End end;
  private final Map<String, T> found;
  private final Map<String, Missing> missing;
  private final Failure trouble;  // null: none
  private final Age age;
  private final Map<String, Age> ages;

  Answer(End end, Map<String, T> found, Map<String, Missing> missing, Failure trouble, Age age, Map<String, Age> ages) {
    this.end = JsonReader.required(end, "end");
    this.found = Collections.unmodifiableMap(found);
    this.missing = Collections.unmodifiableMap(missing);
    this.trouble = trouble;
    this.age = age;
    this.ages = ages;
  }

  /** How the question has ended. */
  public End getEnd() {
    return end;
  }

  /** What was found, in the order asked; where nothing was named, in the order of the keys. */
  public Map<String, T> getFound() {
    return found;
  }

  /**
   * The keys that have no answer, in the order asked. All keys with half of a surrogate pair, which UTF-8 cannot say, stand
   * here as one: U+FFFD in place of each such half.
   */
  public Map<String, Missing> getMissing() {
    return missing;
  }

  /** What kept the answer from being fuller or fresher; absent when nothing did. */
  public Optional<Failure> getTrouble() {
    return Optional.ofNullable(trouble);
  }

  /** The age of the answer as a whole. */
  public Age getAge() {
    return age;
  }

  /** How old what was found of {@code key} is; the age of the answer as a whole for any other key. */
  public Age ageOf(String key) {
    return ages.getOrDefault(key, age);
  }

  @Override
  public String toString() {
    return "Answer(end=" + end + ", found=" + found + ", missing=" + missing + ", trouble=" + trouble + ")";
  }
}
