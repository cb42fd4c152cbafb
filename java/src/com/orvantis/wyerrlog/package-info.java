/**
 * Java's side of {@code libwyerrlog}. {@link com.orvantis.wyerrlog.WyLogs} opens the logs, {@link
 * com.orvantis.wyerrlog.WyLog}, {@link com.orvantis.wyerrlog.WyTrace} and {@link
 * com.orvantis.wyerrlog.WyAudit} write records; {@link com.orvantis.wyerrlog.WyLogHandler} and
 * {@link com.orvantis.wyerrlog.WyLoggerFinder} serve programs that use other interfaces; {@link
 * com.orvantis.wyerrlog.WyLogger} has the native methods of earlier versions.
 */
package com.orvantis.wyerrlog;
