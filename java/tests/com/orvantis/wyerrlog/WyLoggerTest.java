package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.time.LocalDate;
import java.time.format.DateTimeFormatter;
import java.util.Collections;
import java.util.List;
import java.util.Locale;
import java.util.Set;
import java.util.stream.Collectors;
import java.util.stream.IntStream;

/** The native methods. */
final class WyLoggerTest {
  private static final int AUTHENTICATION = 0x03010000;
  private static final int WRONG_PASSWORD = 0x03008004; // user, client
  private static final int NOT_PERMITTED = 0x04008007; // user, action, resource, rule

  public static void main(String[] arguments) throws ReflectiveOperationException {
    Tests.run(WyLoggerTest.class);
  }

  // ---- Setting up -------------------------------------------------------------------------------

  @Test
  static void initializeLogAnswersWhetherTheOutputIsInstalled() {
    String file = path("open.log");
    checkEqual(1, WyLogger.InitializeLog("open", 7, file, 1, 0, false, 0));
    for (String[] refused : new String[][] {{null}, {""}, {path("no/such/directory")}}) {
      checkEqual(0, WyLogger.InitializeLog("open2", 1, refused[0], 1, 0, false, 0));
    }
    checkEqual(0, WyLogger.InitializeLog("open", 1, file, 5, 0, false, 0));
    checkEqual(0, WyLogger.InitializeLog("open", 1, file, 1, -1, false, 0));
    checkEqual(0, WyLogger.InitializeLog("open", 1, file, 1, 0, false, -1));
    WyLogger.LogMsg("open", "after refusals", WyLogger.MESSAGE_INFORMATION, "still open");
    checkEqual(List.of("[after refusals][INFO][wy-log-00000] still open"), messages("open.log"));
  }

  @Test
  static void localTimeStaysOnOnceItIsOn() {
    openLog("time", "time.log");
    WyLogger.LogMsg("time", "utc", WyLogger.MESSAGE_INFORMATION, "");
    for (boolean useLocalTime : new boolean[] {true, false}) {
      WyLogger.InitializeLog("time", 1, path("time.log"), WyLogger.MODE_APPEND, 0, useLocalTime, 0);
      WyLogger.LogMsg("time", "local", WyLogger.MESSAGE_INFORMATION, "");
    }
    List<LocalDate> dates = lines("time.log").stream().map(WyLoggerTest::dateOf).toList();
    LocalDate utc = dates.get(0);
    check(dates.get(1).isAfter(utc) && dates.get(2).isAfter(utc), "local is a day ahead: " + dates);
  }

  private static LocalDate dateOf(String line) {
    String date = line.replaceFirst("^\\[[\\d/]+\\]\\[\\w+ (\\w+ \\d+ \\d+) .*$", "$1");
    return LocalDate.parse(date, DateTimeFormatter.ofPattern("MMM dd yyyy", Locale.ENGLISH));
  }

  @Test
  static void resourcesDirectoryIsSetOrRefused() {
    openLog("catalog", "catalog.log");
    checkEqual(1, WyLogger.SetResourcesDirectory(System.getProperty("test.messages")));
    for (String refused : new String[] {null, "", path("no-such-directory")}) {
      checkEqual(0, WyLogger.SetResourcesDirectory(refused));
    }
    WyLogger.LogMsg("catalog", "Login", WRONG_PASSWORD, new String[] {"bob", "10.0.0.7"});
    WyLogger.LogMsg("catalog", "Access", NOT_PERMITTED, new String[] {"bob", null, "/x", "4"});
    checkEqual(
        List.of("[Login][WARNING][login-00004] Login of bob from 10.0.0.7 refused: wrong password.",
            "[Access][WARNING][isauth-00007] bob may not  /x: rule 4 does not name this user."),
        messages("catalog.log"));
  }

  @Test
  static void initializeTraceAnswersWhetherTracingIsOn() {
    String config = write("on.conf", "components Log", "data Message");
    String file = path("on.log");
    checkEqual(0, WyLogger.TraceEnabled("on"));
    for (String refused :
        new String[] {null, "", path("no-such.conf"), write("bad.conf", "data")}) {
      checkEqual(0, WyLogger.InitializeTrace("on", 1, file, 1, 0, 0, null, refused, false, 0));
    }
    checkEqual(0, WyLogger.InitializeTrace("on", 1, null, 1, 0, 0, null, config, false, 0));
    checkEqual(0, WyLogger.TraceEnabled("on"));
    checkEqual(1,
        WyLogger.InitializeTrace(
            "on", 1, file, 1, 0, WyLogger.FORMAT_DELIMITED, "|", config, false, 0));
    checkEqual(1, WyLogger.TraceEnabled("on"));
    checkEqual(1, WyLogger.TraceEnabledComponent("on", WyLogger.COMPONENT_LOG));
    checkEqual(0, WyLogger.TraceEnabledComponent("on", AUTHENTICATION));
    checkEqual(
        0, WyLogger.InitializeTrace("on", 1, path("no/dir"), 1, 0, 0, null, config, false, 0));
    checkEqual(0, WyLogger.TraceEnabled("on"));
  }

  // ---- Error log --------------------------------------------------------------------------------

  @Test
  static void logMsgWritesOneLineWithoutALineNumber() {
    openLog("log", "log.log");
    checkEqual(
        1, WyLogger.LogMsg("log", "src/Servlet", WyLogger.MESSAGE_INFORMATION, "a {0} %s b"));
    checkEqual(1, WyLogger.LogMsg("log", null, WyLogger.MESSAGE_WARNING, (String) null));
    checkEqual(1, WyLogger.LogMsg("log", "x", 0x7F00C001, "no such component"));
    checkEqual(List.of("[Servlet][INFO][wy-log-00000] a {0} %s b", "[][WARNING][wy-log-00000] ",
                   "[x][ERROR][wy-log-00001] missing component library"),
        messages("log.log"));
    check(lines("log.log").get(0).matches(PROLOG + ".*"), "prolog: " + lines("log.log").get(0));
  }

  @Test
  static void loggersAreSelectedByName() {
    openLog(null, "process.log");
    openLog("A", "A.log");
    WyLogger.LogMsg("", "x", WyLogger.MESSAGE_INFORMATION, "to the process's");
    WyLogger.LogMsg("A", "x", WyLogger.MESSAGE_INFORMATION, "to A");
    checkEqual(1, WyLogger.LogMsg("a", "x", WyLogger.MESSAGE_INFORMATION, "to one without output"));
    checkEqual(List.of("[x][INFO][wy-log-00000] to the process's"), messages("process.log"));
    checkEqual(List.of("[x][INFO][wy-log-00000] to A"), messages("A.log"));
  }

  @Test
  static void logMsgWithAnArrayWritesForOneToFiveArguments() {
    openLog("array", "array.log");
    checkEqual(1, WyLogger.LogMsg("array", "x", WyLogger.MESSAGE_ERROR, (String[]) null));
    for (int count : new int[] {0, 1, 5, 6, 5000}) {
      checkEqual(1, WyLogger.LogMsg("array", "x", WyLogger.MESSAGE_ERROR, arguments(count)));
    }
    checkEqual(1, WyLogger.LogMsg("array", "x", WyLogger.MESSAGE_ERROR, new String[5]));
    String line = "[x][ERROR][wy-log-00000] ";
    checkEqual(List.of(line + "a0", line + "a0", line), messages("array.log"));
  }

  private static String[] arguments(int count) {
    String[] arguments = new String[count];
    for (int i = 0; i < count; i++) {
      arguments[i] = "a" + i;
    }
    return arguments;
  }

  // ---- Trace ------------------------------------------------------------------------------------

  @Test
  static void traceMsgFillsItsFields() {
    openTrace("trace", "trace.log",
        "data Function Message TransactionID SrcFile Pid Tid Date Time PreciseTime User");
    WyLogger.TraceMsg("trace", "src/App.java", "run", AUTHENTICATION, "t1", "100%s %d %%");
    WyLogger.TraceMsg("trace", null, null, AUTHENTICATION, null, null);
    WyLogger.TraceMsg("trace", "x", "x", 0x03020000, "x", "of a sub-component that is not traced");
    String own = "\\[" + ProcessHandle.current().pid()
        + "\\]\\[\\d+\\]\\[[\\d/]{10}\\]\\[[\\d:]{8}\\]"
        + "\\[[\\d:]{8}\\.\\d{3}\\]\\[\\]";
    List<String> records = records("trace.log");
    checkEqual(2, records.size());
    check(records.get(0).matches("\\[run\\]\\[100%s %d %%\\]\\[t1\\]\\[App\\.java\\]" + own),
        records.get(0));
    check(records.get(1).matches("\\[\\]\\[\\]\\[\\]\\[\\]" + own), records.get(1));
  }

  @Test
  static void traceMsgFormatsItsMessageForOneToFiveArguments() {
    openTrace("format", "format.log", "data Message");
    String[] five = {"bob", null, "/x", "d", "e"};
    for (String[] arguments : new String[][] {{}, {"1"}, five}) {
      WyLogger.TraceMsg("format", "", "", AUTHENTICATION, "", "%s|%3s|%d%", arguments);
    }
    String text = "ä€\u0001"
        + "x".repeat(100_000);
    WyLogger.TraceMsg("format", "", "", AUTHENTICATION, "", "%s", new String[] {text});
    checkEqual(List.of("[%s|%3s|%d%]", "[1|   |%d%]", "[bob|   |%d%]", "[" + text + "]"),
        records("format.log"));
  }

  @Test
  static void threadsWriteTheirOwnMessages() {
    openLog("many", "many.log");
    openTrace("many", "many.trace", "data Message");
    Set<String> texts =
        IntStream.range(0, 5000).mapToObj(i -> "round " + i).collect(Collectors.toSet());
    texts.parallelStream().forEach(text -> {
      WyLogger.LogMsg("many", "x", WyLogger.MESSAGE_INFORMATION, text);
      WyLogger.TraceMsg("many", "", "", WyLogger.COMPONENT_LOG, "", "%s", new String[] {text});
    });
    for (List<String> lines : List.of(messages("many.log"), records("many.trace"))) {
      checkEqual(texts.size(), lines.size());
      checkEqual(texts,
          lines.stream()
              .map(line -> line.replaceFirst("^.*(round \\d+)\\]?$", "$1"))
              .collect(Collectors.toSet()));
    }
  }

  // ---- Too many arguments -----------------------------------------------------------------------

  @Test
  static void tooManyArgumentsAreToldInTheTraceOfTheProcessLogger() {
    openTrace(null, "warning.log", "data Function Message SrcFile");
    openTrace("warned", "warned.log", "data Message");
    int messageId = AUTHENTICATION | 0xC005;
    WyLogger.LogMsg("warned", "x", messageId, arguments(6));
    WyLogger.LogMsg("warned", "x", 0x0401C005, arguments(6)); // its component is not traced
    for (int count : new int[] {6, 5000}) {
      WyLogger.TraceMsg("warned", "x", "f", AUTHENTICATION, "", "%s %d", arguments(count));
    }
    String messageWarning =
        "[WyJNIEntryPoint::LogMsg][WARNING!!! Too many arguments in message.  Message not logged."
        + "  Message ID is: " + messageId + "][WyJNIEntryPoint.cpp:<line>]";
    String traceWarning =
        "[WyJNIEntryPoint::LogMsg][WARNING!!! Too many arguments in message - Message not logged."
        + "  Unformatted message is: %s %d][WyJNIEntryPoint.cpp:<line>]";
    checkEqual(List.of(messageWarning, traceWarning, traceWarning),
        records("warning.log")
            .stream()
            .map(record -> record.replaceFirst(":[1-9]\\d*\\]$", ":<line>]"))
            .toList());
    checkEqual(Collections.nCopies(2, "[%s %d]"), records("warned.log"));
  }

  // ---- The stack --------------------------------------------------------------------------------

  @Test
  static void traceMsgWorksWhereTheStackIsNearlyUsedUp() throws InterruptedException {
    openTrace("deep", "deep.log", "data Message");
    int[] calls = new int[1];
    Thread thread = new Thread(() -> {
      try {
        traceDeeperAndDeeper(calls);
      } catch (StackOverflowError expected) {
        WyLogger.TraceMsg("deep", "", "", AUTHENTICATION, "", "and out again");
      }
    });
    thread.start();
    thread.join();
    List<String> records = records("deep.log");
    check(calls[0] > 1000, "only " + calls[0] + " calls deep");
    checkEqual(calls[0] + 1, records.size());
    checkEqual("[and out again]", records.get(calls[0]));
  }

  private static void traceDeeperAndDeeper(int[] calls) {
    WyLogger.TraceMsg("deep", "", "", AUTHENTICATION, "", "deeper");
    calls[0]++;
    traceDeeperAndDeeper(calls);
  }
}
