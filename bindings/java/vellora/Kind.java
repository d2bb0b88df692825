package vellora;

import java.util.function.Function;

/**
 * A kind of question: its number in C, and what reads its answer. A further kind is one more line here, and its method
 * of {@link Catalog}.
 */
final class Kind<A> {
  static final Kind<Answer<ObjectPresentationInfo>> RECORDS = answered(1, ObjectPresentationInfo::read);
  static final Kind<Answer<ObjectPresentationInfo>> TYPES = answered(2, ObjectPresentationInfo::read);
  static final Kind<Answer<ObjectPresentationInfo>> ALL_TYPES = answered(3, ObjectPresentationInfo::read);
  static final Kind<Answer<ObjectLayoutInfo>> SEARCH_COLUMNS = answered(4, ObjectLayoutInfo::read);
  static final Kind<Answer<ObjectCompactLayoutInfo>> HEADLINES = answered(5, ObjectCompactLayoutInfo::read);
  static final Kind<Answer<TypeChange>> REFRESH = answered(6, TypeChange::read);
  static final Kind<Readiness> READINESS = new Kind<>(7, Readiness::read);

  final int number;
  private final Function<JsonReader, A> reader;

  private Kind(int number, Function<JsonReader, A> reader) {
    this.number = number;
    this.reader = reader;
  }

  private static <T> Kind<Answer<T>> answered(int number, Function<JsonReader, T> content) {
    return new Kind<>(number, AnswerReader.of(content));
  }

  A read(byte[] document) {
    return JsonReader.whole(document, reader);
  }
}
