package vellora;

/** What an answer comes to. */
interface Listener {
  void answered(byte[] document);

  /** There is no document, for that reason. */
  void failed(String reason);
}
