package vellora;

import java.io.ByteArrayOutputStream;
import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;
import java.util.Set;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.ConcurrentHashMap;
import java.util.function.Consumer;

/**
 * Answers questions about the object types of a business-records server, from the cache while that is fresh.
 *
 * <pre>{@code
 * try (Catalog catalog = new Catalog(new CatalogOptions().server("https://records.example"))) {
 *   catalog.records(List.of(id)).thenAccept(answer -> show(answer.getFound().get(id))).join();
 * }
 * }</pre>
 *
 * <p>Each question ends, at its deadline at the latest. Each key is in {@link Answer#getFound} or in {@link
 * Answer#getMissing}, with the reason. {@code cancel} of the future that a method returns gives the question up; that of a
 * future made of it does not.
 *
 * <p><b>Ownership:</b> it keeps native memory, a cache and connections until it is closed. The garbage collector does not
 * close it.
 *
 * <p><b>Threads:</b> safe to use from several threads at once. Futures complete on a thread of the catalogue's, one at a
 * time, and so do the stages that are made of them without {@code Async}: what takes long belongs elsewhere. Waiting for
 * another answer there throws an IllegalStateException.
 *
 * <p><b>Errors:</b> an IllegalArgumentException for null and for what the library refuses, an IllegalStateException once it
 * is closed, a {@link VelloraException} for what is none of these, such as a native library that cannot be loaded: it is
 * unpacked into the folder that {@code java.io.tmpdir} names, which must allow it to be executed.
 */
public final class Catalog implements AutoCloseable {
  private final Set<CompletableFuture<?>> open = ConcurrentHashMap.newKeySet();
  private final Set<Watch> watches = ConcurrentHashMap.newKeySet();
  private final Lifetime lifetime;

  /** Begins to load both lists, unless the options say otherwise. */
  public Catalog(CatalogOptions options) {
    Arguments.given(options, "The options");
    NativeLibrary.load();
    byte[][] texts = {
      Texts.zeroEnded(options.server, "The server"), Texts.zeroEnded(options.caFile, "The file of authorities"),
      Texts.zeroEnded(options.cacheFile, "The cache file"),
      Texts.zeroEnded(options.cacheOwner, "The owner of the cache"), Texts.zeroEnded(options.theme, "The theme")
    };
    lifetime = new Lifetime(Native.open(texts, Arguments.seconds(options.cacheTimeout), options.attempts,
        options.allowsTokenOverPlainHttp, options.loadsLate, options.network, options.token, options.cache, options.logger));
  }

  /** The version of the native library, such as "0.1.0". */
  public static String version() {
    NativeLibrary.load();
    return Native.version();
  }

  /** What are the records with these ids? */
  public CompletableFuture<Answer<ObjectPresentationInfo>> records(Collection<String> ids) {
    return records(ids, new QuestionOptions());
  }

  public CompletableFuture<Answer<ObjectPresentationInfo>> records(Collection<String> ids, QuestionOptions options) {
    return ask(Kind.RECORDS, ids, null, options);
  }

  /** What do the object types with these API names look like? */
  public CompletableFuture<Answer<ObjectPresentationInfo>> types(Collection<String> names) {
    return types(names, new QuestionOptions());
  }

  public CompletableFuture<Answer<ObjectPresentationInfo>> types(Collection<String> names, QuestionOptions options) {
    return ask(Kind.TYPES, names, null, options);
  }

  /** Which object types are there with these words in label, plural or name? All of them for an empty text. */
  public CompletableFuture<Answer<ObjectPresentationInfo>> allTypes(String filter) {
    return allTypes(filter, new QuestionOptions());
  }

  public CompletableFuture<Answer<ObjectPresentationInfo>> allTypes(String filter, QuestionOptions options) {
    return ask(Kind.ALL_TYPES, Collections.emptyList(), Arguments.given(filter, "The filter"), options);
  }

  /** Which columns do search results of these object types show? */
  public CompletableFuture<Answer<ObjectLayoutInfo>> searchColumns(Collection<String> names) {
    return searchColumns(names, new QuestionOptions());
  }

  public CompletableFuture<Answer<ObjectLayoutInfo>> searchColumns(Collection<String> names, QuestionOptions options) {
    return ask(Kind.SEARCH_COLUMNS, names, null, options);
  }

  /** Which fields head the records of these object types? */
  public CompletableFuture<Answer<ObjectCompactLayoutInfo>> headlines(Collection<String> names) {
    return headlines(names, new QuestionOptions());
  }

  public CompletableFuture<Answer<ObjectCompactLayoutInfo>> headlines(Collection<String> names, QuestionOptions options) {
    return ask(Kind.HEADLINES, names, null, options);
  }

  /** Fetches both lists anew, whatever their age. What has changed? */
  public CompletableFuture<Answer<TypeChange>> refresh() {
    return refresh(new QuestionOptions());
  }

  public CompletableFuture<Answer<TypeChange>> refresh(QuestionOptions options) {
    return ask(Kind.REFRESH, Collections.emptyList(), null, options);
  }

  /** Hands the first answer of {@link #records} to {@code consumer}, then each that differs after a refresh. */
  public Watch watchRecords(Collection<String> ids, Consumer<? super Answer<ObjectPresentationInfo>> consumer) {
    return watch(Kind.RECORDS, ids, null, consumer);
  }

  /** The same of {@link #types}. */
  public Watch watchTypes(Collection<String> names, Consumer<? super Answer<ObjectPresentationInfo>> consumer) {
    return watch(Kind.TYPES, names, null, consumer);
  }

  /** The same of {@link #allTypes}. */
  public Watch watchAllTypes(String filter, Consumer<? super Answer<ObjectPresentationInfo>> consumer) {
    return watch(Kind.ALL_TYPES, Collections.emptyList(), Arguments.given(filter, "The filter"), consumer);
  }

  /** The same of {@link #searchColumns}. */
  public Watch watchSearchColumns(Collection<String> names, Consumer<? super Answer<ObjectLayoutInfo>> consumer) {
    return watch(Kind.SEARCH_COLUMNS, names, null, consumer);
  }

  /** The same of {@link #headlines}. */
  public Watch watchHeadlines(Collection<String> names, Consumer<? super Answer<ObjectCompactLayoutInfo>> consumer) {
    return watch(Kind.HEADLINES, names, null, consumer);
  }

  /** Hands the present state to {@code consumer}, then each that follows. */
  public Watch watchReadiness(Consumer<? super Readiness> consumer) {
    return watch(Kind.READINESS, Collections.emptyList(), null, consumer);
  }

  /** Whether both lists are there, at this moment. */
  public Readiness readiness() {
    return Kind.READINESS.read(lifetime.use(Native::state));
  }

  /** Gives all questions up, as cancelled, and deletes what the library has written into the cache: for a sign-out. */
  public void forget() {
    lifetime.use(catalog -> {
      Native.forget(catalog);
      return null;
    });
  }

  /**
   * Lets go of what is only remembered, as when the system is short of memory. Nothing is lost, and questions under way go
   * on; the next one that needs a list decodes it once more.
   */
  public void releaseMemory() {
    lifetime.use(catalog -> {
      Native.releaseMemory(catalog);
      return null;
    });
  }

  /**
   * Gives all questions up: their futures are cancelled when it returns, and nothing is called any more. It waits for a
   * call that runs, unless it is called from inside it. A second time does nothing. A host's function must not close a
   * catalogue, and is refused.
   */
  @Override
  public void close() {
    lifetime.close();
    for (CompletableFuture<?> question : open) question.cancel(false);
    for (Watch watch : watches) watch.close();
  }

  /** How many questions are on their way and how many watches are open. */
  int underWay() {
    return open.size() + watches.size();
  }

  private <A> CompletableFuture<A> ask(Kind<A> kind, Collection<String> keys, String filter, QuestionOptions options) {
    Question<A> question = new Question<>(kind, open);
    try {
      question.begin(begun(kind, keys, filter, options, false, question));
    } catch (Throwable refused) {
      question.cancel(false);
      throw refused;
    }
    return question;
  }

  private <A> Watch watch(Kind<A> kind, Collection<String> keys, String filter, Consumer<? super A> consumer) {
    Listener calls = new Watch.Calls<>(kind, Arguments.given(consumer, "The consumer"));
    Watch watch = new Watch(watches);
    try {
      watch.begin(begun(kind, keys, filter, new QuestionOptions(), true, calls));
    } catch (Throwable refused) {
      watch.close();
      throw refused;
    }
    return watch;
  }

  private long begun(Kind<?> kind, Collection<String> keys, String filter, QuestionOptions options, boolean watches,
      Listener listener) {
    Arguments.given(keys, "The collection of keys");
    Arguments.given(options, "The options of the question");
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    int[] lengths = new int[keys.size()];
    int count = 0;
    for (String key : keys) {
      byte[] encoded = Texts.key(key);
      bytes.write(encoded, 0, encoded.length);
      if (count == lengths.length) lengths = Arrays.copyOf(lengths, 2 * count + 1);  // it grows meanwhile
      lengths[count++] = encoded.length;
    }
    int[] all = count == lengths.length ? lengths : Arrays.copyOf(lengths, count);
    byte[] theme = Texts.zeroEnded(options.theme, "The theme");
    byte[] words = filter == null ? null : Texts.utf8(filter, "The filter");
    double deadline = Arguments.seconds(options.deadline);
    return lifetime.use(catalog -> Native.ask(catalog, kind.number, bytes.toByteArray(), all, deadline,
        options.source.ordinal(), theme, words, watches, listener));
  }
}
