package vellora;

import java.time.Duration;

/**
 * How one question is to be answered.
 *
 * <p><b>Threads:</b> not synchronised. It is read when the question is asked, and may be changed afterwards.
 */
public final class QuestionOptions {
  Duration deadline;
  Source source = Source.CACHE_FIRST;
  String theme;

  /** When it ends at the latest: after ten seconds unless told, zero for at once. */
  public QuestionOptions deadline(Duration deadline) {
    this.deadline = deadline;
    return this;
  }

  /** Where the answer may come from. */
  public QuestionOptions source(Source source) {
    this.source = Arguments.given(source, "The source");
    return this;
  }

  /** Whose colours and icons are wanted: the catalogue's theme unless told. */
  public QuestionOptions theme(String theme) {
    this.theme = theme;
    return this;
  }
}
