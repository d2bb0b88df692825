package vellora;

import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.CharacterCodingException;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/** Texts as C takes and gives them. */
final class Texts {
  private Texts() {}

  /** Refuses a text with half of a surrogate pair, which UTF-8 cannot say. */
  static byte[] utf8(String text, String what) {
    Arguments.given(text, what);
    try {
      ByteBuffer bytes = StandardCharsets.UTF_8.newEncoder().encode(CharBuffer.wrap(text));
      return Arrays.copyOf(bytes.array(), bytes.limit());
    } catch (CharacterCodingException notUnicode) {
      throw new IllegalArgumentException(what + " has half of a surrogate pair.");
    }
  }

  /** The same with a zero at its end, or null for null. Refuses a text with a zero inside. */
  static byte[] zeroEnded(String text, String what) {
    if (text == null) return null;
    if (text.indexOf('\0') >= 0) throw new IllegalArgumentException(what + " has a zero character.");
    byte[] bytes = utf8(text, what);
    return Arrays.copyOf(bytes, bytes.length + 1);
  }

  /** What is not UTF-8 becomes U+FFFD. */
  static String of(byte[] bytes) {
    return bytes == null ? null : new String(bytes, StandardCharsets.UTF_8);
  }
}
