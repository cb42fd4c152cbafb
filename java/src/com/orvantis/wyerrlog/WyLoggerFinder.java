package com.orvantis.wyerrlog;

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
 * <p>Loggers may be used by any thread, and throw nothing to the code that logs. Problems with the
 * properties are told on {@code System.err}. When the native library cannot be loaded, {@code
 * System.Logger} works as if this class were not there, and says so.
 */
public final class WyLoggerFinder extends System.LoggerFinder {
  private final Bridge bridge;
  private final System.Logger.Level level;

  /**
   * Made by the virtual machine.
   *
   * @throws UnsatisfiedLinkError when the native library cannot be loaded; the virtual machine then
   *     uses its own loggers
   */
  public WyLoggerFinder() {
    bridge =
        Bridge.open(BridgeSettings.ofSystemProperties(WyLoggerFinder::tell), WyLoggerFinder::tell);
    level = levelOf(System.getProperty(BridgeSettings.PREFIX + "level"));
  }

  /**
   * Answers a logger.
   *
   * @param name what the logger says its name is
   * @param module not used
   * @return a new logger
   */
  @Override
  public System.Logger getLogger(String name, Module module) {
    return new BridgeLogger(name, bridge, level);
  }

  private static System.Logger.Level levelOf(String name) {
    try {
      return name != null ? System.Logger.Level.valueOf(name) : System.Logger.Level.ALL;
    } catch (IllegalArgumentException unknown) {
      tell("level: \"" + name + "\" is not the name of a level");
      return System.Logger.Level.ALL;
    }
  }

  private static void tell(String problem) {
    System.err.println("wyerrlog: " + problem);
  }
}
