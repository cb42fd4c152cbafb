package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.io.FileInputStream;
import java.io.IOException;
import java.util.List;
import java.util.logging.LogManager;
import org.slf4j.Logger;
import org.slf4j.LoggerFactory;
import org.slf4j.MDC;

/** A program that logs with SLF4J through java.util.logging; the entries of its MDC are fields. */
@SuppressWarnings("try") // a scope that the body does not name
final class Slf4jTest {
  public static void main(String[] arguments) throws Exception {
    System.setProperty(Mdc.PROPERTY, "requestId:TransactionID, user : User");
    String handler = "com.orvantis.wyerrlog.WyLogHandler";
    String config =
        write("slf4j.conf", "components Log", "data SrcFile Function TransactionID User Message");
    String properties = write("slf4j.properties", "handlers = " + handler, ".level = ALL",
        handler + ".log.file = " + path("slf4j.log"),
        handler + ".trace.file = " + path("slf4j.trace"), handler + ".trace.config = " + config);
    try (FileInputStream stream = new FileInputStream(properties)) {
      LogManager.getLogManager().readConfiguration(stream);
    }
    WyLogs.ofProcess().auditTo(WyFile.at(path("slf4j.audit")));
    Tests.run(Slf4jTest.class);
  }

  @Test
  static void recordsGoToTheLogsWithTheContext() throws IOException {
    Logger logger = LoggerFactory.getLogger("program");
    MDC.put("requestId", "7f3a");
    MDC.put("User", "not mapped by the property");
    MDC.put("unknown", "x");
    try (WyRequest request = WyRequest.open().set(WyField.USER, "alice")) {
      logger.warn("{} of {} \ud83d\ude00", 1, "two", new Exception("reason"));
      logger.debug("traced\nin two lines\u0007");
      MDC.put("user", "bob"); // counts before the request
      WyAudit.event("java").write();
    }
    MDC.clear();
    WyTrace.of(WyLogger.COMPONENT_LOG, Slf4jTest.class).record("f").message("m").write();
    String place = "[" + Slf4jTest.class.getName() + "]";
    checkEqual(
        "[program][WARNING][wy-log-00000] 1 of two \ud83d\ude00", messages("slf4j.log").get(0));
    checkEqual("\tjava.lang.Exception: reason", lines("slf4j.log").get(1));
    String method = "[recordsGoToTheLogsWithTheContext]";
    checkEqual(List.of(place + method + "[7f3a][alice][traced", "\tin two lines\\x07]",
                   "[Slf4jTest.java][f][][][m]"),
        records("slf4j.trace"));
    String audit = lines("slf4j.audit").get(0);
    check(audit.endsWith(" request=\"7f3a\" event=\"java\" User=\"bob\""), audit);
  }
}
