package vellora;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Locale;

/**
 * Finds the native library: in the jar for this system and processor, else where the system keeps such libraries.
 *
 * <p><b>Threads:</b> safe to use from several threads at once.
 */
final class NativeLibrary {
  // The second needs the first, and finds it beside itself.
  private static final String[] FILES = {"libvellora-c.so.1", "libvellora-java.so"};

  private static final String FAILURE = failureOf(NativeLibrary::find);  // null: it is loaded

  private NativeLibrary() {}

  /** Throws a VelloraException each time where there is none. */
  static void load() {
    if (FAILURE != null) throw new VelloraException("The native library cannot be loaded: " + FAILURE);
  }

  private interface Finding {
    void find() throws IOException;
  }

  private static String failureOf(Finding finding) {
    try {
      finding.find();
      return null;
    } catch (IOException | RuntimeException | LinkageError failure) {
      return failure.toString();
    }
  }

  private static void find() throws IOException {
    if (NativeLibrary.class.getResource(resource(FILES[1])) == null) {
      System.loadLibrary("vellora-java");
      return;
    }
    loadFromJar();
  }

  private static void loadFromJar() throws IOException {
    Path folder = Files.createTempDirectory("vellora");
    try {
      for (String file : FILES) {
        try (InputStream bytes = NativeLibrary.class.getResourceAsStream(resource(file))) {
          Files.copy(bytes, folder.resolve(file));
        }
      }
      System.load(folder.resolve(FILES[1]).toString());
    } finally {
      for (String file : FILES) Files.deleteIfExists(folder.resolve(file));  // what is loaded stays loaded
      Files.delete(folder);
    }
  }

  private static String resource(String file) {
    String processor = System.getProperty("os.arch").replace("amd64", "x86_64").replace("i386", "i686");
    return "native/" + System.getProperty("os.name").toLowerCase(Locale.ROOT) + "-" + processor + "/" + file;
  }
}
