package vellora;

/**
 * Takes diagnostic lines.
 *
 * <p><b>Threads:</b> called from several threads at once. Never call the library from it.
 *
 * <p><b>Errors:</b> an exception is ignored.
 */
@FunctionalInterface
public interface Logger {
  /** Writes one line, without a line end. */
  void log(boolean isError, String line);
}
