package vellora;

import java.lang.management.ManagementFactory;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.management.ObjectName;

/** What the process holds besides the Java heap. */
final class NativeHeap {
  static {
    System.load(System.getProperty("native.heap"));
  }

  private NativeHeap() {}

  /** How many blocks the native libraries have taken and not given back. */
  static native long blocks();

  /** Makes more references than a call may have. */
  static native void leakLocalReferences();

  /** Throws an IllegalStateException, and calls the virtual machine once more before it returns. */
  static native void callWithAnExceptionPending();

  /** How many objects native code keeps alive. */
  static int globalReferences() throws Exception {
    ObjectName commands = new ObjectName("com.sun.management:type=DiagnosticCommand");
    Object[] noArguments = {new String[0]};
    String[] signature = {String[].class.getName()};
    String told = (String) ManagementFactory.getPlatformMBeanServer().invoke(commands, "threadPrint", noArguments, signature);
    Matcher line = Pattern.compile("JNI global refs: (\\d+)").matcher(told);
    if (!line.find()) throw new AssertionError("the virtual machine does not tell: " + told);
    return Integer.parseInt(line.group(1));
  }
}
