package com.orvantis.wyerrlog;

import java.nio.file.InvalidPathException;
import java.nio.file.Path;

/**
 * Finds and loads {@code libwyerrlog.so}: by the system property, else in the jar of native
 * libraries, else by the library path.
 */
final class NativeLibrary {
  private static final String NAME = "wyerrlog";

  private NativeLibrary() {}

  /**
   * Loads the library.
   *
   * @throws UnsatisfiedLinkError if it cannot be loaded; the message names the path that was tried
   */
  static void load() {
    String path = System.getProperty(WyLogger.LIBRARY_PROPERTY);
    if (path != null && !path.isEmpty()) {
      loadFile(path);
    } else if (!BundledLibrary.load()) {
      loadFromLibraryPath();
    }
  }

  private static void loadFile(String path) {
    try {
      System.load(Path.of(path).toAbsolutePath().toString());
    } catch (InvalidPathException | UnsatisfiedLinkError error) {
      throw unsatisfied("Cannot load \"" + path + "\", which the system property "
              + WyLogger.LIBRARY_PROPERTY + " names",
          error);
    }
  }

  private static void loadFromLibraryPath() {
    try {
      System.loadLibrary(NAME);
    } catch (UnsatisfiedLinkError error) {
      throw unsatisfied("Cannot load " + System.mapLibraryName(NAME) + " from java.library.path ("
              + System.getProperty("java.library.path") + "); the system property "
              + WyLogger.LIBRARY_PROPERTY + " can name the file",
          error);
    }
  }

  static UnsatisfiedLinkError unsatisfied(String text, Throwable cause) {
    UnsatisfiedLinkError error = new UnsatisfiedLinkError(text + ": " + cause.getMessage());
    error.initCause(cause);
    return error;
  }
}
