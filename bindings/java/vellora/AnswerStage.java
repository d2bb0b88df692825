package vellora;

import java.util.concurrent.CompletableFuture;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;

/**
 * A question, or what is made of its answer. It refuses to be waited for on a thread that the library calls on: the answer,
 * also that of the deadline, would come on that very thread.
 */
class AnswerStage<T> extends CompletableFuture<T> {
  @Override
  public T get() throws InterruptedException, ExecutionException {
    refuseToWait();
    return super.get();
  }

  @Override
  public T get(long timeout, TimeUnit unit) throws InterruptedException, ExecutionException, TimeoutException {
    refuseToWait();
    return super.get(timeout, unit);
  }

  @Override
  public T join() {
    refuseToWait();
    return super.join();
  }

  @Override
  public <U> CompletableFuture<U> newIncompleteFuture() {
    return new AnswerStage<>();
  }

  private void refuseToWait() {
    if (Calls.areOnThisThread() && !isDone())
      throw new IllegalStateException("Waiting inside a call of the library's blocks what the answer needs.");
  }
}
