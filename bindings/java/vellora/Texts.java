package vellora;

import java.io.ByteArrayOutputStream;
import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.CharacterCodingException;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/** Texts as C takes and gives them. */
final class Texts {
  private static final byte[] NO_UTF8 = {(byte) 0xFF};

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

  /** A key as it is: the library refuses one that is not UTF-8, as which half of a surrogate pair becomes a byte that isn't. */
  static byte[] key(String key) {
    Arguments.given(key, "A key");
    byte[] bytes = key.getBytes(StandardCharsets.UTF_8);
    if (key.codePoints().noneMatch(Texts::isHalf)) return bytes;
    ByteArrayOutputStream parts = new ByteArrayOutputStream();
    key.codePoints().forEach(point -> {
      byte[] part = isHalf(point) ? NO_UTF8 : new String(Character.toChars(point)).getBytes(StandardCharsets.UTF_8);
      parts.write(part, 0, part.length);
    });
    return parts.toByteArray();
  }

  private static boolean isHalf(int codePoint) {
    return codePoint >= Character.MIN_SURROGATE && codePoint <= Character.MAX_SURROGATE;
  }

  /** What is not UTF-8 becomes U+FFFD. */
  static String of(byte[] bytes) {
    return bytes == null ? null : new String(bytes, StandardCharsets.UTF_8);
  }
}
