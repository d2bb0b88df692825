package vellora;

import java.time.Duration;
import java.util.Collection;

/**
 * The cache of your app, in place of the ready-made one: what the server told, by key and in tables of rows. It should
 * outlive the process, since what it holds is what is answered offline. Each signed-in user needs one of their own.
 *
 * <p><b>Threads:</b> called from several threads at once. Never call the library from it; a catalogue that is closed
 * there refuses.
 *
 * <p><b>Errors:</b> a read that throws or gives null finds nothing, a write that throws counts as false.
 */
public interface Cache {
  /** The bytes that were last saved under that key, exactly as they were, or null. */
  byte[] load(String key);

  /** Stores bytes under that key, in place of those before. True when it is done. */
  boolean save(String key, byte[] blob);

  /** Deletes what that key has. True when there is nothing any more. */
  boolean remove(String key);

  /** Whether the table has been created. */
  boolean hasTable(String table);

  /** Creates the table unless it is there. A row that is older than {@code longest} is not given any more. */
  boolean createTable(String table, Duration longest);

  /** The rows that are meant. */
  Collection<Row> rows(String table, RowQuery query);

  /** Deletes each row that is meant, whatever its position. True when none is left. */
  boolean purge(String table, RowQuery query);

  /**
   * Stores a row, which is then the newest. With a data key it takes the place of the row of that key. Without one you
   * give it a key of its own, and it may take the place of an earlier row of equal meta.
   */
  boolean upsert(String table, Row row);
}
