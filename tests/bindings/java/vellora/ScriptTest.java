package vellora;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CancellationException;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CompletionException;
import java.util.concurrent.LinkedBlockingQueue;
import org.junit.After;
import org.junit.Test;

/** The script that every language's binding runs. */
public final class ScriptTest {
  private static final Duration NO_DEADLINE = Duration.ofMinutes(10);
  private static final int MOST_LEFT_OUT = 1;

  private ScriptedNetwork network;
  private Catalog catalog;
  private BlockingQueue<String> watched;
  private String kept;
  private int expectations;
  private int left;
  private boolean isWithoutUs;

  @After
  public void closeTheLast() {
    if (catalog != null) catalog.close();
  }

  @Test
  public void comesToWhatTheScriptSays() throws Exception {
    int number = 0;
    for (String line : script()) {
      ++number;
      if (line.isEmpty() || line.startsWith("#")) continue;
      String[] words = line.split(" ", 2);
      if (words[0].equals("case")) isWithoutUs = false;
      if (!isWithoutUs) perform("line " + number, words[0], words.length > 1 ? words[1] : "");
      else if (words[0].equals("expect")) ++left;
    }
    long there = script().stream().filter(line -> line.startsWith("expect")).count();
    assertEquals(there, expectations + left);
    assertTrue(left + " were left out", left <= MOST_LEFT_OUT);
  }

  private static List<String> script() throws IOException {
    return Files.readAllLines(Path.of(System.getProperty("script")));
  }

  private void perform(String where, String word, String rest) throws Exception {
    String[] parts = rest.split(" ", 2);
    String second = parts.length > 1 ? parts[1] : "";
    switch (word) {
      case "case":
        begin();
        break;
      case "without":
        isWithoutUs = List.of(rest.split(" ")).contains("java");
        break;
      case "server":
        network.answer(parts[0], second);
        break;
      case "refuses":
        network.refuse(parts[0], new NetworkException(second));
        break;
      case "busy":
        network.beBusyOnce(parts[0], new NetworkException(second, Duration.ZERO));
        break;
      case "silent":
        network.silence(parts[0]);
        break;
      case "ask":
        kept = new Asked(rest).ask().join();
        break;
      case "listen":
        kept = listen(new Asked(rest));
        break;
      case "cancel":
        kept = giveUp(new Asked(rest), false);
        break;
      case "close":
        kept = giveUp(new Asked(rest), true);
        break;
      case "watch":
        watched = new LinkedBlockingQueue<>();
        new Asked(rest).watch(watched);
        kept = watched.take();
        break;
      case "again":
        kept = watched.take();
        break;
      case "state":
        kept = Documents.of(catalog.readiness());
        break;
      case "forget":
        catalog.forget();
        break;
      case "release":
        catalog.releaseMemory();
        break;
      case "sent":
        kept = String.join(" ", network.takeSent());
        break;
      case "expect":
        ++expectations;
        assertEquals(where, rest, kept.replaceAll("\"fetched\":\"[^\"]*\"", "\"fetched\":\"T\""));
        break;
      default:
        throw new AssertionError(where + ": there is no word " + word);
    }
  }

  private void begin() {
    closeTheLast();
    network = new ScriptedNetwork();
    catalog = new Catalog(new CatalogOptions().network(network).loadLate().attempts(2));
  }

  private static String listen(Asked asked) throws InterruptedException {
    BlockingQueue<String> told = new LinkedBlockingQueue<>();
    asked.ask().thenAccept(told::add);
    return told.take();
  }

  private String giveUp(Asked asked, boolean closes) throws InterruptedException {
    BlockingQueue<String> told = new LinkedBlockingQueue<>();
    CompletableFuture<?> question = asked.question();
    CompletableFuture<Void> after = question.thenAccept(answer -> told.add(answer.toString()));
    network.awaitSilent();
    if (closes) catalog.close();
    else question.cancel(true);
    assertTrue(question.isCancelled());
    assertTrue(after.isCompletedExceptionally());
    try {
      after.join();
    } catch (CancellationException | CompletionException cancelled) {
      return told.isEmpty() ? "nothing" : told.take();
    }
    throw new AssertionError("it was not given up");
  }

  /** A kind of question, its keys and its options, as a line names them. */
  private final class Asked {
    private final String kind;
    private final List<String> keys = new ArrayList<>();
    private final QuestionOptions options = new QuestionOptions().deadline(NO_DEADLINE);
    private String filter = "";

    Asked(String line) {
      String[] words = line.split(" ");
      kind = words[0];
      for (int index = 1; index < words.length; ++index) {
        if (words[index].startsWith("@")) takeOption(words[index].substring(1).split("=", 2));
        else keys.add(words[index].equals("(empty)") ? "" : unquoted(words[index]));
      }
    }

    private void takeOption(String[] option) {
      switch (option[0]) {
        case "deadline":
          options.deadline(Duration.ofMillis((long) (Double.parseDouble(option[1]) * 1000)));
          break;
        case "source":
          options.source(Source.valueOf(option[1].replaceAll("([A-Z])", "_$1").toUpperCase(Locale.ROOT)));
          break;
        case "theme":
          options.theme(option[1]);
          break;
        case "filter":
          filter = option[1];
          break;
        default:
          throw new AssertionError("there is no option " + option[0]);
      }
    }

    CompletableFuture<?> question() {
      switch (kind) {
        case "records":
          return catalog.records(keys, options);
        case "types":
          return catalog.types(keys, options);
        case "allTypes":
          return catalog.allTypes(filter, options);
        case "searchColumns":
          return catalog.searchColumns(keys, options);
        case "headlines":
          return catalog.headlines(keys, options);
        case "refresh":
          return catalog.refresh(options);
        default:
          throw new AssertionError("there is no kind " + kind);
      }
    }

    CompletableFuture<String> ask() {
      return question().thenApply(answer -> Documents.of(kind, (Answer<?>) answer));
    }

    void watch(BlockingQueue<String> told) {
      if (kind.equals("readiness")) {
        catalog.watchReadiness(readiness -> told.add(Documents.of(readiness)));
        return;
      }
      assertEquals("types", kind);
      catalog.watchTypes(keys, answer -> told.add(Documents.of(kind, answer)));
    }
  }

  /** %XX is the byte with that number; one that no UTF-8 has stands as half of a surrogate pair. */
  private static String unquoted(String word) {
    StringBuilder text = new StringBuilder();
    for (int at = 0; at < word.length(); ++at) {
      if (word.charAt(at) != '%') {
        text.append(word.charAt(at));
        continue;
      }
      int code = Integer.parseInt(word.substring(at + 1, at + 3), 16);
      text.append(code < 0x80 ? (char) code : (char) (Character.MIN_LOW_SURROGATE + code));
      at += 2;
    }
    return text.toString();
  }
}
