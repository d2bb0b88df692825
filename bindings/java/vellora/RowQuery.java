package vellora;

import java.util.Collections;
import java.util.Map;
import java.util.Optional;
import java.util.TreeMap;

/** Which rows of a table in a {@link Cache} are meant. Immutable. */
public final class RowQuery {
  private final Map<String, String> meta;
  private final String dataKey;  // null: any
  private final boolean isOldestFirst;
  private final long lower;
  private final long upper;
  private final boolean wantsData;

  /** For tests of your cache. {@code dataKey} may be null. */
  public RowQuery(Map<String, String> meta, String dataKey, boolean isOldestFirst, long lower, long upper, boolean wantsData) {
    this.meta = Collections.unmodifiableMap(new TreeMap<>(Arguments.given(meta, "The meta")));
    this.dataKey = dataKey;
    this.isOldestFirst = isOldestFirst;
    this.lower = lower;
    this.upper = upper;
    this.wantsData = wantsData;
  }

  /** All of these the row's meta holds; none: every row. */
  public Map<String, String> getMeta() {
    return meta;
  }

  /** The row with that key; absent: with any. */
  public Optional<String> getDataKey() {
    return Optional.ofNullable(dataKey);
  }

  /** When false, of rows of equal meta the newest comes first, in any order else, and positions do not count. */
  public boolean isOldestFirst() {
    return isOldestFirst;
  }

  /** Where {@link #isOldestFirst}: of the rows in the order in which they were last written, those from this position. */
  public long getLower() {
    return lower;
  }

  /** The same: up to, not including, this position, counted from 0. */
  public long getUpper() {
    return upper;
  }

  /** When false, rows may come without their data. */
  public boolean wantsData() {
    return wantsData;
  }
}
