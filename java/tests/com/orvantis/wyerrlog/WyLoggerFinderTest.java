package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.lang.System.Logger.Level;
import java.util.List;
import java.util.ListResourceBundle;
import java.util.ResourceBundle;

/** A program that logs with System.Logger, and what its system properties make of it. */
final class WyLoggerFinderTest {
  public static void main(String[] arguments) throws ReflectiveOperationException {
    System.setProperty("wyerrlog.log.file", path("system.log"));
    System.setProperty("wyerrlog.trace.file", path("system.trace"));
    System.setProperty("wyerrlog.trace.config",
        write("system.conf", "components Login_Logout", "data SrcFile Function Message"));
    System.setProperty("wyerrlog.trace.component", "0x03010000");
    System.setProperty("wyerrlog.level", "DEBUG");
    System.setProperty("wyerrlog.place", "class");
    Tests.run(WyLoggerFinderTest.class);
  }

  private static final class Words extends ListResourceBundle {
    @Override
    protected Object[][] getContents() {
      return new Object[][] {{"greeting", "hello {0}"}};
    }
  }

  @Test
  static void recordsGoToTheErrorLogAndTheTraceByTheirLevels() {
    System.Logger logger = System.getLogger("program");
    System.Logger translated = System.getLogger("translated", new Words());
    logger.log(Level.ERROR, "it failed", new Exception("reason"));
    logger.log(Level.WARNING, "{0} of {1}", 1, "two");
    logger.log(Level.INFO, () -> "supplied");
    translated.log(Level.INFO, "greeting", "bob");
    translated.log(Level.INFO, "{unknown", "bob");
    logger.log(Level.DEBUG, "looking at {0}", "x");
    logger.log(Level.TRACE, "below the level");
    logger.log(Level.OFF, "never");

    checkEqual("program", logger.getName());
    check(logger.isLoggable(Level.DEBUG), "debug is traced");
    check(!logger.isLoggable(Level.TRACE), "trace is below the level");
    String location = "[" + WyLoggerFinderTest.class.getName() + "]";
    List<String> messages =
        messages("system.log").stream().filter(line -> line.startsWith("[")).toList();
    checkEqual(
        List.of(location + "[ERROR][wy-log-00000] it failed",
            location + "[WARNING][wy-log-00000] 1 of two",
            location + "[INFO][wy-log-00000] supplied", location + "[INFO][wy-log-00000] hello bob",
            location + "[INFO][wy-log-00000] {unknown"),
        messages);
    checkEqual("\tjava.lang.Exception: reason", lines("system.log").get(1));
    String method = "recordsGoToTheErrorLogAndTheTraceByTheirLevels";
    checkEqual(List.of(location + "[" + method + "][looking at x]"), records("system.trace"));
  }
}
