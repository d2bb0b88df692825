package vellora;

import java.time.Duration;
import java.util.ArrayList;
import java.util.Collection;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;

/** What the native library calls of a host's {@link Cache}. Nothing is thrown to it. */
final class CacheCalls {
  private CacheCalls() {}

  static byte[] load(Cache cache, byte[] key) {
    return Calls.host(null, () -> cache.load(Texts.of(key)));
  }

  static boolean save(Cache cache, byte[] key, byte[] blob) {
    return Calls.host(false, () -> cache.save(Texts.of(key), blob));
  }

  static boolean remove(Cache cache, byte[] key) {
    return Calls.host(false, () -> cache.remove(Texts.of(key)));
  }

  static boolean hasTable(Cache cache, byte[] table) {
    return Calls.host(false, () -> cache.hasTable(Texts.of(table)));
  }

  static boolean createTable(Cache cache, byte[] table, double longestSeconds) {
    Duration longest = Duration.ofSeconds((long) longestSeconds);
    return Calls.host(false, () -> cache.createTable(Texts.of(table), longest));
  }

  /** Hands each row to {@code sink}, none where one of them cannot be said in C. */
  static void rows(Cache cache, byte[] table, byte[][] meta, byte[] dataKey, boolean isOldestFirst, long lower, long upper,
      boolean wantsData, long sink) {
    RowQuery query = new RowQuery(metaOf(meta), Texts.of(dataKey), isOldestFirst, lower, upper, wantsData);
    for (Encoded row : Calls.host(List.<Encoded>of(), () -> encoded(cache.rows(Texts.of(table), query))))
      Native.giveRow(sink, row.meta, row.dataKey, row.data);
  }

  static boolean purge(Cache cache, byte[] table, byte[][] meta, byte[] dataKey) {
    RowQuery query = new RowQuery(metaOf(meta), Texts.of(dataKey), false, 0, 0, false);
    return Calls.host(false, () -> cache.purge(Texts.of(table), query));
  }

  static boolean upsert(Cache cache, byte[] table, byte[][] meta, byte[] dataKey, byte[] data) {
    Row row = new Row(metaOf(meta), Texts.of(dataKey), data);
    return Calls.host(false, () -> cache.upsert(Texts.of(table), row));
  }

  /** A row as C takes it. */
  private static final class Encoded {
    final byte[][] meta;
    final byte[] dataKey;
    final byte[] data;

    Encoded(Row row) {
      meta = new byte[2 * row.getMeta().size()][];
      int count = 0;
      for (Map.Entry<String, String> pair : row.getMeta().entrySet()) {
        meta[count++] = Texts.utf8(pair.getKey(), "A name of the meta");
        meta[count++] = Texts.utf8(pair.getValue(), "A value of the meta");
      }
      dataKey = Texts.utf8(row.getDataKey().orElse(""), "The data key");
      data = row.getData();
    }
  }

  private static List<Encoded> encoded(Collection<Row> rows) {
    List<Encoded> all = new ArrayList<>();
    for (Row row : rows) all.add(new Encoded(row));
    return all;
  }

  /** Names and values that stand one after the other. */
  private static Map<String, String> metaOf(byte[][] pairs) {
    Map<String, String> meta = new TreeMap<>();
    for (int name = 0; name < pairs.length; name += 2) meta.put(Texts.of(pairs[name]), Texts.of(pairs[name + 1]));
    return meta;
  }
}
