package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/** Java and C++ code in one process: the fields of requests, and outputs that fail. */
@SuppressWarnings("try") // scopes that the body does not name
final class HostTest {
  public static void main(String[] arguments) throws Exception {
    WyLogs.ofProcess().auditTo(WyFile.at(path("audit.log")));
    Tests.run(HostTest.class);
  }

  private static int read;

  /** The records since the last call, from their requests on. */
  private static List<String> audited() {
    List<String> all = lines("audit.log");
    List<String> newer = all.subList(read, all.size());
    read = all.size();
    return newer.stream().map(line -> line.replaceFirst("^.* tid=\\d+ ", "")).toList();
  }

  @Test
  static void recordsOfOneRequestHaveItsFieldsInJavaAndCpp() {
    try (WyRequest request = WyRequest.open().set(WyField.TRANSACTION_ID, "7f\n")) {
      request.set(WyField.RULE, 4).set(WyField.USER, "al").set(WyField.USER, "alice");
      Host.audit("cpp");
      try (WyRequest inner = WyRequest.open().set(WyField.USER, null)) {
        WyAudit.event("inner").set("Rule", 5).write();
      }
      WyAudit.event("java").write();
    }
    Host.audit("after");
    Host.inScope("8a", () -> WyAudit.event("called").write());
    checkEqual(List.of("request=\"7f\\n\" event=\"cpp\" Rule=4 User=\"alice\"",
                   "request=\"7f\\n\" event=\"inner\" Rule=5 User=\"\"",
                   "request=\"7f\\n\" event=\"java\" Rule=4 User=\"alice\"", "event=\"after\"",
                   "request=\"8a\" event=\"called\""),
        audited());
  }

  @Test
  static void fieldsGoToAnotherThread() throws InterruptedException {
    Object[] from = new Object[2];
    Host.inScope("8b", () -> {
      from[0] = WyRequest.fields();
      from[1] = WyRequest.open();
    });
    Thread other = new Thread(() -> {
      try (WyRequest taken = WyRequest.open((WyRequest.Fields) from[0])) {
        Host.audit("other");
      }
      Host.audit("after");
      expect(IllegalStateException.class, ((WyRequest) from[1])::close);
    });
    other.setUncaughtExceptionHandler((thread, thrown) -> thrown.printStackTrace());
    other.start();
    other.join();
    ((WyRequest) from[1]).close();
    expect(IllegalStateException.class, () -> ((WyRequest) from[1]).set(WyField.USER, "x"));
    checkEqual(List.of("request=\"8b\" event=\"other\"", "event=\"after\""), audited());
  }

  @Test
  static void scopesThatAreLeftOpenDoNoHarm() {
    WyRequest[] open = new WyRequest[2];
    Host.inScope("gone", () -> {
      open[0] = WyRequest.open().set(WyField.USER, "outer");
      open[1] = WyRequest.open().set(WyField.USER, "inner");
    });
    Host.audit("left");
    open[0].close(); // and the inner one with it
    open[1].close();
    Host.audit("closed");
    checkEqual(List.of("event=\"left\" User=\"inner\"", "event=\"closed\""), audited());
  }

  @Test
  static void failingOutputsThrowNothingIntoJava() throws IOException {
    WyLog log = WyLog.of(HostTest.class);
    for (boolean inJava : new boolean[] {false, true}) {
      Host.installFailingOutput(inJava);
      check(!log.error("x"), "not taken");
    }
    WyLogs.ofProcess().stopLog();
  }

  @Test
  static void aDecisionInsideACallbackIsNotKept() {
    WyTrace trace = WyTrace.of(WyLogger.COMPONENT_LOG, HostTest.class);
    WyTrace first = WyTrace.of(WyLogger.COMPONENT_LOG, HostTest.class);
    WyTrace second = WyTrace.of(WyLogger.COMPONENT_LOG, HostTest.class);
    List<Boolean> inside = new ArrayList<>();
    Host.installCallback(
        () -> inside.add(first.isOn()), write("host.conf", "components Log", "data Message"));
    check(trace.record("f").message("m").write(), "traced");
    check(first.isOn(), "the trace's own callback is refused, the next statement is not");
    Host.installCallback(() -> inside.add(second.isOn()), null);
    WyLog.of(HostTest.class).info("x");
    checkEqual(List.of(false, true), inside);
    WyLogs.ofProcess().stopTrace();
    WyLogs.ofProcess().stopLog();
  }
}
