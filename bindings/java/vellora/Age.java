package vellora;

import java.time.Instant;
import java.util.Objects;
import java.util.Optional;

/** How old what was found is. Immutable. */
public final class Age {
  private final Instant fetched;  // null: not known
  private final boolean isStale;

  Age(Instant fetched, Boolean isStale) {
    this.fetched = fetched;
    this.isStale = JsonReader.required(isStale, "stale");
  }

  /** When the server gave it, to the second; absent where the cache does not tell. */
  public Optional<Instant> getFetched() {
    return Optional.ofNullable(fetched);
  }

  /** Whether that is longer ago than the catalogue's time-out. */
  public boolean isStale() {
    return isStale;
  }

  @Override
  public boolean equals(Object other) {
    return other instanceof Age && isStale == ((Age) other).isStale && Objects.equals(fetched, ((Age) other).fetched);
  }

  @Override
  public int hashCode() {
    return Objects.hash(fetched, isStale);
  }

  @Override
  public String toString() {
    return "Age(fetched=" + fetched + ", isStale=" + isStale + ")";
  }
}
