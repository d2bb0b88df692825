package vellora;

import java.time.Duration;

/**
 * What a {@link Catalog} is made with. Without a network of your own it takes the ready-made one, which needs a server.
 *
 * <pre>{@code
 * new CatalogOptions().server("https://records.example").cacheFile("cache.db")
 * }</pre>
 *
 * <p><b>Threads:</b> not synchronised. It is read when the catalogue is made, and may be changed afterwards.
 */
public final class CatalogOptions {
  Network network;
  String server;
  TokenSource token;
  String caFile;
  boolean allowsTokenOverPlainHttp;
  Cache cache;
  String cacheFile;
  String cacheOwner;
  Logger logger;
  String theme;
  Duration cacheTimeout;
  int attempts;
  boolean loadsLate;

  /** A network of your own, in place of the ready-made one, which the next four are for. */
  public CatalogOptions network(Network network) {
    this.network = network;
    return this;
  }

  /** The records server's address, such as "https://records.example". */
  public CatalogOptions server(String server) {
    this.server = server;
    return this;
  }

  /** Where the token comes from; without it none is sent. */
  public CatalogOptions token(TokenSource token) {
    this.token = token;
    return this;
  }

  /** A PEM file of authorities to trust, in place of the system's. */
  public CatalogOptions caFile(String caFile) {
    this.caFile = caFile;
    return this;
  }

  public CatalogOptions allowTokenOverPlainHttp() {
    allowsTokenOverPlainHttp = true;
    return this;
  }

  /** A cache of your own, in place of the ready-made one, which the next two are for. */
  public CatalogOptions cache(Cache cache) {
    this.cache = cache;
    return this;
  }

  /** Where the cache is kept; without it in memory. What it holds is what is answered offline. */
  public CatalogOptions cacheFile(String cacheFile) {
    this.cacheFile = cacheFile;
    return this;
  }

  /** Whose cache the file is; another owner's file is refused. */
  public CatalogOptions cacheOwner(String cacheOwner) {
    this.cacheOwner = cacheOwner;
    return this;
  }

  /** Takes diagnostic lines. */
  public CatalogOptions logger(Logger logger) {
    this.logger = logger;
    return this;
  }

  /** Whose colours and icons are wanted: "light" unless told. */
  public CatalogOptions theme(String theme) {
    this.theme = theme;
    return this;
  }

  /** The age at which what is cached is stale: an hour unless told, zero for at once. */
  public CatalogOptions cacheTimeout(Duration cacheTimeout) {
    this.cacheTimeout = cacheTimeout;
    return this;
  }

  /** How often a request is sent at most that may be sent again: four times unless told, or for 0. */
  public CatalogOptions attempts(int attempts) {
    this.attempts = attempts;
    return this;
  }

  /** Loads both lists with the first question that needs them, not at once. */
  public CatalogOptions loadLate() {
    loadsLate = true;
    return this;
  }
}
