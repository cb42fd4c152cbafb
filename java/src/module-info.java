/**
 * Logging through {@code libwyerrlog}: error log, trace and audit log, together with the C++ code
 * of the process. {@link com.orvantis.wyerrlog.WyLogs} opens the logs, {@link
 * com.orvantis.wyerrlog.WyLog}, {@link com.orvantis.wyerrlog.WyTrace} and {@link
 * com.orvantis.wyerrlog.WyAudit} write records.
 *
 * <p>On the class path the library also runs in a runtime without the module {@code java.logging}.
 *
 * @provides java.lang.System.LoggerFinder
 */
module com.orvantis.wyerrlog {
  requires transitive java.logging;

  exports com.orvantis.wyerrlog;

  provides System.LoggerFinder with com.orvantis.wyerrlog.WyLoggerFinder;
}
