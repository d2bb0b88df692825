package vellora;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertThrows;
import static org.junit.Assert.assertTrue;

import java.time.Duration;
import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;
import java.util.List;
import java.util.Map;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.LinkedBlockingQueue;
import org.junit.Test;

/** What a host's cache may do, and what it does wrong without harm. */
public final class CacheTest {
  private static final List<String> IDS = List.of("001000000000009");
  private static final List<String> ACCOUNT = List.of("Account");

  private final ScriptedNetwork network = ScriptedNetwork.ofAccounts();

  private Catalog opened(Cache cache) {
    return new Catalog(new CatalogOptions().network(network).cache(cache).loadLate().attempts(1));
  }

  private void fill(Cache cache) {
    try (Catalog catalog = opened(cache)) {
      assertEquals(1, catalog.records(IDS).join().getFound().size());
    }
  }

  @Test
  public void aCacheOfTheHostsAnswersWithoutTheNetwork() {
    MapCache cache = new MapCache();
    fill(cache);
    network.takeSent();
    try (Catalog catalog = opened(cache)) {
      Answer<ObjectPresentationInfo> answer = catalog.records(IDS).join();
      assertEquals("FF0000", answer.getFound().get(IDS.get(0)).getTypePresentationInfo().getColor().orElseThrow());
    }
    assertEquals(List.of(), network.takeSent());
    assertEquals(List.of(Duration.ofDays(7)), List.copyOf(cache.longest));
  }

  @Test
  public void aLayoutIsKeptAsTheBytesThatWereSaved() {
    MapCache cache = new MapCache();
    network.answer(ScriptedNetwork.COLUMNS_URL, "[{\"objectType\":\"Account\",\"searchColumns\":[]}]");
    for (int time = 0; time < 2; ++time) {
      try (Catalog catalog = opened(cache)) {
        assertEquals(1, catalog.searchColumns(ACCOUNT).join().getFound().size());
      }
    }
    assertEquals(List.of(ScriptedNetwork.COLUMNS_URL), network.takeSent());
  }

  @Test
  public void forgettingLeavesNothingInIt() {
    MapCache cache = new MapCache();
    network.answer(ScriptedNetwork.COLUMNS_URL, "[{\"objectType\":\"Account\",\"searchColumns\":[]}]");
    try (Catalog catalog = opened(cache)) {
      catalog.records(IDS).join();
      catalog.searchColumns(ACCOUNT).join();
      assertTrue("there are rows", cache.rowCount() > 0);
      catalog.forget();
    }
    assertEquals(0, cache.rowCount());
    assertEquals(Map.of(), cache.blobs);
  }

  /** One whose functions throw, also errors of the virtual machine. */
  private static final class Throwing implements Cache {
    @Override
    public byte[] load(String key) {
      throw new IllegalStateException("thrown by the cache");
    }

    @Override
    public boolean save(String key, byte[] blob) {
      throw new StackOverflowError("thrown by the cache");
    }

    @Override
    public boolean remove(String key) {
      throw new IllegalStateException("thrown by the cache");
    }

    @Override
    public boolean hasTable(String table) {
      throw new IllegalStateException("thrown by the cache");
    }

    @Override
    public boolean createTable(String table, Duration longest) {
      throw new IllegalStateException("thrown by the cache");
    }

    @Override
    public Collection<Row> rows(String table, RowQuery query) {
      throw new OutOfMemoryError("thrown by the cache");
    }

    @Override
    public boolean purge(String table, RowQuery query) {
      throw new IllegalStateException("thrown by the cache");
    }

    @Override
    public boolean upsert(String table, Row row) {
      throw new IllegalStateException("thrown by the cache");
    }
  }

  @Test
  public void aCacheThatThrowsIsOneThatKeepsNothing() {
    network.answer(ScriptedNetwork.COLUMNS_URL, "[{\"objectType\":\"Account\",\"searchColumns\":[]}]");
    try (Catalog catalog = opened(new Throwing())) {
      assertEquals(End.ANSWERED, catalog.types(ACCOUNT).join().getEnd());
      assertEquals(1, catalog.searchColumns(ACCOUNT).join().getFound().size());
      catalog.forget();
    }
  }

  private static final Row NOT_UTF8 = new Row(Map.of("name", "\uD800"), "key", new byte[0]);

  /** One that gives what is no row, or no rows at all. */
  private static MapCache giving(Collection<Row> rows) {
    return new MapCache() {
      @Override
      public synchronized Collection<Row> rows(String table, RowQuery query) {
        return rows;
      }
    };
  }

  @Test
  public void whatIsNoRowIsNotFound() {
    List<Collection<Row>> wrong = Arrays.asList(null, Collections.singletonList(null), List.of(NOT_UTF8),
        List.of(new Row(Map.of(), null, new byte[0])), List.of(new Row(Map.of("a\0b", "ü"), "", "no JSON".getBytes())));
    for (Collection<Row> rows : wrong) {
      try (Catalog catalog = opened(giving(rows))) {
        assertEquals(1, catalog.types(ACCOUNT).join().getFound().size());
      }
    }
  }

  @Test
  public void bytesThatAreNoneOfTheLibrarysAreNotFound() {
    network.answer(ScriptedNetwork.COLUMNS_URL, "[{\"objectType\":\"Account\",\"searchColumns\":[]}]");
    for (byte[] bytes : Arrays.asList(new byte[0], new byte[] {(byte) 0xFF, 0, 1}, new byte[1 << 20])) {
      MapCache cache = new MapCache() {
        @Override
        public synchronized byte[] load(String key) {
          return bytes;
        }
      };
      try (Catalog catalog = opened(cache)) {
        assertEquals(1, catalog.searchColumns(ACCOUNT).join().getFound().size());
      }
    }
  }

  @Test
  public void aCacheThatClosesTheCatalogueIsRefused() throws Exception {
    CompletableFuture<Catalog> catalog = new CompletableFuture<>();
    BlockingQueue<String> told = new LinkedBlockingQueue<>();
    MapCache cache = new MapCache() {
      @Override
      public synchronized boolean save(String key, byte[] blob) {
        try {
          catalog.join().close();
        } catch (IllegalStateException refused) {
          told.add(refused.getMessage());
        }
        return super.save(key, blob);
      }
    };
    network.answer(ScriptedNetwork.COLUMNS_URL, "[{\"objectType\":\"Account\",\"searchColumns\":[]}]");
    catalog.complete(opened(cache));
    assertEquals(1, catalog.join().searchColumns(ACCOUNT).join().getFound().size());
    assertEquals("A host's function must not close a catalogue.", told.take());
    catalog.join().close();
  }

  @Test
  public void aRowHasMetaAndDataAndMayLackAKey() {
    Row row = new Row(Map.of("b", "2", "a", "1"), null, new byte[] {1});
    assertEquals("{a=1, b=2}", row.getMeta().toString());
    assertEquals(false, row.getDataKey().isPresent());
    assertArrayEquals(new byte[] {1}, row.getData());
    assertThrows(UnsupportedOperationException.class, () -> row.getMeta().clear());
    assertThrows(IllegalArgumentException.class, () -> new Row(null, "key", new byte[0]));
    assertThrows(IllegalArgumentException.class, () -> new Row(Map.of(), "key", null));
    assertThrows(IllegalArgumentException.class, () -> new RowQuery(null, "key", false, 0, 0, false));
  }
}
