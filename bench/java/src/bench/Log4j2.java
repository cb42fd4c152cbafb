package bench;

import java.nio.file.Path;
import org.apache.logging.log4j.Level;
import org.apache.logging.log4j.LogManager;
import org.apache.logging.log4j.Logger;
import org.apache.logging.log4j.core.config.Configurator;
import org.apache.logging.log4j.core.config.builder.api.ConfigurationBuilderFactory;

/** Log4j 2 with a file appender that flushes each record. */
public final class Log4j2 implements Contestant {
  private final Logger logger;

  public Log4j2(Path folder) {
    var builder = ConfigurationBuilderFactory.newConfigurationBuilder();
    builder.setStatusLevel(Level.ERROR);
    builder.add(builder.newAppender("file", "File")
                    .addAttribute("fileName", folder.resolve("log4j2.log").toString())
                    .addAttribute("immediateFlush", true)
                    .add(builder.newLayout("PatternLayout")
                             .addAttribute("pattern",
                                 "[%pid/%tid][%d{EEE MMM dd yyyy HH:mm:ss}][%c][%level] %m%n")));
    builder.add(builder.newRootLogger(Level.INFO).add(builder.newAppenderRef("file")));
    Configurator.initialize(builder.build());
    logger = LogManager.getLogger("bench.Log4j2");
  }

  @Override
  public void log(String user, String action, String resource) {
    logger.warn("User {} may not {} {}.", user, action, resource);
  }
}
