package bench;

import ch.qos.logback.classic.Logger;
import ch.qos.logback.classic.LoggerContext;
import ch.qos.logback.classic.encoder.PatternLayoutEncoder;
import ch.qos.logback.classic.spi.ILoggingEvent;
import ch.qos.logback.core.FileAppender;
import java.nio.file.Path;

/** Logback with a file appender that flushes each record. */
public final class Logback implements Contestant {
  private final Logger logger;

  public Logback(Path folder) {
    LoggerContext context = new LoggerContext();
    PatternLayoutEncoder encoder = new PatternLayoutEncoder();
    encoder.setContext(context);
    encoder.setPattern("[%thread][%d{EEE MMM dd yyyy HH:mm:ss}][%logger][%level] %msg%n");
    encoder.start();
    FileAppender<ILoggingEvent> appender = new FileAppender<>();
    appender.setContext(context);
    appender.setFile(folder.resolve("logback.log").toString());
    appender.setImmediateFlush(true);
    appender.setEncoder(encoder);
    appender.start();
    logger = context.getLogger("bench.Logback");
    logger.addAppender(appender);
  }

  @Override
  public void log(String user, String action, String resource) {
    logger.warn("User {} may not {} {}.", user, action, resource);
  }
}
