package vellora;

/** Does what the check of the virtual machine must complain of, behind a dot as JUnit writes one for each test. */
public final class CarelessProgram {
  private CarelessProgram() {}

  public static void main(String[] arguments) {
    System.out.print(".");
    System.out.flush();
    NativeHeap.leakLocalReferences();
    try {
      NativeHeap.callWithAnExceptionPending();
    } catch (IllegalStateException pending) {
      // it was thrown for that call alone
    }
  }
}
