package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Optional;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** Messages, trace records and audit records by the typed classes. */
final class TypedCallsTest {
  private static final int AUTHENTICATION = 0x03010000;
  private static final int NOT_PERMITTED = 0x04008007; // user, action, resource, rule

  public static void main(String[] arguments) throws ReflectiveOperationException {
    Tests.run(TypedCallsTest.class);
  }

  private static WyLogs open(String name) throws IOException {
    WyLogs logs = WyLogs.open(name);
    logs.logTo(WyFile.at(path(name + ".log")));
    logs.auditTo(WyFile.at(path(name + ".audit")));
    return logs;
  }

  private static void trace(WyLogs logs, String name, String fields) throws IOException {
    logs.traceTo(WyFile.at(path(name + ".trace")),
        write(name + ".conf", "components Login_Logout/Authentication", fields));
  }

  private static List<String> texts(String name) {
    return messages(name).stream().map(line -> line.replaceFirst("^.*?\\] ", "")).toList();
  }

  // ---- Messages ---------------------------------------------------------------------------------

  @Test
  static void messagesHaveAnyNumberOfArgumentsUpToThirteen() throws IOException {
    WyLogs.useMessages(System.getProperty("test.messages"));
    try (WyLogs logs = open("messages")) {
      WyLog log = logs.log(TypedCallsTest.class);
      check(log.message(NOT_PERMITTED, "bob", Optional.empty(), 7L, 4), "taken");
      Object[] many = Collections.nCopies(13, "x").toArray();
      check(log.message(NOT_PERMITTED, many), "thirteen are taken");
      expect(IllegalArgumentException.class, () -> log.message(NOT_PERMITTED, new Object[14]));
      logs.stopLog();
      check(!log.message(NOT_PERMITTED, 1, 2), "without an output nothing is taken");
    }
    String line = "[TypedCallsTest.java][WARNING][isauth-00007] ";
    checkEqual(List.of(line + "bob may not <null> 7: rule 4 does not name this user.",
                   line + "x may not x x: rule x does not name this user."),
        messages("messages.log"));
  }

  @Test
  static void textsAreUtf8AndCannotBeginALine() throws IOException {
    try (WyLogs logs = open("texts")) {
      WyLog log = logs.log("a/b\n");
      String beyond = "\ud83d\ude00".repeat(40); // longer than what is encoded by hand
      log.info("{}|\u0000|\n|\u00e4\u20ac|{}|\ud83d|", "\ud83d\ude00\u0000", beyond, "left over");
      log.warning("{} {}", "one");
      log.error("failed: {}", (Object) new IOException("outer", new Exception("in\nner")));
      String expected = "\ud83d\ude00\\x00|\\x00|\\x0a|\u00e4\u20ac|" + beyond + "|?| left over";
      checkEqual(
          List.of(expected, "one {}",
              "failed: java.io.IOException: outer; caused by java.lang.Exception: in\\x0aner"),
          texts("texts.log"));
      check(lines("texts.log").get(0).contains("[b\\x0a]"), lines("texts.log").get(0));
      for (int i = 0; i < 4; i++) { // cut at each byte of a character
        log.message(WyLogger.MESSAGE_WARNING, "x".repeat(i) + beyond.repeat(30));
      }
    }
    // Neither the surrogates of six bytes nor the zero byte of two.
    byte[] bytes = Files.readAllBytes(Path.of(path("texts.log")));
    String decoded = new String(bytes, StandardCharsets.UTF_8);
    check(Arrays.equals(bytes, decoded.getBytes(StandardCharsets.UTF_8)), "valid UTF-8");
  }

  @Test
  static void stackTracesAreIndentedWithTheirCauses() throws IOException {
    try (WyLogs logs = open("thrown")) {
      Exception cause = new Exception("cause\r\n[1/2][forged]\u001b");
      check(logs.log("x").error("failed", new RuntimeException("outer", cause)), "taken");
    }
    List<String> lines = lines("thrown.log");
    check(lines.get(0).endsWith("[x][ERROR][wy-log-00000] failed"), lines.get(0));
    checkEqual("\tjava.lang.RuntimeException: outer", lines.get(1));
    check(lines.contains("\t[1/2][forged]\\x1b"), "the cause: " + lines);
    check(lines.stream().skip(1).allMatch(line -> line.startsWith("\t")), "a forged line");
  }

  @Test
  static void argumentsMayLogAndFail() throws IOException {
    try (WyLogs logs = open("nested")) {
      WyLog log = logs.log("x");
      Object logs1 = new Object() {
        @Override
        public String toString() {
          log.info("inner");
          return "outer";
        }
      };
      Object fails = new Object() {
        @Override
        public String toString() {
          throw new IllegalStateException();
        }
      };
      log.message(WyLogger.MESSAGE_INFORMATION, logs1);
      expect(IllegalStateException.class, () -> log.info("{}", fails));
      expect(IllegalStateException.class, () -> logs.audit("x").set("y", fails));
      log.info("after");
      checkEqual(List.of("inner", "outer", "after"), texts("nested.log"));
    }
  }

  // ---- Trace ------------------------------------------------------------------------------------

  @Test
  static void everyFieldIsWrittenUnderItsName() throws IOException {
    try (WyLogs logs = WyLogs.open("fields")) {
      List<WyField> fields = Stream.of(WyField.values())
                                 .filter(field -> field.ordinal() < 2 || field.ordinal() > 6)
                                 .collect(Collectors.toList());
      Collections.reverse(fields);
      trace(logs, "fields",
          "data " + fields.stream().map(WyField::fieldName).collect(Collectors.joining(" ")));
      WyTraceRecord record = logs.trace(AUTHENTICATION, TypedCallsTest.class).record("f");
      fields.forEach(field -> record.set(field, field.fieldName()));
      check(record.write() && !record.write(), "written once");
      String header = lines("fields.trace").get(0);
      checkEqual(List.of(header), records("fields.trace"));
    }
  }

  @Test
  static void valuesKeepTheirTypes() throws IOException {
    try (WyLogs logs = WyLogs.open("types")) {
      String config = write("types.conf", "components Login_Logout/Authentication",
          "data SrcFile Function User Rule ResponseTime Result State Data Group Message");
      logs.traceTo(WyFile.at(path("types.trace")), config, WyLogs.Layout.JSON, "");
      logs.trace(AUTHENTICATION, TypedCallsTest.class)
          .record("check")
          .set(WyField.USER, "b\u0000b\n")
          .set(WyField.RULE, Integer.valueOf(4))
          .set(WyField.RESPONSE_TIME, 0.25)
          .set(WyField.RESULT, true)
          .set(WyField.STATE, 'c')
          .set(WyField.DATA, Optional.of(Long.MIN_VALUE))
          .set(WyField.GROUP, () -> "lazy")
          .message("{} and {}", 1, "two")
          .write();
      checkEqual(List.of("{\"SrcFile\":\"TypedCallsTest.java\",\"Function\":\"check\","
                     + "\"User\":\"b\\\\x00b\\\\x0a\",\"Rule\":4,\"ResponseTime\":0.250000,"
                     + "\"Result\":true,\"State\":\"c\",\"Data\":-9223372036854775808,"
                     + "\"Group\":\"lazy\",\"Message\":\"1 and two\"}"),
          lines("types.trace"));
    }
  }

  @Test
  static void nothingIsEvaluatedThatIsNotShown() throws IOException {
    try (WyLogs logs = WyLogs.open("lazy")) {
      WyTrace trace = logs.trace(AUTHENTICATION, TypedCallsTest.class);
      int[] calls = new int[1];
      Runnable statement = ()
          -> trace.record("f").set(WyField.USER, () -> "user " + ++calls[0]).message("m").write();
      statement.run();
      check(!trace.isOn(), "off at first");
      trace(logs, "lazy", "data Message");
      statement.run();
      checkEqual(0, calls[0]);
      trace(logs, "lazy", "data User"); // by another configuration
      statement.run();
      checkEqual(1, calls[0]);
      WyLogger.InitializeTrace("lazy", 1, path("lazy.trace"), 1, 0, 0, null,
          write("lazy.other", "components IsAuthorized", "data User"), false, 0);
      check(!trace.isOn(), "turned off by other code");
      trace(logs, "lazy", "data User");
      check(trace.isOn() && logs.isTraced(AUTHENTICATION), "on again");
      logs.stopTrace();
      check(!trace.isOn() && !logs.isTraced(0), "off");
      statement.run();
      checkEqual(1, calls[0]);
    }
    checkEqual(List.of("[m]", "[user 1]"),
        lines("lazy.trace").stream().filter(line -> line.matches(".(m|user.*).")).toList());
  }

  @Test
  static void anUntracedStatementLeavesNoGarbage() throws IOException {
    var threads =
        (com.sun.management.ThreadMXBean) java.lang.management.ManagementFactory.getThreadMXBean();
    WyTrace trace = WyTrace.of(AUTHENTICATION, TypedCallsTest.class);
    long least = Long.MAX_VALUE;
    for (int round = 0; round < 5; round++) {
      long before = threads.getCurrentThreadAllocatedBytes();
      for (int i = 0; i < 10_000; i++) {
        trace.record("f").set(WyField.USER, "user").set(WyField.RULE, i).message("m").write();
      }
      least = Math.min(least, threads.getCurrentThreadAllocatedBytes() - before);
    }
    check(least < 10_000, "10000 statements have allocated " + least + " bytes");
  }

  // ---- Audit ------------------------------------------------------------------------------------

  @Test
  static void auditRecordsHaveTypedFields() throws IOException {
    try (WyLogs logs = open("audit")) {
      WyAudit record = logs.audit("grant")
                           .set("user", "a\"\u0000\ud83d\ude00")
                           .set("rule", 4)
                           .set("share", 0.5)
                           .set("cached", false)
                           .set("grade", 'b')
                           .set("group", null)
                           .set("user", "again");
      check(record.write() && !record.write(), "written once");
      logs.stopAudit();
      check(!logs.audit("lost").write(), "without an output it is lost");
    }
    String line = lines("audit.audit").get(0);
    check(line.endsWith(" event=\"grant\" user=\"a\\\"\\u0000\ud83d\ude00\" rule=4 share=0.5"
              + " cached=false grade=\"b\" group=null user_2=\"again\""),
        line);
  }

  // ---- Loggers and outputs ----------------------------------------------------------------------

  @Test
  static void outputsThatCannotBeInstalledSayWhy() throws IOException {
    try (WyLogs logs = WyLogs.open("refused")) {
      String missing = path("no/such/folder.log");
      for (Statement refused : new Statement[] {()
                                                    -> logs.logTo(WyFile.at(missing)),
               ()
                   -> logs.auditTo(WyFile.at(missing)),
               () -> logs.traceTo(WyFile.at(path("x.trace")), missing)}) {
        String reason = expect(FileSystemException.class, refused).getMessage();
        check(reason.contains(missing) && reason.contains("No such file"), reason);
      }
      expect(FileSystemException.class, () -> logs.logTo(WyFile.at("x").rollingAt(-1, 0)));
      expect(FileSystemException.class, () -> logs.logTo(WyFile.at("x\u0000y")));
      expect(FileSystemException.class, () -> WyLogs.useMessages(missing));
      Path file = Path.of(path("private.log"));
      logs.logTo(WyFile.at(file).permissions(0600));
      checkEqual("[OWNER_READ, OWNER_WRITE]",
          Files.getPosixFilePermissions(file).stream().sorted().toList().toString());
    }
  }

  @Test
  static void aClosedLoggerDoesNothing() throws IOException {
    WyLogs first = open("closed");
    WyLog log = first.log("x");
    WyTrace trace = first.trace(AUTHENTICATION, TypedCallsTest.class);
    WyLogs second = WyLogs.open("closed");
    first.close();
    first.close();
    check(log.info("the second one keeps it open"), "open");
    second.close();
    check(!log.info("x") && !trace.isOn() && !first.audit("x").write(), "closed");
    expect(IllegalStateException.class, () -> first.logTo(WyFile.at(path("closed.log"))));
    checkEqual(1, lines("closed.log").size());
    // One that other code has created is not removed.
    openLog("theirs", "theirs.log");
    WyLogs.open("theirs").close();
    WyLogger.LogMsg("theirs", "x", WyLogger.MESSAGE_INFORMATION, "still there");
    checkEqual(List.of("still there"), texts("theirs.log"));
  }

  @Test
  static void sixteenThreadsLogWhileAnotherReconfigures() throws Exception {
    WyLogs.ofProcess().logTo(WyFile.at(path("many.log")));
    WyTrace trace = WyTrace.of(AUTHENTICATION, TypedCallsTest.class);
    WyLog log = WyLog.of(TypedCallsTest.class);
    int[] taken = new int[16];
    Thread[] threads = new Thread[16];
    for (int i = 0; i < threads.length; i++) {
      int thread = i;
      threads[i] = new Thread(() -> {
        for (int round = 0; round < 1000; round++) {
          taken[thread] += log.info("{} of {}", round, thread) ? 1 : 0;
          trace.record("f").set(WyField.USER, () -> "\u20ac").message("{}", round).write();
          try (WyLogs named = WyLogs.open("many-" + round % 3)) {
            named.log("x").info("nowhere");
          }
        }
      });
      threads[i].start();
    }
    while (Stream.of(threads).anyMatch(Thread::isAlive)) {
      trace(WyLogs.ofProcess(), "many", "data User Message");
      trace(WyLogs.ofProcess(), "many", "data Message");
      WyLogs.ofProcess().stopTrace();
    }
    checkEqual(16_000, Arrays.stream(taken).sum());
    checkEqual(16_000, lines("many.log").size());
    check(!trace.isOn(), "off at the end");
    // A value that is set between two configurations, while the trace is off, is not kept.
    List<String> strange = lines("many.trace")
                               .stream()
                               .filter(line
                                   -> !line.matches("(\\[(\u20ac|User|====)?\\])?"
                                       + "\\[(\\d+|Message|=======)?\\]"))
                               .toList();
    checkEqual(List.of(), strange);
  }
}
