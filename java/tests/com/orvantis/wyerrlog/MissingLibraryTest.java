package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.io.ByteArrayOutputStream;
import java.io.PrintStream;
import java.util.logging.Level;
import java.util.logging.LogRecord;

/** Programs that cannot load the native library. */
final class MissingLibraryTest {
  private static final String LIBRARY = "/no/such/libwyerrlog.so";

  public static void main(String[] arguments) throws ReflectiveOperationException {
    System.setProperty(WyLogger.LIBRARY_PROPERTY, LIBRARY);
    System.setProperty("wyerrlog.log.file", path("never.log")); // else no bridge needs the library
    Tests.run(MissingLibraryTest.class);
  }

  /** What is printed on System.err meanwhile. */
  private static String errorsOf(Runnable program) {
    PrintStream before = System.err;
    ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    System.setErr(new PrintStream(bytes, true));
    try {
      program.run();
    } finally {
      System.setErr(before);
    }
    return bytes.toString();
  }

  @Test
  static void theErrorTellsWhatWasTriedAndThePlatformsLoggingGoesOn() {
    try {
      WyLogger.TraceEnabled(null);
      throw new AssertionError("loaded");
    } catch (UnsatisfiedLinkError error) {
      String expected =
          "Cannot load \"" + LIBRARY + "\", which the system property wyerrlog.library names: ";
      check(error.getMessage().startsWith(expected), error.getMessage());
    }

    String handlers =
        errorsOf(() -> new WyLogHandler().publish(new LogRecord(Level.SEVERE, "dropped")));
    check(handlers.contains("WyLogger"), handlers);

    String loggers =
        errorsOf(() -> System.getLogger("x").log(System.Logger.Level.ERROR, "not lost"));
    check(loggers.contains("not lost"), loggers);
  }
}
