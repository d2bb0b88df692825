package vellora;

import java.util.function.LongFunction;

/**
 * A native catalogue, which is not closed while it is used.
 *
 * <p><b>Threads:</b> safe to use from several threads at once.
 */
final class Lifetime {
  private long catalog;  // 0: closed
  private long left;  // closed by a callback while it was used: for the last user to free; 0: none
  private int users;

  Lifetime(long catalog) {
    this.catalog = catalog;
  }

  <T> T use(LongFunction<T> call) {
    long used = begin();
    try {
      return call.apply(used);
    } finally {
      long ended = end();
      if (ended != 0) closeAsUser(ended);
    }
  }

  /** A second time does nothing. */
  void close() {
    if (Calls.ofHostsAreOnThisThread()) throw new IllegalStateException("A host's function must not close a catalogue.");
    long closed = taken();
    if (closed != 0) Native.close(closed);
  }

  private synchronized long begin() {
    if (catalog == 0) throw new IllegalStateException("The catalogue is closed.");
    ++users;
    return catalog;
  }

  /** What its caller is to free before it counts as none of the users; 0 for nothing. */
  private synchronized long end() {
    boolean isLast = users == 1 && left != 0;
    if (!isLast) {
      --users;
      notifyAll();
      return 0;
    }
    long ended = left;
    left = 0;
    return ended;
  }

  private void closeAsUser(long ended) {
    Native.close(ended);
    end();
  }

  /** What its caller is to free; 0 for nothing. */
  private synchronized long taken() {
    long closed = catalog;
    catalog = 0;
    if (users > 0 && Calls.areOnThisThread()) {  // a user may wait for this very call
      left += closed;  // one of them is 0
      return 0;
    }
    awaitUsers();
    return closed;
  }

  private void awaitUsers() {
    boolean isInterrupted = false;
    while (users > 0) {
      try {
        wait();
      } catch (InterruptedException interrupted) {
        isInterrupted = true;
      }
    }
    if (isInterrupted) Thread.currentThread().interrupt();
  }
}
