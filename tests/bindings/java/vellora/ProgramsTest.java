package vellora;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import java.io.ByteArrayOutputStream;
import java.io.PrintStream;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.tools.ToolProvider;
import org.junit.ClassRule;
import org.junit.Test;
import org.junit.rules.TemporaryFolder;

/** The programs that the documents show, as somebody who tries them compiles and runs them, beside a demo server. */
public final class ProgramsTest {
  private static final String SERVER = System.getProperty("records.server");
  private static final Path ROOT = Path.of(System.getProperty("root"));
  private static final int MOST_LINES = 10;

  @ClassRule
  public static final TemporaryFolder FOLDER = new TemporaryFolder();

  @Test
  public void theQuickstartTellsWhatTheRecordIsOrWhyItCannot() throws Exception {
    String readme = Files.readString(ROOT.resolve("bindings/java/README.md"));
    Matcher program = Pattern.compile("```java\n(import.*?)^```$", Pattern.MULTILINE | Pattern.DOTALL).matcher(readme);
    assertTrue("the README has a program", program.find());
    String[] lines = program.group(1).split("public class Quickstart \\{\n")[1].split("\n");
    assertTrue("it has " + lines.length + " lines", lines.length <= MOST_LINES);
    Files.writeString(FOLDER.getRoot().toPath().resolve("Quickstart.java"), program.group(1));
    compile(FOLDER.getRoot().toPath().resolve("Quickstart.java"));

    assertEquals("Account\n", output("Quickstart", SERVER));
    // On a very busy machine the deadline may come before the last attempt.
    String told = output("Quickstart", "http://127.0.0.1:1");
    assertTrue(told, told.matches("001000000000009: (could not be asked: .+|timed out)\n"));
  }

  @Test
  public void theHostOverTheJdksHttpClientAsksTheServer() throws Exception {
    compile(ROOT.resolve("examples/java-own-host/OwnHost.java"));

    assertEquals("Account\n", output("OwnHost", SERVER, "001000000000009"));
    assertEquals("zzz: unknown to the server\n", output("OwnHost", SERVER, "zzz"));
    assertEquals("001000000000009: could not be asked: The server answers 404. (/services/data/v50.0/sobjects)\n",
        output("OwnHost", SERVER + "/nowhere", "001000000000009"));
  }

  private static void compile(Path source) {
    String classPath = System.getProperty("java.class.path");
    int code = ToolProvider.getSystemJavaCompiler().run(null, System.out, System.out, "--release", "11", "-Xlint:all",
        "-Werror", "-cp", classPath, "-d", FOLDER.getRoot().toString(), source.toString());
    assertEquals(source.toString(), 0, code);
  }

  private static String output(String program, String... arguments) throws Exception {
    ByteArrayOutputStream written = new ByteArrayOutputStream();
    PrintStream before = System.out;
    System.setOut(new PrintStream(written, true));
    try (URLClassLoader loader = new URLClassLoader(new URL[] {FOLDER.getRoot().toURI().toURL()})) {
      loader.loadClass(program).getMethod("main", String[].class).invoke(null, (Object) arguments);
    } finally {
      System.setOut(before);
    }
    return written.toString();
  }
}
