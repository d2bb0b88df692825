package vellora;

/** What the library refuses or fails at for a reason of its own, such as a cache file that cannot be used. */
public final class VelloraException extends RuntimeException {
  private static final long serialVersionUID = 1;

  VelloraException(String message) {
    super(message);
  }
}
