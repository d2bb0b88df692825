package vellora;

import java.util.concurrent.Callable;

/** Calls of the native library's: which thread is inside one. */
final class Calls {
  private static final ThreadLocal<Calls> MINE = ThreadLocal.withInitial(Calls::new);

  private int all;
  private int ofHosts;

  private Calls() {}

  /** Calls who waits for an answer. */
  static void answer(Runnable function) {
    Calls mine = MINE.get();
    ++mine.all;
    try {
      function.run();
    } finally {
      mine.leave();
    }
  }

  /** What a host's function gives; {@code otherwise} where it throws, which C could not be told. */
  static <T> T host(T otherwise, Callable<T> function) {
    Calls mine = MINE.get();
    ++mine.all;
    ++mine.ofHosts;
    try {
      return function.call();
    } catch (Throwable thrown) {
      return otherwise;
    } finally {
      --mine.ofHosts;
      mine.leave();
    }
  }

  static boolean areOnThisThread() {
    return MINE.get().all > 0;
  }

  static boolean ofHostsAreOnThisThread() {
    return MINE.get().ofHosts > 0;
  }

  private void leave() {
    if (--all == 0) MINE.remove();
  }
}
