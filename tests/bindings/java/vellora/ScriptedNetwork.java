package vellora;

import java.nio.charset.StandardCharsets;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Queue;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CompletionStage;

/** A network that answers from memory. Requests of silent URLs are kept until they are answered by hand. */
final class ScriptedNetwork implements Network {
  static final String TYPES_URL = "/services/data/v50.0/sobjects";
  static final String THEMES_URL = "/services/data/v50.0/theme";
  static final String COLUMNS_URL = "/services/data/v50.0/search/layout?q=Account";

  private final Map<String, CompletableFuture<byte[]>> answers = new HashMap<>();  // all under this
  private final Map<String, Queue<Throwable>> busy = new HashMap<>();
  private final List<CompletableFuture<byte[]>> kept = new ArrayList<>();
  private final List<String> sent = new ArrayList<>();

  /** One that knows the type Account. */
  static ScriptedNetwork ofAccounts() {
    ScriptedNetwork network = new ScriptedNetwork();
    network.answer(TYPES_URL, "{\"sobjects\":[{\"name\":\"Account\",\"keyPrefix\":\"001\",\"label\":\"Account\","
        + "\"labelPlural\":\"Accounts\",\"createable\":true}]}");
    network.answer(THEMES_URL, "{\"themeItems\":[{\"name\":\"Account\",\"icons\":[],\"colors\":"
        + "[{\"color\":\"FF0000\",\"context\":\"primary\",\"theme\":\"light\"},"
        + "{\"color\":\"00FF00\",\"context\":\"primary\",\"theme\":\"dark\"}]}]}");
    return network;
  }

  synchronized void answer(String url, String body) {
    answers.put(url, CompletableFuture.completedFuture(body.getBytes(StandardCharsets.UTF_8)));
  }

  synchronized void refuse(String url, Throwable error) {
    answers.put(url, CompletableFuture.failedFuture(error));
  }

  /** The next request of that URL gets that first. */
  synchronized void beBusyOnce(String url, Throwable error) {
    busy.computeIfAbsent(url, key -> new ArrayDeque<>()).add(error);
  }

  synchronized void silence(String url) {
    answers.put(url, null);
  }

  @Override
  public synchronized CompletionStage<byte[]> send(Request request) {
    sent.add(request.getUrl());
    Throwable error = busy.getOrDefault(request.getUrl(), new ArrayDeque<>()).poll();
    if (error != null) return CompletableFuture.failedFuture(error);
    if (!answers.containsKey(request.getUrl())) return CompletableFuture.failedFuture(new NetworkException("not there"));
    CompletableFuture<byte[]> answer = answers.get(request.getUrl());
    if (answer != null) return answer;
    CompletableFuture<byte[]> later = new CompletableFuture<>();
    kept.add(later);
    notifyAll();
    return later;
  }

  /** Waits for a request of a silent URL, which it hands over. */
  synchronized CompletableFuture<byte[]> awaitSilent() throws InterruptedException {
    while (kept.isEmpty()) wait();
    return kept.remove(0);
  }

  /** The URLs since it was called last, sorted. */
  synchronized List<String> takeSent() {
    List<String> urls = new ArrayList<>(sent);
    sent.clear();
    Collections.sort(urls);
    return urls;
  }
}
