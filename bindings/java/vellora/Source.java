package vellora;

/** Where an answer may come from. */
public enum Source {
  /** What the cache has, the rest from the server. */
  CACHE_FIRST,
  /** No request is sent. */
  CACHE_ONLY,
  /** The server, and the cache where that fails. */
  SERVER_FIRST
}
