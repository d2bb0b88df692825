package vellora;

import java.util.concurrent.CompletionStage;

/**
 * The network of your app, in place of the ready-made one. It sends GETs without headers or body to your records
 * server: resolve the URL against its address, and authenticate.
 *
 * <p><b>Threads:</b> called from several threads at once. The library goes on working on the thread that completes the
 * stage: it decodes, and writes to the cache.
 *
 * <p><b>Errors:</b> a stage that fails, one that completes with null, an exception of {@code send} and null in place of a
 * stage are failed requests. A {@link NetworkException} also says whether the same request may succeed later.
 */
public interface Network {
  /** Sends a request and returns without waiting. The stage is the body of its answer; complete it in any case. */
  CompletionStage<byte[]> send(Request request);
}
