package com.orvantis.wyerrlog;

import java.nio.file.Path;
import java.util.Objects;

/**
 * A log file and how it is opened, limited and kept. Immutable: each method returns a changed copy.
 *
 * <pre>{@code
 * WyFile.at("/var/log/agent/error.log").rollingAt(10, 5)
 * }</pre>
 *
 * <p>The library checks the values when the file is installed (see {@link WyLogs#logTo}). A path
 * without {@code /} is a file in the working directory.
 */
public final class WyFile {
  /** What becomes of a file that exists, and whether the file is rolled over by size. */
  public enum Mode {
    /** The file is overwritten. */
    OVERWRITE,
    /** Records are appended to the file. */
    APPEND,
    /** The file is renamed to a backup. */
    ROLL_AT_OPEN,
    /** As {@link #APPEND}, and rolled over before the file reaches its limit. */
    APPEND_ROLL_BY_SIZE,
    /** As {@link #ROLL_AT_OPEN}, and rolled over before the file reaches its limit. */
    ROLL_AT_OPEN_AND_BY_SIZE
  }

  private static final int DEFAULT_PERMISSIONS = 0644;

  final String path;
  final Mode mode;
  final int maxSizeMB;
  final int backups;
  final int permissions;
  final boolean synchronous;
  final boolean daily;
  final int maxAgeDays;

  private WyFile(String path, Mode mode, int maxSizeMB, int backups, int permissions,
      boolean synchronous, boolean daily, int maxAgeDays) {
    this.path = Objects.requireNonNull(path, "path");
    this.mode = Objects.requireNonNull(mode, "mode");
    this.maxSizeMB = maxSizeMB;
    this.backups = backups;
    this.permissions = permissions;
    this.synchronous = synchronous;
    this.daily = daily;
    this.maxAgeDays = maxAgeDays;
  }

  /**
   * Returns a file that is appended to, without limits, with the permissions 0644.
   *
   * @param path path of the file
   * @return the file
   */
  public static WyFile at(String path) {
    return new WyFile(path, Mode.APPEND, 0, 0, DEFAULT_PERMISSIONS, false, false, 0);
  }

  /**
   * Returns a file that is appended to, without limits, with the permissions 0644.
   *
   * @param path path of the file
   * @return the file
   */
  public static WyFile at(Path path) {
    return at(path.toString());
  }

  /**
   * Returns the file with a mode.
   *
   * @param mode treatment of an existing file
   * @return a copy
   */
  public WyFile mode(Mode mode) {
    return new WyFile(path, mode, maxSizeMB, backups, permissions, synchronous, daily, maxAgeDays);
  }

  /**
   * Returns the file with a size limit: mode {@link Mode#APPEND_ROLL_BY_SIZE}, unless it is {@link
   * Mode#ROLL_AT_OPEN_AND_BY_SIZE} already.
   *
   * @param maxSizeMB the limit in MiB, 1 to 4095
   * @param backups number of backups to keep; 0 keeps all
   * @return a copy
   */
  public WyFile rollingAt(int maxSizeMB, int backups) {
    Mode rolling = mode == Mode.ROLL_AT_OPEN || mode == Mode.ROLL_AT_OPEN_AND_BY_SIZE
        ? Mode.ROLL_AT_OPEN_AND_BY_SIZE
        : Mode.APPEND_ROLL_BY_SIZE;
    return new WyFile(
        path, rolling, maxSizeMB, backups, permissions, synchronous, daily, maxAgeDays);
  }

  /**
   * Returns the file with a number of backups to keep.
   *
   * @param backups number of backups; 0 keeps all
   * @return a copy
   */
  public WyFile backups(int backups) {
    return new WyFile(path, mode, maxSizeMB, backups, permissions, synchronous, daily, maxAgeDays);
  }

  /**
   * Returns the file with permissions.
   *
   * @param permissions permissions of files that are created, less the umask, as {@code 0640}
   * @return a copy
   */
  public WyFile permissions(int permissions) {
    return new WyFile(path, mode, maxSizeMB, backups, permissions, synchronous, daily, maxAgeDays);
  }

  /**
   * Returns the file with synchronous writes: each record is on the disk when its call returns.
   *
   * @return a copy
   */
  public WyFile synchronous() {
    return new WyFile(path, mode, maxSizeMB, backups, permissions, true, daily, maxAgeDays);
  }

  /**
   * Returns the file with a rollover by day.
   *
   * @return a copy
   */
  public WyFile daily() {
    return new WyFile(path, mode, maxSizeMB, backups, permissions, synchronous, true, maxAgeDays);
  }

  /**
   * Returns the file with an age limit: older backups are deleted.
   *
   * @param days the limit; 0 keeps all
   * @return a copy
   */
  public WyFile maxAgeDays(int days) {
    return new WyFile(path, mode, maxSizeMB, backups, permissions, synchronous, daily, days);
  }

  @Override
  public String toString() {
    return "\"" + path + "\" (" + mode + ", maxSizeMB " + maxSizeMB + ", backups " + backups
        + ", permissions 0" + Integer.toOctalString(permissions)
        + (synchronous ? ", synchronous" : "") + (daily ? ", daily" : "") + ", maxAgeDays "
        + maxAgeDays + ")";
  }
}
