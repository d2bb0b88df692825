package vellora;

import java.time.Duration;

/** Why a {@link Network} has no answer, and whether the same request may succeed later. */
public final class NetworkException extends RuntimeException {
  private static final long serialVersionUID = 1;

  private final boolean mayRetry;
  private final Duration retryAfter;

  /** One that will fail again. */
  public NetworkException(String message) {
    this(message, false, Duration.ZERO);
  }

  /** One that may pass; {@code retryAfter} is how long the server wants to be left alone. */
  public NetworkException(String message, Duration retryAfter) {
    this(message, true, Arguments.given(retryAfter, "The time until the next attempt"));
  }

  private NetworkException(String message, boolean mayRetry, Duration retryAfter) {
    super(message);
    this.mayRetry = mayRetry;
    this.retryAfter = retryAfter;
  }

  public boolean mayRetry() {
    return mayRetry;
  }

  public Duration getRetryAfter() {
    return retryAfter;
  }
}
