package bench;

import java.io.IOException;
import java.nio.file.Path;
import java.util.logging.FileHandler;
import java.util.logging.Logger;
import java.util.logging.SimpleFormatter;

/** java.util.logging with its own handler for files, which flushes each record. */
public final class JulFile implements Contestant {
  private final Logger logger = Logger.getLogger("bench.JulFile");

  public JulFile(Path folder) throws IOException {
    System.setProperty("java.util.logging.SimpleFormatter.format",
        "[%1$ta %1$tb %1$td %1$tY %1$tT][%2$s][%4$s] %5$s%n");
    FileHandler handler = new FileHandler(folder.resolve("jul.log").toString(), true);
    handler.setFormatter(new SimpleFormatter());
    logger.setUseParentHandlers(false);
    logger.addHandler(handler);
  }

  @Override
  public void log(String user, String action, String resource) {
    logger.info("User " + user + " may not " + action + " " + resource + ".");
  }
}
