package vellora;

import java.util.Optional;

/** What went wrong, in words for a person, and the request that it came from. Immutable. */
public final class Failure {
  private final String text;
  private final String request;  // null: none

  Failure(String text, String request) {
    this.text = JsonReader.required(text, "text");
    this.request = request;
  }

  public String getText() {
    return text;
  }

  /** The request, relative to the server's address; absent where it was none. */
  public Optional<String> getRequest() {
    return Optional.ofNullable(request);
  }

  @Override
  public String toString() {
    return text;
  }

  static Failure read(JsonReader json) {
    String[] values = new String[2];
    json.object(key -> {
      switch (key) {
        case "text":
          values[0] = json.text();
          return true;
        case "request":
          values[1] = json.text();
          return true;
        default:
          return false;
      }
    });
    return new Failure(values[0], values[1]);
  }
}
