package vellora;

import static org.junit.Assert.assertEquals;

import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.Test;

/** How a virtual machine begins and ends with the library, in one of its own. */
public final class ProcessTest {
  /** Ends with a catalogue open, a question under way and a watch. */
  public static final class EndsOpen {
    private EndsOpen() {}

    public static void main(String[] arguments) throws Exception {
      ScriptedNetwork network = ScriptedNetwork.ofAccounts();
      network.silence(ScriptedNetwork.COLUMNS_URL);
      Catalog catalog = new Catalog(new CatalogOptions().network(network).cache(new MapCache()).logger((isError, line) -> {}));
      catalog.watchReadiness(readiness -> {});
      catalog.searchColumns(List.of("Account"));
      network.awaitSilent();
      System.out.println("ends");
      if (arguments.length > 0) System.exit(Integer.parseInt(arguments[0]));
    }
  }

  /** Tells what comes of a library that cannot be loaded, twice. */
  public static final class LacksLibrary {
    private LacksLibrary() {}

    public static void main(String[] arguments) {
      for (int time = 0; time < 2; ++time) {
        try {
          System.out.println(time == 0 ? Catalog.version() : new Catalog(new CatalogOptions()));
        } catch (VelloraException missing) {
          System.out.println(missing.getMessage().split(":")[0]);
        }
      }
    }
  }

  @Test
  public void aProgramMayEndWithAllOfItOpen() throws Exception {
    assertEquals("ends\n0", outcomeOf(List.of(), EndsOpen.class));
    assertEquals("ends\n7", outcomeOf(List.of(), EndsOpen.class, "7"));
  }

  @Test
  public void aLibraryThatCannotBeLoadedIsTheSameExceptionEachTime() throws Exception {
    String told = "The native library cannot be loaded\n";
    assertEquals(told + told + "0", outcomeOf(List.of("-Djava.io.tmpdir=/no/such/folder"), LacksLibrary.class));
  }

  private static String outcomeOf(List<String> options, Class<?> program, String... arguments) throws Exception {
    List<String> command = new ArrayList<>();
    command.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
    command.addAll(options);
    command.addAll(List.of("-cp", System.getProperty("java.class.path"), program.getName()));
    command.addAll(List.of(arguments));
    Process process = new ProcessBuilder(command).redirectErrorStream(true).start();
    String output = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
    return output + process.waitFor();
  }
}
