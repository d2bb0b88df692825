package vellora;

/** What a refresh has found out about an object type. */
public enum TypeChange {
  /** The server knows it now. */
  ADDED("added"),
  /** The server doesn't know it any more. */
  REMOVED("removed"),
  /** Its labels, its colours or icons, or whether records of it can be created. */
  CHANGED("changed");

  final String word;

  TypeChange(String word) {
    this.word = word;
  }

  static TypeChange read(JsonReader json) {
    return Words.find(values(), each -> each.word, json.text());
  }
}
