package vellora;

import java.util.Set;
import java.util.function.Consumer;

/**
 * Something that is watched until it is closed, or its catalogue is.
 *
 * <p><b>Threads:</b> safe to use from several threads at once.
 */
public final class Watch implements AutoCloseable {
  private final Handle handle = new Handle();
  private final Set<Watch> open;

  /** One that is in {@code open} until it is closed. */
  Watch(Set<Watch> open) {
    this.open = open;
    open.add(this);
  }

  void begin(long question) {
    handle.begin(question);
  }

  /** When it has returned, no call comes any more. It waits for one that runs, unless it is called from inside it. */
  @Override
  public void close() {
    open.remove(this);
    handle.end();
  }

  /** Hands each answer to a consumer. */
  static final class Calls<A> implements Listener {
    private final Kind<A> kind;
    private final Consumer<? super A> consumer;

    Calls(Kind<A> kind, Consumer<? super A> consumer) {
      this.kind = kind;
      this.consumer = consumer;
    }

    @Override
    public void answered(byte[] document) {
      consumer.accept(kind.read(document));
    }

    @Override
    public void failed(String reason) {
      throw new VelloraException(reason);
    }
  }
}
