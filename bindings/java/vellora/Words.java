package vellora;

import java.util.function.Function;

/** Enumerators by the words that stand for them in documents. */
final class Words {
  private Words() {}

  static <E extends Enum<E>> E find(E[] values, Function<E, String> wordOf, String word) {
    for (E value : values) if (wordOf.apply(value).equals(word)) return value;
    throw new IllegalArgumentException("This version does not know the word \"" + word + "\".");
  }
}
