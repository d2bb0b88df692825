package vellora;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Locale;

/** Finds the native library: in the jar for this system and processor, else where the system keeps such libraries. */
final class NativeLibrary {
  // The second needs the first, and finds it beside itself.
  private static final String[] FILES = {"libvellora-c.so.1", "libvellora-java.so"};

  private NativeLibrary() {}

  static void load() {
    if (NativeLibrary.class.getResource(resource(FILES[1])) == null) {
      System.loadLibrary("vellora-java");
      return;
    }
    try {
      loadFromJar();
    } catch (IOException failure) {
      throw new VelloraException("The native library cannot be unpacked: " + failure.getMessage());
    }
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
    String processor = System.getProperty("os.arch").replace("amd64", "x86_64");
    return "native/" + System.getProperty("os.name").toLowerCase(Locale.ROOT) + "-" + processor + "/" + file;
  }
}
