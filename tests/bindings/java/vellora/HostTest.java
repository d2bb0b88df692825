package vellora;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertThrows;
import static org.junit.Assert.assertTrue;

import com.sun.net.httpserver.HttpServer;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.util.List;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.Test;

/** What a host in Java may do, and what it does wrong without harm. */
public final class HostTest {
  private static final List<String> ACCOUNT = List.of("Account");

  private static String troubleWith(Network network) {
    try (Catalog catalog = new Catalog(new CatalogOptions().network(network).loadLate().attempts(1))) {
      Answer<ObjectLayoutInfo> answer = catalog.searchColumns(ACCOUNT).join();
      assertEquals(End.FAILED, answer.getEnd());
      return answer.getTrouble().orElseThrow().getText().replace(" (" + ScriptedNetwork.COLUMNS_URL + ")", "");
    }
  }

  @Test
  public void whatANetworkThrowsIsTheReasonOfTheAnswer() {
    assertEquals("java.lang.IllegalStateException: thrown by the host", troubleWith(request -> {
      throw new IllegalStateException("thrown by the host");
    }));
    assertEquals("java.lang.StackOverflowError: too deep", troubleWith(request -> {
      throw new StackOverflowError("too deep");
    }));
    assertEquals("no signal", troubleWith(request -> {
      throw new NetworkException("no signal");
    }));
  }

  @Test
  public void aStageThatFailsIsAFailedRequest() {
    assertEquals("no signal", troubleWith(request -> CompletableFuture.failedFuture(new NetworkException("no signal"))));
    assertEquals("no signal", troubleWith(request -> CompletableFuture.completedFuture(new byte[0]).thenApply(body -> {
      throw new NetworkException("no signal");
    })));
    assertEquals("There is no answer.", troubleWith(request -> CompletableFuture.completedFuture(null)));
    assertTrue(troubleWith(request -> null).startsWith("java.lang.NullPointerException"));
    assertEquals("There is no answer.", troubleWith(request -> CompletableFuture.failedFuture(new NetworkException(null))));
    assertEquals(Unprintable.class.getName(), troubleWith(request -> CompletableFuture.failedFuture(new Unprintable())));
    assertEquals("vellora.NetworkException",
        troubleWith(request -> CompletableFuture.failedFuture(new NetworkException("half a text\0"))));
  }

  private static final class Unprintable extends RuntimeException {
    private static final long serialVersionUID = 1;

    @Override
    public String toString() {
      throw new StackOverflowError("too deep");
    }
  }

  @Test
  public void whatMayPassIsSentAgain() {
    AtomicInteger sent = new AtomicInteger();
    Network failing = request -> {
      boolean isFirst = sent.incrementAndGet() == 1;
      if (isFirst) return CompletableFuture.failedFuture(new NetworkException("busy", Duration.ZERO));
      return CompletableFuture.completedFuture("[]".getBytes(StandardCharsets.UTF_8));
    };
    try (Catalog catalog = new Catalog(new CatalogOptions().network(failing).loadLate())) {
      assertEquals(End.ANSWERED, catalog.searchColumns(ACCOUNT).join().getEnd());
    }
    assertEquals(2, sent.get());
  }

  @Test
  public void aRequestSaysWhatIsWantedAndHowLongItMayTake() {
    BlockingQueue<Request> requests = new LinkedBlockingQueue<>();
    troubleWith(request -> {
      requests.add(request);
      return CompletableFuture.failedFuture(new NetworkException("no signal"));
    });
    Request request = requests.remove();
    assertEquals(ScriptedNetwork.COLUMNS_URL, request.getUrl());
    assertTrue(request.getTimeout().toString(), request.getTimeout().getSeconds() > 0);
  }

  @Test
  public void anAnswerThatComesAfterTheEndIsTakenAndDropped() throws Exception {
    ScriptedNetwork network = ScriptedNetwork.ofAccounts();
    network.silence(ScriptedNetwork.COLUMNS_URL);
    Catalog catalog = new Catalog(new CatalogOptions().network(network).loadLate());
    CompletableFuture<?> question = catalog.searchColumns(ACCOUNT);
    CompletableFuture<byte[]> request = network.awaitSilent();
    catalog.close();
    assertTrue(request.complete("[]".getBytes(StandardCharsets.UTF_8)));
    assertTrue(question.isCancelled());
  }

  @Test
  public void aHostThatClosesTheCatalogueIsToldThatItMustNot() {
    CompletableFuture<Catalog> opened = new CompletableFuture<>();
    opened.complete(new Catalog(new CatalogOptions().network(request -> {
      opened.join().close();
      return null;
    }).loadLate().attempts(1)));
    try (Catalog catalog = opened.join()) {
      String trouble = catalog.searchColumns(ACCOUNT).join().getTrouble().orElseThrow().getText();
      assertTrue(trouble, trouble.startsWith("java.lang.IllegalStateException: A host's function must not close a catalogue."));
    }
  }

  @Test
  public void aLoggerGetsTheLinesAndMayThrow() {
    ConcurrentLinkedQueue<String> lines = new ConcurrentLinkedQueue<>();
    Logger logger = (isError, line) -> {
      lines.add(line);
      throw new IllegalStateException("thrown by the logger");
    };
    ScriptedNetwork network = ScriptedNetwork.ofAccounts();
    try (Catalog catalog = new Catalog(new CatalogOptions().network(network).logger(logger))) {
      assertEquals(End.ANSWERED, catalog.types(ACCOUNT).join().getEnd());
    }
    assertTrue("there are lines", !lines.isEmpty());
  }

  @Test
  public void theTokenIsInNoLineBeforeAnythingIsSent() {
    ConcurrentLinkedQueue<String> lines = new ConcurrentLinkedQueue<>();
    CatalogOptions options = new CatalogOptions().server("https://records.example").token(refused -> "abc-secret99")
        .logger((isError, line) -> lines.add(line)).loadLate();
    try (Catalog catalog = new Catalog(options)) {
      catalog.types(List.of("abc-secret99"), new QuestionOptions().source(Source.CACHE_ONLY)).join();
    }
    assertEquals("sObjectForName(_:), name: [token]", lines.peek());
  }

  @Test
  public void theReadyMadeNetworkSendsTheTokenAndAsksForANewOne() throws Exception {
    ConcurrentLinkedQueue<String> sent = new ConcurrentLinkedQueue<>();
    HttpServer server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), 0), 0);
    server.createContext("/", exchange -> {
      String token = exchange.getRequestHeaders().getFirst("Authorization");
      sent.add(token);
      byte[] body = "[]".getBytes(StandardCharsets.UTF_8);
      exchange.sendResponseHeaders("Bearer fresh".equals(token) ? 200 : 401, body.length);
      exchange.getResponseBody().write(body);
      exchange.close();
    });
    server.start();
    CatalogOptions options = new CatalogOptions().server("http://127.0.0.1:" + server.getAddress().getPort())
        .allowTokenOverPlainHttp().token(refused -> refused == null ? "old" : "fresh").loadLate();
    try (Catalog catalog = new Catalog(options)) {
      assertEquals(End.ANSWERED, catalog.searchColumns(ACCOUNT).join().getEnd());
    } finally {
      server.stop(0);
    }
    assertEquals(List.of("Bearer old", "Bearer fresh"), List.copyOf(sent));
  }

  @Test
  public void aTokenSourceThatThrowsGivesNoToken() {
    CatalogOptions options = new CatalogOptions().server("http://127.0.0.1:1").loadLate().attempts(1).token(refused -> {
      throw new IllegalStateException("thrown by the token source");
    });
    try (Catalog catalog = new Catalog(options)) {
      assertEquals(End.FAILED, catalog.searchColumns(ACCOUNT).join().getEnd());
    }
  }

  @Test
  public void aRequestOfATestNeedsAnAddressAndATime() {
    assertThrows(IllegalArgumentException.class, () -> new Request(null, Duration.ZERO));
    assertThrows(IllegalArgumentException.class, () -> new NetworkException("busy", null));
  }
}
