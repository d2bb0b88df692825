package vellora;

import java.util.Collections;
import java.util.Map;
import java.util.Optional;
import java.util.TreeMap;

/** A row of a table in a {@link Cache}. Its data are not copied; nobody changes them. */
public final class Row {
  private final Map<String, String> meta;
  private final String dataKey;  // null: none
  private final byte[] data;

  /** {@code dataKey} is null in a row that has no key yet; {@code data} may be empty where no data are wanted. */
  public Row(Map<String, String> meta, String dataKey, byte[] data) {
    this.meta = Collections.unmodifiableMap(new TreeMap<>(Arguments.given(meta, "The meta")));
    this.dataKey = dataKey;
    this.data = Arguments.given(data, "The data");
  }

  /** Names and their values. */
  public Map<String, String> getMeta() {
    return meta;
  }

  /** Of a row to write: the row to replace; absent: you give the row its key. */
  public Optional<String> getDataKey() {
    return Optional.ofNullable(dataKey);
  }

  public byte[] getData() {
    return data;
  }
}
