package vellora;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import java.lang.ref.WeakReference;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import org.junit.Test;

/** What is left when all is over: nothing. */
public final class LifetimeTest {
  private static final int QUESTIONS = Integer.getInteger("questions", 10_000);
  private static final int ROUNDS = 5;
  private static final int AT_ONCE = 50;

  /** References that the virtual machine holds for itself come and go, such as one for each thread of its compilers. */
  private static final int OF_THE_MACHINE = 50;

  /** Blocks of the native libraries that a thread of theirs may have for a moment. A leak has one for each question. */
  private static final int ON_THEIR_WAY = 1_000;

  /** A leak of the smallest object, once a question. */
  private static final long SMALLEST_LEAK = 16L * QUESTIONS / ROUNDS;

  @Test
  public void manyQuestionsLeaveHeapAndNativeHeapAsTheyWere() throws Exception {
    try (Catalog catalog = opened(ScriptedNetwork.ofAccounts())) {
      ask(catalog, 1_000);  // classes are loaded, caches are filled
      int references = NativeHeap.globalReferences();
      long blocks = NativeHeap.blocks();
      long[] heapGrowth = new long[ROUNDS];
      for (int round = 0; round < ROUNDS; ++round) {
        long heapBefore = heapInUse();
        ask(catalog, QUESTIONS / ROUNDS);
        await("no reference is left", true, () -> NativeHeap.globalReferences() < references + OF_THE_MACHINE);
        heapGrowth[round] = heapInUse() - heapBefore;
      }
      await("questions", 0, catalog::underWay);
      await("no native block is left", true, () -> NativeHeap.blocks() < blocks + ON_THEIR_WAY);
      // Others in the process come and go; what stays of each question would be there in every round.
      assertTrue("heap grows by " + Arrays.toString(heapGrowth), median(heapGrowth) < SMALLEST_LEAK);
      System.out.println("left by " + QUESTIONS + " questions from Java: at most "
          + Math.max(0, median(heapGrowth)) * ROUNDS + " bytes, " + Math.max(0, NativeHeap.blocks() - blocks) + " native blocks");
    }
  }

  private static long median(long[] values) {
    return Arrays.stream(values).sorted().toArray()[ROUNDS / 2];
  }

  @Test
  public void aClosedCatalogueLetsGoOfWhatTheHostGave() throws Exception {
    List<WeakReference<Object>> given = new ArrayList<>();
    openAndClose(given);
    for (WeakReference<Object> object : given) {
      await("objects", true, () -> {
        System.gc();
        return object.get() == null;
      });
    }
  }

  private static void openAndClose(List<WeakReference<Object>> given) throws Exception {
    ScriptedNetwork network = ScriptedNetwork.ofAccounts();
    network.silence(ScriptedNetwork.COLUMNS_URL);
    Logger logger = new Logger() {
      @Override
      public void log(boolean isError, String line) {}
    };
    given.add(new WeakReference<>(network));
    given.add(new WeakReference<>(logger));
    Catalog catalog = new Catalog(new CatalogOptions().network(network).logger(logger));
    catalog.types(List.of("Account")).join();
    CompletableFuture<?> pending = catalog.searchColumns(List.of("Account"));
    given.add(new WeakReference<>(pending));
    Watch watch = catalog.watchTypes(List.of("Account"), answer -> {});
    given.add(new WeakReference<>(watch));
    CompletableFuture<byte[]> request = network.awaitSilent();
    catalog.close();
    request.completeExceptionally(new NetworkException("too late"));
  }

  @Test
  public void theLibrarysThreadsAreNotOnesOfTheVirtualMachineAfterwards() throws Exception {
    CompletableFuture<Thread> caller = new CompletableFuture<>();
    try (Catalog catalog = opened(ScriptedNetwork.ofAccounts())) {
      catalog.watchReadiness(readiness -> caller.complete(Thread.currentThread()));
      Thread thread = caller.join();
      assertEquals("vellora", thread.getName());
      assertTrue("it keeps no program from ending", thread.isDaemon());
    }
    await("threads", 0L, LifetimeTest::threadsOfTheLibrary);
  }

  private static long threadsOfTheLibrary() {
    return Thread.getAllStackTraces().keySet().stream().filter(each -> each.getName().equals("vellora")).count();
  }

  private static Catalog opened(Network network) {
    return new Catalog(new CatalogOptions().network(network).loadLate());
  }

  /** Of every kind of end: answered, cancelled, missing. */
  private static void ask(Catalog catalog, int count) {
    for (int asked = 0; asked < count; asked += AT_ONCE) {
      List<CompletableFuture<?>> futures = new ArrayList<>();
      for (int each = 0; each < AT_ONCE; ++each) {
        CompletableFuture<?> question = catalog.records(List.of("001000000000009", "zzz", ""));
        futures.add(question);
        if (each % 5 == 0) question.cancel(true);
      }
      for (CompletableFuture<?> future : futures) future.handle((answer, error) -> null).join();
    }
  }

  private static long heapInUse() {
    System.gc();
    return Runtime.getRuntime().totalMemory() - Runtime.getRuntime().freeMemory();
  }

  /** What a thread of the library lets go of, it may let go of a moment later. */
  private static <T> void await(String what, T expected, Callable<T> actual) throws Exception {
    long end = System.nanoTime() + TimeUnit.SECONDS.toNanos(120);
    T found = actual.call();
    while (!found.equals(expected) && System.nanoTime() < end) {
      Thread.yield();
      found = actual.call();
    }
    assertEquals(what, expected, found);
  }
}
