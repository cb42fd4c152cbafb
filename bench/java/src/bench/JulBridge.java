package bench;

import com.orvantis.wyerrlog.WyLogHandler;
import java.nio.file.Path;
import java.util.logging.Logger;

/** java.util.logging with the handler of this library. */
public final class JulBridge implements Contestant {
  private final Logger logger = Logger.getLogger("bench.JulBridge");

  public JulBridge(Path folder) {
    logger.setUseParentHandlers(false);
    logger.addHandler(new WyLogHandler());
  }

  @Override
  public void log(String user, String action, String resource) {
    logger.info("User " + user + " may not " + action + " " + resource + ".");
  }
}
