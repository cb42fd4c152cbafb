import com.example.SessionStoreMessages;
import com.orvantis.wyerrlog.WyAudit;
import com.orvantis.wyerrlog.WyField;
import com.orvantis.wyerrlog.WyFile;
import com.orvantis.wyerrlog.WyLog;
import com.orvantis.wyerrlog.WyLogs;
import com.orvantis.wyerrlog.WyRequest;
import com.orvantis.wyerrlog.WyTrace;
import java.io.IOException;

/** The typed classes. Arguments: folder of catalogs, trace configuration. */
public final class Typed {
  // [constants]
  private static final WyLog LOG = WyLog.of(Typed.class);
  private static final WyTrace TRACE = WyTrace.of(SessionStoreMessages.COMPONENT, Typed.class);
  // [/constants]

  public static void main(String[] args) throws IOException {
    // [open]
    WyLogs.useMessages(args[0]);
    WyLogs logs = WyLogs.ofProcess();
    logs.logTo(WyFile.at("error.log").rollingAt(10, 5));
    logs.auditTo(WyFile.at("audit.log").permissions(0640));
    logs.traceTo(WyFile.at("trace.log"), args[1]);
    // [/open]

    try {
      refuse("alice\n[1/1] forged", 20000);
      throw new IOException("disk full");
    } catch (IOException exception) {
      // [exceptions]
      LOG.message(SessionStoreMessages.WRITE_FAILED, "store.db", exception);
      LOG.error("The store is closed", exception);
      // [/exceptions]
    }
    trace("alice", 3);
    audit("alice");
    serve("7f3a", "alice");

    // [named]
    try (WyLogs tenant = WyLogs.open("tenant-7")) {
      tenant.logTo(WyFile.at("tenant-7.log"));
      tenant.log(Typed.class).warning("{} of {} sessions left", 3, 20000);
    }
    // [/named]
  }

  private static void refuse(String user, int limit) {
    // [messages]
    SessionStoreMessages.refused(LOG, user, limit);
    LOG.message(SessionStoreMessages.REFUSED, user, limit); // the same by identifier
    LOG.warning("{} of {} sessions left", 0, limit);        // a text without a catalog
    // [/messages]
  }

  private static void trace(String user, int sessions) {
    // [trace]
    TRACE.record("trace")
        .set(WyField.USER, user)
        .set(WyField.RESPONSE_TIME, 0.25)
        .set(WyField.GROUP, () -> String.join(",", "users", "staff"))
        .message("{} has {} sessions", user, sessions)
        .write();
    // [/trace]
    // [guard]
    if (TRACE.isOn()) {
      TRACE.record("trace").message("all sessions: " + sessions).write();
    }
    // [/guard]
  }

  private static void audit(String user) {
    // [audit]
    if (!WyAudit.event("grant").set("user", user).set("rule", 4).write()) {
      throw new IllegalStateException("no access without an audit record");
    }
    // [/audit]
  }

  // [request]
  static void serve(String requestId, String user) {
    try (WyRequest request = WyRequest.open().set(WyField.TRANSACTION_ID, requestId)) {
      request.set(WyField.USER, user); // as soon as it is known
      WyAudit.event("login").set("status", 200).write();
    }
  }
  // [/request]
}
