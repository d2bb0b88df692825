package vellora;

import java.time.Duration;

/** What callers hand in, checked. */
final class Arguments {
  private Arguments() {}

  static <T> T given(T value, String what) {
    if (value == null) throw new IllegalArgumentException(what + " is null.");
    return value;
  }

  /** As C takes it: 0 stands for the default, so what has no length is below 0. */
  static double seconds(Duration duration) {
    if (duration == null) return 0;
    boolean isNone = duration.isZero() || duration.isNegative();
    return isNone ? -1 : duration.getSeconds() + duration.getNano() / 1e9;
  }
}
