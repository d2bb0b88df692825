package vellora;

import java.util.concurrent.CompletionException;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.function.BiConsumer;

/** Ends a request, once: a stage of the app's may complete more than once, or throw as well. */
final class Reply implements BiConsumer<byte[], Throwable> {
  private final long request;
  private final AtomicBoolean isGiven = new AtomicBoolean();

  Reply(long request) {
    this.request = request;
  }

  @Override
  public void accept(byte[] body, Throwable error) {
    if (!isGiven.compareAndSet(false, true)) return;
    if (body != null && error == null) Native.reply(request, body, null, false, 0);
    else fail(reasonOf(error));
  }

  private void fail(Throwable error) {
    boolean mayRetry = error instanceof NetworkException && ((NetworkException) error).mayRetry();
    double after = mayRetry ? Math.max(0, Arguments.seconds(((NetworkException) error).getRetryAfter())) : 0;
    Native.reply(request, null, textOf(error), mayRetry, after);
  }

  private static Throwable reasonOf(Throwable error) {
    boolean isWrapped = error instanceof CompletionException || error instanceof ExecutionException;
    return isWrapped && error.getCause() != null ? error.getCause() : error;
  }

  private static byte[] textOf(Throwable error) {
    if (error == null) return Texts.zeroEnded("There is no answer.", "The error");
    try {
      String text = error instanceof NetworkException ? error.getMessage() : error.toString();
      return Texts.zeroEnded(text, "The error");
    } catch (Throwable noText) {
      return Texts.zeroEnded(error.getClass().getName(), "The error");
    }
  }
}
