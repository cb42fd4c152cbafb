package com.orvantis.wyerrlog;

import java.util.Collection;
import java.util.List;
import java.util.Locale;
import java.util.function.Consumer;

/**
 * The names of the bridges' settings, and the report of a name that is not one of them. Without the
 * report a misspelt setting would have no effect, and the user would not notice.
 */
final class SettingNames {
  /** The settings of both bridges, without a prefix. */
  static final List<String> COMMON = List.of("logger", "localTime", "place", "log.file", "log.mode",
      "log.maxSizeMB", "log.maxBackups", "trace.file", "trace.mode", "trace.maxSizeMB",
      "trace.maxBackups", "trace.config", "trace.format", "trace.delimiter", "trace.component");

  // The most characters that may be missing, added or wrong in a misspelt name; two exchanged ones
  // count twice. A name that differs by more, and has another prefix, belongs to another program.
  private static final int SLIPS = 2;

  private SettingNames() {}

  /**
   * Reports each name that is not a setting but begins with the prefix or nearly equals a setting.
   *
   * @param names names that are set
   * @param prefix prefix of the settings
   * @param settings names of the settings, without the prefix
   * @param problems receives a text for each such name
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

  /** Returns the edit distance: the fewest characters to insert, delete or replace. */
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
