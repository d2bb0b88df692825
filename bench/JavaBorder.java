import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import vellora.Answer;
import vellora.Catalog;
import vellora.CatalogOptions;
import vellora.ObjectPresentationInfo;

/**
 * What a question from Java takes, beside a bare call across the border.
 *
 * <p>java -cp vellora.jar JavaBorder.java SERVER REPETITIONS
 *
 * <p>Each figure is the median of the repetitions, after as many that warm the virtual machine up.
 */
public final class JavaBorder {
  private static final int IDS = 1_000;
  private static final int CALLS = 10_000;

  private JavaBorder() {}

  public static void main(String[] arguments) {
    int repetitions = Integer.parseInt(arguments[1]);
    List<String> ids = new ArrayList<>();
    for (int number = 0; number < IDS; ++number) ids.add(String.format("001%012d", number));
    try (Catalog catalog = new Catalog(new CatalogOptions().server(arguments[0]))) {
      report("records of 1,000 warm ids of one type, from Java, ms", 1e6, repetitions, () -> ask(catalog, ids));
      report("one warm id, from Java, µs", 1e3, repetitions, () -> ask(catalog, ids.subList(0, 1)));
    }
    report("a bare call from Java to C that gives a short text, ns", CALLS, repetitions, () -> {
      for (int call = 0; call < CALLS; ++call) Catalog.version();
    });
  }

  private static void ask(Catalog catalog, List<String> ids) {
    Answer<ObjectPresentationInfo> answer = catalog.records(ids).join();
    if (answer.getFound().size() != ids.size()) throw new IllegalStateException("an id was not found: " + answer);
  }

  private static void report(String what, double unit, int repetitions, Runnable work) {
    for (int warming = 0; warming < repetitions; ++warming) work.run();
    long[] nanoseconds = new long[repetitions];
    for (int each = 0; each < repetitions; ++each) {
      long begin = System.nanoTime();
      work.run();
      nanoseconds[each] = System.nanoTime() - begin;
    }
    Arrays.sort(nanoseconds);
    System.out.printf("| %s | %.3g |%n", what, nanoseconds[repetitions / 2] / unit);
  }
}
