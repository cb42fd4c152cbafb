package com.orvantis.wyerrlog;

import java.util.Collection;
import java.util.List;
import java.util.Locale;
import java.util.function.Consumer;

/**
 * The names of the bridges' settings, and what to report of a name that is none of them: a setting
 * that is never read would otherwise change nothing, and nothing would say so.
 */
final class SettingNames {
  /** The settings of both bridges, without a prefix. */
  static final List<String> COMMON = List.of("logger", "localTime", "log.file", "log.mode",
      "log.maxSizeMB", "log.maxBackups", "trace.file", "trace.mode", "trace.maxSizeMB",
      "trace.maxBackups", "trace.config", "trace.format", "trace.delimiter", "trace.component");

  // Characters that are missing, added or wrong; two that have changed places are two. What differs
  // by more and has another prefix is a setting of another program.
  private static final int SLIPS = 2;

  private SettingNames() {}

  /**
   * Reports each name that begins with the prefix, or nearly equals a setting, and is none.
   *
   * @param names what is set
   * @param prefix of the settings
   * @param settings what exists, without the prefix
   */
  static void check(Collection<String> names, String prefix, Collection<String> settings,
      Consumer<String> problems) {
    for (String name : names) {
      if (name.startsWith(prefix) && settings.contains(name.substring(prefix.length()))) {
        continue;
      }
      String nearest = nearest(name, prefix, settings);
      int slips = slips(name.toLowerCase(Locale.ROOT), nearest.toLowerCase(Locale.ROOT));
      if (slips <= SLIPS) {
        problems.accept(name + ": no such setting; did you mean " + nearest + "?");
      } else if (name.startsWith(prefix)) {
        problems.accept(name + ": no such setting; did you mean " + nearest
            + "? The settings are, after " + prefix + ": " + String.join(", ", settings));
      }
    }
  }

  private static String nearest(String name, String prefix, Collection<String> settings) {
    String nearest = null;
    int fewest = Integer.MAX_VALUE;
    for (String setting : settings) {
      int slips = slips(name.toLowerCase(Locale.ROOT), (prefix + setting).toLowerCase(Locale.ROOT));
      if (slips < fewest) {
        fewest = slips;
        nearest = prefix + setting;
      }
    }
    return nearest;
  }

  /** How many characters to insert, delete or replace to make one text of the other. */
  private static int slips(String from, String to) {
    int[] previous = new int[to.length() + 1];
    for (int i = 0; i < previous.length; i++) {
      previous[i] = i;
    }
    for (int i = 1; i <= from.length(); i++) {
      int[] current = new int[to.length() + 1];
      current[0] = i;
      for (int j = 1; j <= to.length(); j++) {
        int replaced = previous[j - 1] + (from.charAt(i - 1) == to.charAt(j - 1) ? 0 : 1);
        current[j] = Math.min(replaced, Math.min(previous[j], current[j - 1]) + 1);
      }
      previous = current;
    }
    return previous[to.length()];
  }
}
