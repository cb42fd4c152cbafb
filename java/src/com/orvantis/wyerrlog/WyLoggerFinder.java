package com.orvantis.wyerrlog;

import java.util.List;
import java.util.logging.ErrorManager;

/**
 * Makes {@code System.Logger} log and trace through the library. The virtual machine finds this
 * class by itself when {@code wyerrlog.jar} is on the class path; an unchanged program needs no
 * more than system properties:
 *
 * <pre>
 * java -cp agent.jar:wyerrlog.jar -Dwyerrlog.log.file=/var/log/agent/error.log ...
 * </pre>
 *
 * The properties are the ones that {@link WyLogHandler} describes, as {@code wyerrlog.<key>}. The
 * level {@code ERROR} is an error, {@code WARNING} a warning and {@code INFO} an information of the
 * error log; {@code DEBUG} and {@code TRACE} go to the trace, and are loggable as long as the trace
 * configuration selects their component. The property {@code wyerrlog.level} names the lowest level
 * that is loggable at all; by default all are.
 *
 * <p>Records that these settings name no file for go where the platform's default finder sends
 * them: to {@code java.util.logging}. Without {@code wyerrlog.log.file} these are errors, warnings
 * and informations; without {@code wyerrlog.trace.file} either, all. The native library is then not
 * even loaded. The same holds for a file that cannot be opened. A program that installs its outputs
 * itself configures {@link WyLogHandler} without files as a handler of {@code java.util.logging}.
 *
 * <p>Loggers may be used by any thread, and throw nothing to the code that logs. Settings that do
 * not exist, values that make no sense, and outputs that cannot be installed are reported by an
 * {@link ErrorManager} of {@code java.util.logging}, which prints on {@code System.err}. When the
 * native library cannot be loaded, or there is no error log in a runtime without {@code
 * java.util.logging}, {@code System.Logger} works as if this class were not there, and the virtual
 * machine says so.
 */
public final class WyLoggerFinder extends System.LoggerFinder {
  private final Bridge bridge; // null: no file is named
  private final System.Logger.Level level;

  /**
   * Made by the virtual machine.
   *
   * @throws UnsatisfiedLinkError when the native library cannot be loaded; the virtual machine then
   *     uses its own loggers
   * @throws UnsupportedOperationException when there is no error log, and no module {@code
   *     java.logging} in the runtime either; likewise
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
   * @param name what the logger says its name is
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

  // An ErrorManager prints its first report alone: each has one of its own.
  private static void report(String problem) {
    if (PlatformLogger.isAvailable()) {
      new ErrorManager().error("wyerrlog: " + problem, null, ErrorManager.OPEN_FAILURE);
    } else {
      System.err.println("wyerrlog: " + problem);
    }
  }
}
