package vellora;

/** The functions of the native library, once {@link NativeLibrary} has loaded it. What C refuses, they throw. */
final class Native {
  private Native() {}

  static native String version();

  /** {@code texts} end with zeroes or are null: server, CA file, cache file, cache owner, theme. */
  static native long open(byte[][] texts, double cacheTimeout, int attempts, boolean allowsTokenOverPlainHttp,
      boolean loadsLate, Network network, TokenSource token, Cache cache, Logger logger);

  static native void close(long catalog);

  /** {@code keys} are the keys one after the other, {@code lengths} their lengths. */
  static native long ask(long catalog, int kind, byte[] keys, int[] lengths, double deadline, int source, byte[] theme,
      byte[] filter, boolean watches, Listener listener);

  static native void free(long question);

  static native byte[] state(long catalog);

  static native void forget(long catalog);

  static native void releaseMemory(long catalog);

  /** One of {@code body} and {@code error} is null; the latter ends with a zero. */
  static native void reply(long request, byte[] body, byte[] error, boolean mayRetry, double retryAfter);

  /** Hands a row over, inside the call of {@link CacheCalls#rows} that the sink came with. The meta is names and values in turn. */
  static native void giveRow(long sink, byte[][] meta, byte[] dataKey, byte[] data);

  /** Throws what stands for an error of C; the native functions call it. */
  static void raise(int code, byte[] text) {
    String message = Texts.of(text);
    switch (code) {
      case 1:
      case 2:
        throw new IllegalArgumentException(message);
      case 6:
        throw new OutOfMemoryError(message);
      default:
        throw new VelloraException(message);
    }
  }
}
