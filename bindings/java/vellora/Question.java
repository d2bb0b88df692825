package vellora;

import java.util.Set;
import java.util.concurrent.CompletableFuture;

/** A question that is on its way. Whatever completes it, such as {@code cancel}, ends it in the library as well. */
final class Question<A> extends AnswerStage<A> implements Listener {
  private final Kind<A> kind;
  private final Handle handle = new Handle();

  /** One that is in {@code open} until it has ended. */
  Question(Kind<A> kind, Set<CompletableFuture<?>> open) {
    this.kind = kind;
    open.add(this);
    whenComplete((answer, error) -> {
      open.remove(this);
      handle.end();
    });
  }

  void begin(long question) {
    handle.begin(question);
  }

  @Override
  public void answered(byte[] document) {
    A answer;
    try {
      answer = kind.read(document);
    } catch (Throwable unreadable) {
      completeExceptionally(unreadable);
      return;
    }
    complete(answer);
  }

  @Override
  public void failed(String reason) {
    completeExceptionally(new VelloraException(reason));
  }
}
