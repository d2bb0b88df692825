package vellora;

/**
 * The native side of a question or a watch, which may end before it is there: an answer may come before the call that
 * asks has returned.
 *
 * <p><b>Threads:</b> safe to use from several threads at once.
 */
final class Handle {
  private long question;  // 0: not there yet, or freed
  private boolean isOver;

  void begin(long question) {
    synchronized (this) {
      if (!isOver) this.question = question;
      if (!isOver) return;
    }
    Native.free(question);
  }

  /** Gives it up, and waits for a call of the listener that runs, unless this is called from inside it. */
  void end() {
    long ended;
    synchronized (this) {
      isOver = true;
      ended = question;
      question = 0;
    }
    if (ended != 0) Native.free(ended);
  }
}
