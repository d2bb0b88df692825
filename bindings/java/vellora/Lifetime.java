package vellora;

import java.util.concurrent.locks.ReentrantReadWriteLock;
import java.util.function.LongFunction;

/** A native catalogue, which is not closed while it is used. */
final class Lifetime {
  private final ReentrantReadWriteLock lock = new ReentrantReadWriteLock();
  private long catalog;  // 0: closed; under lock

  Lifetime(long catalog) {
    this.catalog = catalog;
  }

  <T> T use(LongFunction<T> call) {
    lock.readLock().lock();
    try {
      if (catalog == 0) throw new IllegalStateException("The catalogue is closed.");
      return call.apply(catalog);
    } finally {
      lock.readLock().unlock();
    }
  }

  void close() {
    if (lock.getReadHoldCount() > 0) throw new IllegalStateException("A host's function closes the catalogue that calls it.");
    lock.writeLock().lock();
    long closed = catalog;
    catalog = 0;
    lock.writeLock().unlock();
    if (closed != 0) Native.close(closed);
  }
}
