package vellora;

import java.util.Optional;

/** Why a key of a question has no answer. Immutable. */
public final class Missing {
  /** The reason in a word. */
  public enum Why {
    /** The server doesn't know it. */
    UNKNOWN("unknown"),
    /** It could not be asked: the text says which request failed, and why. */
    FAILED("failed"),
    /** The key is none, such as an empty one. It was refused before anybody was asked. */
    NOT_ASKED("notAsked"),
    /** Only the cache was to be asked, and does not have it. */
    NOT_CACHED("notCached"),
    /** The deadline came before this key was answered. */
    TIMED_OUT("timedOut"),
    /** The question was given up before this key was answered. */
    CANCELLED("cancelled");

    final String word;

    Why(String word) {
      this.word = word;
    }
  }

  private final Why why;
  private final String text;
  private final String request;  // null: none

  Missing(String code, String text, String request) {
    this.why = Words.find(Why.values(), each -> each.word, JsonReader.required(code, "code"));
    this.text = JsonReader.required(text, "text");
    this.request = request;
  }

  public Why getWhy() {
    return why;
  }

  /** The reason in words for a person. */
  public String getText() {
    return text;
  }

  /** The request that failed, relative to the server's address; absent where it was none. */
  public Optional<String> getRequest() {
    return Optional.ofNullable(request);
  }

  @Override
  public String toString() {
    return text;
  }
}
