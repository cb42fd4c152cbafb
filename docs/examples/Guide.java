import com.orvantis.wyerrlog.WyLogger;

/** Logs a message and a trace record. Arguments: folder of catalogs, trace configuration. */
public final class Guide {
  public static void main(String[] args) {
    // [java]
    WyLogger.SetResourcesDirectory(args[0]);
    WyLogger.InitializeLog(null, WyLogger.OUTPUT_FILE, "./error.log",
        WyLogger.MODE_APPEND_ROLL_BY_SIZE, 10, true, 5);
    WyLogger.InitializeTrace(null, WyLogger.OUTPUT_FILE, "./trace.log",
        WyLogger.MODE_APPEND, 0, WyLogger.FORMAT_BRACKETED, null, args[1], true, 0);

    WyLogger.LogMsg(null, "Guide", 0x0C008002, new String[] {"alice", "20000"});
    if (WyLogger.TraceEnabledComponent(null, 0x0C000000) == 1) {
      WyLogger.TraceMsg(null, "Guide", "main", 0x0C000000, "request 7",
          "%s has %s sessions", new String[] {"alice", "3"});
    }
    // [/java]

    // [six]
    String[] six = {"a", "b", "c", "d", "e", "f"};
    WyLogger.LogMsg(null, "Guide", 0x0C008002, six);
    WyLogger.TraceMsg(null, "Guide", "main", 0x0C000000, "request 8", "%s %s %s %s %s %s", six);
    // [/six]
  }
}
