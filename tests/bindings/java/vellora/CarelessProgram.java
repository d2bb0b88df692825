package vellora;

/** What the check of the virtual machine must complain of, behind a dot as JUnit writes one for each test. */
public final class CarelessProgram {
  private CarelessProgram() {}

  public static void main(String[] arguments) {
    System.out.print(".");
    System.out.flush();
    NativeHeap.leakLocalReferences();
  }
}
