package vellora;

import java.time.Duration;

/** What the native library calls. Nothing is thrown to it: what the app's code throws ends here. */
final class Upcalls {
  private Upcalls() {}

  static void answered(Listener listener, byte[] document, byte[] error) {
    Calls.answer(() -> {
      try {
        if (document != null) listener.answered(document);
        else listener.failed(Texts.of(error));
      } catch (Throwable thrown) {
        tell(thrown);
      }
    });
  }

  static void send(Network network, byte[] url, double timeout, long request) {
    Reply reply = new Reply(request);
    Request asked = new Request(Texts.of(url), Duration.ofMillis((long) (timeout * 1000)));
    Calls.host(null, () -> {
      try {
        network.send(asked).whenComplete(reply);
      } catch (Throwable thrown) {
        reply.accept(null, thrown);
      }
      return null;
    });
  }

  static byte[] token(TokenSource source, byte[] refused) {
    return Calls.host(null, () -> {
      String token = source.token(Texts.of(refused));
      return token == null ? null : Texts.utf8(token, "The token");
    });
  }

  static void log(Logger logger, boolean isError, byte[] line) {
    Calls.host(null, () -> {
      logger.log(isError, Texts.of(line));
      return null;
    });
  }

  /** Hands what a watcher has thrown to whom the app has named for that. */
  private static void tell(Throwable thrown) {
    Thread thread = Thread.currentThread();
    try {
      thread.getUncaughtExceptionHandler().uncaughtException(thread, thrown);
    } catch (Throwable again) {
      // As the virtual machine does.
    }
  }
}
