import com.orvantis.wyerrlog.WyLogger;

/** Consumer (log file) (folder of catalogs): logs one message. */
public final class Consumer {
  public static void main(String[] args) {
    WyLogger.SetResourcesDirectory(args[1]);
    WyLogger.InitializeLog(null, WyLogger.OUTPUT_FILE, args[0],
        WyLogger.MODE_APPEND_ROLL_BY_SIZE, 10, true, 5);
    WyLogger.LogMsg(null, "Consumer", 0x06004001, new String[] {"consumer", "8080"});
  }
}
