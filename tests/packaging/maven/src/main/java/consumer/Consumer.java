package consumer;

import com.orvantis.wyerrlog.WyFile;
import com.orvantis.wyerrlog.WyLog;
import com.orvantis.wyerrlog.WyLogs;
import java.io.IOException;

/** Consumer (log file) (folder of catalogs): logs one message. */
public final class Consumer {
  private static final WyLog LOG = WyLog.of(Consumer.class);

  private Consumer() {}

  /**
   * Logs.
   *
   * @param args the log file, and the folder of the catalogs
   * @throws IOException if there is no such folder
   */
  public static void main(String[] args) throws IOException {
    WyLogs.useMessages(args[1]);
    WyLogs.ofProcess().logTo(WyFile.at(args[0]));
    if (!LOG.message(0x06004001, "consumer", 8080)) {
      throw new IllegalStateException("not taken");
    }
  }
}
