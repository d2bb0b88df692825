package vellora;

/**
 * Gives the token that the ready-made network sends.
 *
 * <p><b>Threads:</b> called from several threads at once, and once while the catalogue is opened, so that the log is clean of
 * the token from the beginning.
 *
 * <p><b>Errors:</b> an exception counts as no token.
 */
@FunctionalInterface
public interface TokenSource {
  /**
   * The token, or null to send none. {@code refused} is null, or the token that the server has just refused: give another
   * one then, if there is one.
   */
  String token(String refused);
}
