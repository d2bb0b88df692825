package vellora;

import java.time.Duration;

/** What a {@link Network} is to ask for. Immutable. */
public final class Request {
  private final String url;
  private final Duration timeout;

  /** For tests of your network. */
  public Request(String url, Duration timeout) {
    this.url = Arguments.given(url, "The URL");
    this.timeout = Arguments.given(timeout, "The time-out");
  }

  /** Relative to your server and percent-encoded, such as "/services/data/v50.0/theme". */
  public String getUrl() {
    return url;
  }

  /** How long the answer may take. */
  public Duration getTimeout() {
    return timeout;
  }
}
