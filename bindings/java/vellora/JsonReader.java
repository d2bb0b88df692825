package vellora;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.function.Function;
import java.util.function.Predicate;

/**
 * Reads the JSON that the library writes, value by value, without a tree of it. Whoever reads knows
 * what comes; anything else is an IllegalArgumentException.
 */
final class JsonReader {
  private static final int MAXIMUM_DEPTH = 512;

  private final byte[] json;
  private int at;
  private int depth;

  private JsonReader(byte[] json) {
    this.json = json;
  }

  static <T> T whole(String json, Function<JsonReader, T> read) {
    if (json == null) throw new IllegalArgumentException("The JSON is null.");
    return whole(json.getBytes(StandardCharsets.UTF_8), read);
  }

  static <T> T whole(byte[] json, Function<JsonReader, T> read) {
    JsonReader reader = new JsonReader(json);
    try {
      T value = read.apply(reader);
      reader.skipBlanks();
      if (reader.at != json.length) throw reader.wrong("its end");
      return value;
    } catch (ArrayIndexOutOfBoundsException beyondTheEnd) {
      throw reader.wrong("more");
    }
  }

  static <T> T required(T value, String key) {
    if (value == null) throw new IllegalArgumentException("The JSON lacks \"" + key + "\".");
    return value;
  }

  /** Hands each key to {@code member}, which reads its value, or returns false to have it skipped. */
  void object(Predicate<String> member) {
    begin('{');
    while (isNext('}')) {
      String key = text();
      expect(':');
      if (!member.test(key)) skip();
    }
    --depth;
  }

  <T> List<T> list(Function<JsonReader, T> read) {
    List<T> values = new ArrayList<>();
    begin('[');
    while (isNext(']')) values.add(read.apply(this));
    --depth;
    return Collections.unmodifiableList(values);
  }

  <T> T orNull(Function<JsonReader, T> read) {
    if (peek() != 'n') return read.apply(this);
    word("null");
    return null;
  }

  Boolean bool() {
    boolean value = peek() == 't';
    word(value ? "true" : "false");
    return value;
  }

  Long integer() {
    return number(Long::valueOf);
  }

  Double number() {
    return number(Double::valueOf);
  }

  String text() {
    expect('"');
    int begin = at;
    while (json[at] != '"' && json[at] != '\\') ++at;
    String text = new String(json, begin, at - begin, StandardCharsets.UTF_8);
    return json[at++] == '"' ? text : textWithEscapes(new StringBuilder(text));
  }

  private String textWithEscapes(StringBuilder text) {
    while (true) {
      text.append(escaped());
      int begin = at;
      while (json[at] != '"' && json[at] != '\\') ++at;
      text.append(new String(json, begin, at - begin, StandardCharsets.UTF_8));
      if (json[at++] == '"') return text.toString();
    }
  }

  private char escaped() {
    char letter = (char) json[at++];
    switch (letter) {
      case 'b':
        return '\b';
      case 'f':
        return '\f';
      case 'n':
        return '\n';
      case 'r':
        return '\r';
      case 't':
        return '\t';
      case '"':
      case '\\':
      case '/':
        return letter;
      case 'u':
        int code = 0;
        for (int end = at + 4; at < end; ++at) {
          int digit = Character.digit(json[at], 16);
          if (digit < 0) throw wrong("a hexadecimal digit");
          code = code * 16 + digit;
        }
        return (char) code;
      default:
        throw wrong("an escape");
    }
  }

  private <T> T number(Function<String, T> parse) {
    skipBlanks();
    int begin = at;
    while (at < json.length && "+-.0123456789eE".indexOf(json[at]) >= 0) ++at;
    try {
      return parse.apply(new String(json, begin, at - begin, StandardCharsets.US_ASCII));
    } catch (NumberFormatException notOne) {
      throw wrong("a number");
    }
  }

  void skip() {
    switch (peek()) {
      case '{':
        object(key -> false);
        break;
      case '[':
        list(JsonReader::skipped);
        break;
      case '"':
        text();
        break;
      case 'n':
        word("null");
        break;
      case 't':
      case 'f':
        bool();
        break;
      default:
        number();
    }
  }

  private Object skipped() {
    skip();
    return null;
  }

  private void begin(char mark) {
    expect(mark);
    if (++depth > MAXIMUM_DEPTH) throw wrong("less depth");
  }

  /** Whether another element comes; steps over the comma before it, or over the end. */
  private boolean isNext(char end) {
    boolean isFirst = json[at - 1] == (end == '}' ? '{' : '[');
    byte next = peek();
    if (next == end) ++at;
    else if (!isFirst) expect(',');
    return next != end;
  }

  private void word(String word) {
    skipBlanks();
    for (int index = 0; index < word.length(); ++index, ++at)
      if (json[at] != word.charAt(index)) throw wrong(word);
  }

  private void expect(char mark) {
    if (peek() != mark) throw wrong("'" + mark + "'");
    ++at;
  }

  private byte peek() {
    skipBlanks();
    return json[at];
  }

  private void skipBlanks() {
    while (at < json.length && (json[at] == ' ' || json[at] == '\n' || json[at] == '\r' || json[at] == '\t')) ++at;
  }

  private IllegalArgumentException wrong(String expected) {
    return new IllegalArgumentException("Not the JSON of the library: at byte " + at + " it should have " + expected + ".");
  }
}
