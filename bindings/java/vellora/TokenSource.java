package vellora;

/**
 * Gives the token that the ready-made network sends.
 *
 * <p><b>Threads:</b> called from several threads at once.
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
