package vellora;

import java.time.Duration;
import java.util.ArrayList;
import java.util.Collection;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.TreeSet;

/** A cache as an app may have one, and what it was told. */
class MapCache implements Cache {
  final Map<String, byte[]> blobs = new HashMap<>();  // all under this
  final Map<String, List<Row>> tables = new HashMap<>();  // oldest first
  final TreeSet<Duration> longest = new TreeSet<>();
  private int written;

  @Override
  public synchronized byte[] load(String key) {
    return blobs.get(key);
  }

  @Override
  public synchronized boolean save(String key, byte[] blob) {
    blobs.put(key, blob);
    return true;
  }

  @Override
  public synchronized boolean remove(String key) {
    blobs.remove(key);
    return true;
  }

  @Override
  public synchronized boolean hasTable(String table) {
    return tables.containsKey(table);
  }

  @Override
  public synchronized boolean createTable(String table, Duration longest) {
    tables.computeIfAbsent(table, name -> new ArrayList<>());
    this.longest.add(longest);
    return true;
  }

  @Override
  public synchronized Collection<Row> rows(String table, RowQuery query) {
    List<Row> meant = new ArrayList<>();
    for (Row row : tables.get(table)) {
      if (isMeant(row, query)) meant.add(row);
    }
    if (query.isOldestFirst())
      return new ArrayList<>(meant.subList(place(query.getLower(), meant), place(query.getUpper(), meant)));
    Collections.reverse(meant);
    return meant;
  }

  @Override
  public synchronized boolean purge(String table, RowQuery query) {
    tables.get(table).removeIf(row -> isMeant(row, query));
    return true;
  }

  @Override
  public synchronized boolean upsert(String table, Row row) {
    String key = row.getDataKey().orElse(null);
    List<Row> rows = tables.get(table);
    rows.removeIf(each -> key == null ? each.getMeta().equals(row.getMeta()) : each.getDataKey().orElseThrow().equals(key));
    rows.add(new Row(row.getMeta(), key == null ? "row " + ++written : key, row.getData()));
    return true;
  }

  synchronized int rowCount() {
    return tables.values().stream().mapToInt(List::size).sum();
  }

  private static int place(long position, List<Row> rows) {
    return (int) Math.max(0, Math.min(position, rows.size()));
  }

  private static boolean isMeant(Row row, RowQuery query) {
    if (query.getDataKey().isPresent() && !query.getDataKey().equals(row.getDataKey())) return false;
    return row.getMeta().entrySet().containsAll(query.getMeta().entrySet());
  }
}
