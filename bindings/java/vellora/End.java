package vellora;

/** How a question has ended. */
public enum End {
  /** Each key was found, or is missing for a reason of its own. */
  ANSWERED("answered"),
  /** Nothing was found and something could not be asked, or the question came to grief as a whole. */
  FAILED("failed"),
  /** The deadline came first. */
  TIMED_OUT("timedOut"),
  /** It was given up, such as by {@link Catalog#forget}. */
  CANCELLED("cancelled");

  final String word;

  End(String word) {
    this.word = word;
  }

  static End of(String word) {
    return Words.find(values(), each -> each.word, word);
  }
}
