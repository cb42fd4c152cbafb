package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.io.FileInputStream;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.logging.ErrorManager;
import java.util.logging.Level;
import java.util.logging.LogManager;
import java.util.logging.LogRecord;
import java.util.logging.Logger;

/** Programs that log with java.util.logging, and what their configuration makes of it. */
final class WyLogHandlerTest {
  private static final String HANDLER = "com.orvantis.wyerrlog.WyLogHandler";

  public static void main(String[] arguments) throws ReflectiveOperationException {
    Tests.run(WyLogHandlerTest.class);
  }

  /** Configures java.util.logging as the property java.util.logging.config.file does. */
  private static void configure(String name, String... handlerProperties) throws IOException {
    List<String> lines = new ArrayList<>(List.of("handlers = " + HANDLER, ".level = ALL"));
    lines.add(HANDLER + ".logger = " + name);
    lines.add(HANDLER + ".log.file = " + path(name + ".log"));
    for (String property : handlerProperties) {
      lines.add(HANDLER + "." + property);
    }
    String file = write(name + ".properties", lines.toArray(new String[0]));
    try (FileInputStream stream = new FileInputStream(file)) {
      LogManager.getLogManager().readConfiguration(stream);
    }
  }

  private static String[] tracing(String name, String component) {
    return new String[] {
        "trace.file = " + path(name + ".trace"),
        "trace.config = "
            + write(name + ".conf", "components " + component, "data SrcFile Function Message"),
    };
  }

  /** A program that knows nothing of this library. */
  private static final class Program {
    private static final Logger logger = Logger.getLogger("program");

    static void run() {
      logger.severe("disk full");
      logger.log(Level.WARNING, "{0} has {1,number} bytes", new Object[] {"'a", 1000});
      logger.config("settings");
      logger.log(Level.FINE, "looking at {0}", "x");
      logger.finest("done");
    }
  }

  @Test
  static void recordsGoToTheErrorLogAndTheTraceByTheirLevels() throws IOException {
    configure("levels", tracing("levels", "Log"));
    Program.run();
    String location = "[" + Program.class.getName() + "]";
    checkEqual(List.of("[program][ERROR][wy-log-00000] disk full",
                   "[program][WARNING][wy-log-00000] 'a has 1,000 bytes",
                   "[program][INFO][wy-log-00000] settings"),
        messages("levels.log"));
    checkEqual(List.of(location + "[run][looking at x]", location + "[run][done]"),
        records("levels.trace"));
  }

  @Test
  static void messagesShowTheClassIfASettingAsksForIt() throws IOException {
    configure("place", "place = class");
    Program.run();
    checkEqual("[" + Program.class.getName() + "][ERROR][wy-log-00000] disk full",
        messages("place.log").get(0));
  }

  @Test
  static void noTextCanPassForARecordOfItsOwn() throws IOException {
    configure("forged", tracing("forged", "Log"));
    for (Level level : List.of(Level.INFO, Level.FINE)) {
      Program.logger.log(
          level, "user {0}", "x\n[1/2][forged]\r\n[1/2][again]\u2028[1/2][and again]\n");
    }
    List<String> further = List.of("\t[1/2][forged]", "\t[1/2][again]", "\t[1/2][and again]");
    checkEqual(further, lines("forged.log").stream().skip(1).toList());
    checkEqual("\t[1/2][and again]]", records("forged.trace").get(3));
  }

  @Test
  static void whatIsNotTracedIsNotFormatted() throws IOException {
    configure("untraced", tracing("untraced", "Log/Legacy"));
    List<String> calls = new ArrayList<>();
    Object parameter = new Object() {
      @Override
      public String toString() {
        calls.add("formatted");
        return "";
      }
    };
    Program.logger.log(Level.FINE, "{0}", parameter);
    checkEqual(List.of(), calls);
    checkEqual(List.of(), records("untraced.trace"));
  }

  @Test
  static void stackTracesAreLoggedWholeInAsManyMessagesAsTheyNeed() throws IOException {
    configure("thrown");
    StackTraceElement[] deep = new StackTraceElement[500];
    Arrays.fill(deep, new StackTraceElement("Deep", "call", "Deep.java", 7));
    Exception cause = new Exception("the cause");
    cause.setStackTrace(deep);
    Program.logger.log(Level.SEVERE, "it failed", new RuntimeException(cause));

    List<String> lines = messages("thrown.log");
    check(lines.get(0).endsWith("[ERROR][wy-log-00000] it failed"), lines.get(0));
    check(lines.stream().filter(line -> line.contains("[ERROR]")).count() > 2, "not in parts");
    checkEqual(2L, lines.stream().filter(line -> line.endsWith(": the cause")).count());
    checkEqual(
        500L, lines.stream().filter(line -> line.endsWith("at Deep.call(Deep.java:7)")).count());
  }

  @Test
  static void noPartOfATextIsLongerThanAMessageOrBreaksACharacter() throws IOException {
    String beyond = "\ud83d\ude00".repeat(2000);
    for (String text :
        List.of(beyond, "x" + beyond, "xx" + beyond, "y".repeat(4094) + "\n" + beyond)) {
      List<String> parts = MessageParts.of(text);
      checkEqual(text.replace("\n", ""), String.join("", parts));
      for (String part : parts) {
        int size = part.getBytes(StandardCharsets.UTF_8).length;
        check(size <= 4095, "a part of " + size + " bytes");
        check(!Character.isLowSurrogate(part.charAt(0)), "a part begins with half a character");
      }
    }
  }

  @Test
  static void nothingIsThrownAndNothingComesBackToWhereItStarted() throws IOException {
    configure("hostile");
    Object logsItself = new Object() {
      @Override
      public String toString() {
        Program.logger.info("from within");
        return "outer";
      }
    };
    Object fails = new Object() {
      @Override
      public String toString() {
        throw new StackOverflowError();
      }
    };
    List<String> reported = new ArrayList<>();
    Logger.getLogger("").getHandlers()[0].setErrorManager(new ErrorManager() {
      @Override
      public synchronized void error(String message, Exception exception, int code) {
        reported.add(message);
      }
    });
    Program.logger.log(Level.INFO, "{0}", logsItself);
    Program.logger.log(Level.INFO, "{0}", fails);
    Program.logger.log(Level.INFO, (String) null);
    Program.logger.log(new LogRecord(Level.INFO, "no class, no logger"));
    List<String> texts =
        messages("hostile.log").stream().map(line -> line.replaceFirst("^.*\\] ", "")).toList();
    checkEqual(List.of("outer", "null", "no class, no logger"), texts);
    checkEqual(List.of("java.lang.StackOverflowError"), reported);
  }

  @Test
  static void aSecondHandlerWithEqualSettingsLeavesTheOutputsAsTheyAre() throws IOException {
    for (int i = 0; i < 2; i++) {
      configure("equal", "log.mode = " + WyLogger.MODE_OVERWRITE);
      Program.logger.info("kept");
    }
    checkEqual(2, lines("equal.log").size());
  }
}
