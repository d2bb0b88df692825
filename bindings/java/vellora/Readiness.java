package vellora;

import java.util.Optional;

/** Whether a catalogue has both lists, of object types and of themes. Immutable. */
public final class Readiness {
  /** The state in a word. */
  public enum State {
    /** No load has ended yet, or all was forgotten since. */
    LOADING("loading"),
    /** The last load found or fetched both. */
    READY("ready"),
    /** The last load could not fetch one of them; an older one may be there nevertheless. */
    FAILED("failed");

    final String word;

    State(String word) {
      this.word = word;
    }
  }

  private State state;
  private Failure trouble;  // null: none

  private Readiness() {}

  public State getState() {
    return state;
  }

  /** Why the last load failed; absent when it didn't. */
  public Optional<Failure> getTrouble() {
    return Optional.ofNullable(trouble);
  }

  @Override
  public String toString() {
    return trouble == null ? state.word : state.word + ": " + trouble;
  }

  static Readiness read(JsonReader json) {
    Readiness readiness = new Readiness();
    json.object(key -> {
      switch (key) {
        case "state":
          readiness.state = Words.find(State.values(), each -> each.word, json.text());
          return true;
        case "trouble":
          readiness.trouble = Failure.read(json);
          return true;
        default:
          return false;
      }
    });
    JsonReader.required(readiness.state, "state");
    return readiness;
  }
}
