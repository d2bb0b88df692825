package vellora;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertSame;
import static org.junit.Assert.assertThrows;
import static org.junit.Assert.assertTrue;

import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.time.Instant;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CancellationException;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CompletionException;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicReference;
import java.util.function.Function;
import org.junit.After;
import org.junit.Test;
import org.junit.function.ThrowingRunnable;

/** What users of a catalogue rely on, besides what every language's script says. */
public final class CatalogTest {
  private static final List<String> ACCOUNT = List.of("Account");
  /** Where nothing is to time out, also on a busy machine. */
  private static final QuestionOptions PATIENT = new QuestionOptions().deadline(Duration.ofMinutes(10));

  private final ScriptedNetwork network = ScriptedNetwork.ofAccounts();
  private final Catalog catalog = new Catalog(new CatalogOptions().network(network).loadLate().attempts(1));

  @After
  public void close() {
    catalog.close();
  }

  @Test
  public void anAnswerTellsWhatWasFoundAndHowOldItIs() {
    Instant before = Instant.now().minusSeconds(1);
    Answer<ObjectPresentationInfo> answer = catalog.types(ACCOUNT).join();

    PresentationInfo info = answer.getFound().get("Account").getTypePresentationInfo();
    assertEquals("FF0000", info.getColor().orElseThrow());
    assertFalse(info.getSvgIconUrl().isPresent());
    assertTrue(answer.ageOf("Account").getFetched().orElseThrow().isAfter(before));
    assertEquals(answer.getAge(), answer.ageOf("nobody"));
    assertThrows(UnsupportedOperationException.class, () -> answer.getFound().clear());
  }

  @Test
  public void theThemeMayBeTheCataloguesOrTheQuestions() {
    assertEquals("00FF00", colorOf(catalog.types(ACCOUNT, new QuestionOptions().theme("dark")).join()));
    try (Catalog dark = new Catalog(new CatalogOptions().network(network).theme("dark"))) {
      assertEquals("00FF00", colorOf(dark.types(ACCOUNT).join()));
    }
  }

  private static String colorOf(Answer<ObjectPresentationInfo> answer) {
    return answer.getFound().get("Account").getTypePresentationInfo().getColor().orElseThrow();
  }

  @Test
  public void aDeadlineOfNothingEndsAtOnce() {
    network.silence(ScriptedNetwork.COLUMNS_URL);
    Answer<ObjectLayoutInfo> answer = catalog.searchColumns(ACCOUNT, new QuestionOptions().deadline(Duration.ZERO)).join();
    assertEquals(End.TIMED_OUT, answer.getEnd());
    assertEquals(Missing.Why.TIMED_OUT, answer.getMissing().get("Account").getWhy());
  }

  @Test
  public void whatCompletesTheFutureEndsTheQuestion() throws Exception {
    network.silence(ScriptedNetwork.COLUMNS_URL);
    CompletableFuture<Answer<ObjectLayoutInfo>> question = catalog.searchColumns(ACCOUNT, PATIENT);
    network.awaitSilent();
    assertEquals(1, catalog.underWay());
    question.completeExceptionally(new IllegalStateException("nobody wants it any more"));
    assertEquals(0, catalog.underWay());
  }

  @Test
  public void closingCancelsWhatIsUnderWayAndASecondTimeDoesNothing() throws Exception {
    network.silence(ScriptedNetwork.COLUMNS_URL);
    CompletableFuture<Answer<ObjectLayoutInfo>> question = catalog.searchColumns(ACCOUNT, PATIENT);
    network.awaitSilent();
    catalog.close();
    catalog.close();
    assertTrue(question.isCancelled());
    assertEquals(0, catalog.underWay());
    assertThrows(CancellationException.class, question::join);
  }

  @Test
  public void aClosedCatalogueRefusesQuestions() {
    catalog.close();
    assertThrows(IllegalStateException.class, () -> catalog.records(List.of("001000000000009")));
    assertThrows(IllegalStateException.class, () -> catalog.watchTypes(ACCOUNT, answer -> {}));
    assertThrows(IllegalStateException.class, catalog::readiness);
    assertThrows(IllegalStateException.class, catalog::forget);
    assertThrows(IllegalStateException.class, catalog::releaseMemory);
    assertEquals(0, catalog.underWay());
  }

  @Test
  public void aCompletionMayCloseTheCatalogue() {
    CompletableFuture<String> ended = catalog.types(ACCOUNT).thenApply(answer -> {
      catalog.close();
      return "closed";
    });
    assertEquals("closed", ended.join());
  }

  /** Asks, and has the answer come when the stage is there: on a thread of the catalogue's. */
  private <T> CompletableFuture<T> answered(Function<Answer<ObjectLayoutInfo>, T> stage) throws Exception {
    network.silence(ScriptedNetwork.COLUMNS_URL);
    CompletableFuture<T> made = catalog.searchColumns(ACCOUNT, PATIENT).thenApply(stage);
    network.awaitSilent().complete("[]".getBytes(StandardCharsets.UTF_8));
    return made;
  }

  @Test
  public void aCompletionClosesTheCatalogueWhileAnotherThreadForgets() throws Exception {
    CompletableFuture<Void> entered = new CompletableFuture<>();
    CompletableFuture<Void> goesOn = new CompletableFuture<>();
    CompletableFuture<String> closed = answered(answer -> {
      entered.complete(null);
      goesOn.join();
      catalog.close();
      return "closed";
    });
    entered.join();
    CompletableFuture<Void> forgotten = CompletableFuture.runAsync(() -> {
      goesOn.complete(null);
      catalog.forget();
    });
    assertEquals("closed", closed.join());
    forgotten.handle((nothing, refused) -> null).join();
    assertThrows(IllegalStateException.class, catalog::readiness);
  }

  @Test
  public void aCompletionThatWaitsForAnotherAnswerIsRefused() throws Exception {
    CompletableFuture<List<String>> told = answered(answer -> {
      CompletableFuture<Answer<ObjectLayoutInfo>> other = catalog.searchColumns(ACCOUNT, PATIENT);
      CompletableFuture<End> stage = other.thenApply(Answer::getEnd);
      List<String> refusals = new ArrayList<>();
      for (ThrowingRunnable wait : List.<ThrowingRunnable>of(other::join, other::get, () -> other.get(1, TimeUnit.DAYS), stage::join))
        refusals.add(assertThrows(IllegalStateException.class, wait).getMessage());
      other.cancel(true);
      return refusals;
    });
    assertEquals(Collections.nCopies(4, "Waiting inside a call of the library's blocks what the answer needs."), told.join());
  }

  @Test
  public void aWatcherMayEndItsWatchOrItsCatalogue() throws Exception {
    BlockingQueue<String> told = new LinkedBlockingQueue<>();
    CompletableFuture<Watch> watch = new CompletableFuture<>();
    watch.complete(catalog.watchReadiness(readiness -> {
      watch.join().close();
      told.add("watch");
    }));
    assertEquals("watch", told.take());
    catalog.watchReadiness(readiness -> {
      catalog.close();
      told.add("catalogue");
    });
    assertEquals("catalogue", told.take());
  }

  @Test
  public void whatACompletionThrowsIsTheErrorOfItsStage() {
    CompletableFuture<Object> stage = catalog.types(ACCOUNT).thenApply(answer -> {
      throw new IllegalStateException("thrown by the app");
    });
    CompletionException thrown = assertThrows(CompletionException.class, stage::join);
    assertEquals("thrown by the app", thrown.getCause().getMessage());
    assertEquals(End.ANSWERED, catalog.types(ACCOUNT).join().getEnd());
  }

  @Test
  public void whatAWatcherThrowsGoesToTheHandlerOfUncaughtExceptions() throws Exception {
    Thread.UncaughtExceptionHandler before = Thread.getDefaultUncaughtExceptionHandler();
    BlockingQueue<Throwable> told = new LinkedBlockingQueue<>();
    Thread.setDefaultUncaughtExceptionHandler((thread, thrown) -> told.add(thrown));
    try {
      catalog.watchTypes(ACCOUNT, answer -> {
        throw new IllegalStateException("thrown by the watcher");
      });
      assertEquals("thrown by the watcher", told.take().getMessage());
      assertEquals(End.ANSWERED, catalog.types(ACCOUNT).join().getEnd());
    } finally {
      Thread.setDefaultUncaughtExceptionHandler(before);
    }
  }

  @Test
  public void whatIsNullIsRefused() {
    List<Runnable> calls = List.of(
        () -> new Catalog(null), () -> catalog.records(null), () -> catalog.records(Collections.singletonList(null)),
        () -> catalog.records(ACCOUNT, null), () -> catalog.types(null), () -> catalog.allTypes(null),
        () -> catalog.searchColumns(null), () -> catalog.headlines(null), () -> catalog.refresh(null),
        () -> catalog.watchTypes(ACCOUNT, null), () -> catalog.watchRecords(null, answer -> {}),
        () -> catalog.watchReadiness(null), () -> new QuestionOptions().source(null));
    for (Runnable call : calls) assertThrows(IllegalArgumentException.class, call::run);
    assertEquals(0, catalog.underWay());
  }

  @Test
  public void whatTheLibraryRefusesIsAnExceptionWithItsWords() {
    assertEquals("The number of attempts is below 0.", assertThrows(IllegalArgumentException.class,
        () -> new Catalog(new CatalogOptions().network(network).attempts(-1))).getMessage());
    VelloraException noHost = assertThrows(VelloraException.class,
        () -> new Catalog(new CatalogOptions().server("no address")));
    assertTrue(noHost.getMessage(), noHost.getMessage().contains("is not a URL"));
  }

  @Test
  public void aTextThatCDoesNotTakeIsRefused() {
    assertThrows(IllegalArgumentException.class, () -> new Catalog(new CatalogOptions().server("http://a\0b")));
    assertThrows(IllegalArgumentException.class, () -> catalog.types(ACCOUNT, new QuestionOptions().theme("\uD800")));
    assertThrows(IllegalArgumentException.class, () -> catalog.allTypes("\uDC00"));
  }

  @Test
  public void aKeyOfAnyCharactersIsFoundOrMissing() {
    List<String> keys = Arrays.asList("a\0b", "\uD83D\uDE00", "\uD800", "ü");
    Answer<ObjectPresentationInfo> answer = catalog.types(keys).join();
    assertEquals(List.of("a\0b", "\uD83D\uDE00", "\uFFFD", "ü"), new ArrayList<>(answer.getMissing().keySet()));
  }

  @Test
  public void forgettingCancelsWhatIsUnderWay() throws Exception {
    network.silence(ScriptedNetwork.COLUMNS_URL);
    CompletableFuture<Answer<ObjectLayoutInfo>> question = catalog.searchColumns(ACCOUNT, PATIENT);
    CompletableFuture<byte[]> request = network.awaitSilent();
    CompletableFuture<Void> forgotten = CompletableFuture.runAsync(catalog::forget);
    assertEquals(End.CANCELLED, question.join().getEnd());
    request.completeExceptionally(new NetworkException("too late"));
    forgotten.join();
  }

  @Test
  public void manyThreadsMayAskWhileOneCloses() throws Exception {
    List<Thread> threads = new ArrayList<>();
    AtomicReference<Throwable> wrong = new AtomicReference<>();
    for (int each = 0; each < 4; ++each) {
      threads.add(new Thread(() -> {
        try {
          while (true) catalog.types(ACCOUNT).handle((answer, error) -> answer).join();
        } catch (IllegalStateException closed) {
          assertSame(IllegalStateException.class, closed.getClass());
        } catch (Throwable other) {
          wrong.set(other);
        }
      }));
    }
    catalog.types(ACCOUNT).join();
    for (Thread thread : threads) thread.start();
    for (int each = 0; each < 100; ++each) catalog.types(ACCOUNT).join();
    catalog.close();
    for (Thread thread : threads) thread.join();
    assertEquals(null, wrong.get());
    assertEquals(0, catalog.underWay());
  }

  @Test
  public void theVersionIsThatOfTheLibrary() {
    assertEquals(System.getProperty("version"), Catalog.version());
  }

  @Test
  public void theTestsRunUnderTheCheckOfTheVirtualMachine() {
    assertTrue(java.lang.management.ManagementFactory.getRuntimeMXBean().getInputArguments().contains("-Xcheck:jni"));
  }
}
