package com.orvantis.wyerrlog;

import java.util.List;
import java.util.logging.ErrorManager;

/**
 * Makes {@code System.Logger} log and trace through the library. The virtual machine uses this
 * class if {@code wyerrlog.jar} is on the class path. An unchanged program needs only system
 * properties:
 *
 * <pre>
 * java -cp agent.jar:wyerrlog.jar -Dwyerrlog.log.file=/var/log/agent/error.log ...
 * </pre>
 *
 * The properties are those that {@link WyLogHandler} describes, as {@code wyerrlog.<key>}. The
 * levels
 * {@code ERROR}, {@code WARNING} and {@code INFO} become errors, warnings and informations of the
 * error log. {@code DEBUG} and {@code TRACE} are written to the trace; they are loggable while the
 * trace configuration selects their component. The property {@code wyerrlog.level} names the lowest
 * loggable level; by default all levels are loggable.
 *
 * <p>Records for which no file is named are passed to {@code java.util.logging}, as by the
 * platform's default finder. Without {@code wyerrlog.log.file} these are errors, warnings and
 * informations. Without {@code wyerrlog.trace.file} too, they are all records, and the native
 * library is not loaded. A file that cannot be opened counts as missing. A program that installs
 * its outputs itself configures {@link WyLogHandler} without files as a handler of {@code
 * java.util.logging}.
 *
 * <p>Any thread may use a logger. Loggers throw nothing to the caller. Unknown settings, invalid
 * values and outputs that cannot be installed are reported by an {@link ErrorManager} of {@code
 * java.util.logging}, which prints on {@code System.err}. If the native library cannot be loaded,
 * or if there is neither an error log nor {@code java.util.logging}, the virtual machine reports it
 * and uses its own loggers.
 */
public final class WyLoggerFinder extends System.LoggerFinder {
  private final Bridge bridge; // null if no file is named
  private final System.Logger.Level level;

  /**
   * Installs the outputs. The virtual machine calls it. If it throws, the virtual machine uses its
   * own loggers.
   *
   * @throws UnsatisfiedLinkError if the native library cannot be loaded
   * @throws UnsupportedOperationException if there is no error log, and no module {@code
   *     java.logging} in the runtime
   */
  public WyLoggerFinder() {
    BridgeSettings.checkSystemProperties(WyLoggerFinder::report);
    BridgeSettings settings = BridgeSettings.ofSystemProperties(WyLoggerFinder::report);
    bridge = settings.nameAFile() ? Bridge.open(settings, WyLoggerFinder::report) : null;
    if ((bridge == null || !bridge.hasErrorLog()) && !PlatformLogger.isAvailable()) {
      throw new UnsupportedOperationException(
          "wyerrlog.log.file names no file that can be opened, and there is no java.util.logging");
    }
    level = levelOf(System.getProperty(BridgeSettings.PREFIX + "level"));
  }

  /**
   * Returns a logger.
   *
   * @param name name of the logger
   * @param module not used
   * @return a new logger
   */
  @Override
  public System.Logger getLogger(String name, Module module) {
    return bridge != null ? new BridgeLogger(name, bridge, level) : new PlatformLogger(name);
  }

  private static System.Logger.Level levelOf(String name) {
    try {
      return name != null ? System.Logger.Level.valueOf(name) : System.Logger.Level.ALL;
    } catch (IllegalArgumentException unknown) {
      report("level: \"" + name + "\" is not the name of a level; the names are "
          + List.of(System.Logger.Level.values()));
      return System.Logger.Level.ALL;
    }
  }

  // An ErrorManager prints only its first report, so each report gets a new one.
  private static void report(String problem) {
    if (PlatformLogger.isAvailable()) {
      new ErrorManager().error("wyerrlog: " + problem, null, ErrorManager.OPEN_FAILURE);
    } else {
      System.err.println("wyerrlog: " + problem);
    }
  }
}
