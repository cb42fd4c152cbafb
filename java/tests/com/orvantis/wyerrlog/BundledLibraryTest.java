package com.orvantis.wyerrlog;

import static com.orvantis.wyerrlog.Tests.*;

import java.io.IOException;
import java.lang.reflect.InvocationTargetException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.util.List;
import java.util.stream.Stream;

/** The native library out of the jar that contains it; the jar is on the class path here. */
final class BundledLibraryTest {
  private static final String FOLDER = "META-INF/wyerrlog/linux-x86_64/";

  public static void main(String[] arguments) throws Exception {
    Files.createDirectory(Path.of(path("tmp")));
    System.setProperty("java.io.tmpdir", path("tmp"));
    Tests.run(BundledLibraryTest.class);
  }

  private static List<Path> leftOver() throws IOException {
    try (Stream<Path> files = Files.list(Path.of(path("tmp")))) {
      return files.toList();
    }
  }

  @Test
  static void theLibraryIsLoadedAndNoFileStays() throws IOException {
    WyLogs.ofProcess().logTo(WyFile.at(path("bundled.log")));
    check(WyLog.of(BundledLibraryTest.class).info("loaded"), "taken");
    checkEqual(List.of(), leftOver());
    List<String> mapped = Files.readAllLines(Path.of("/proc/self/maps"))
                              .stream()
                              .filter(line -> line.contains("libwyerrlog.so"))
                              .toList();
    check(!mapped.isEmpty(), "mapped");
    check(mapped.stream().allMatch(line -> line.contains(path("tmp"))), "mapped: " + mapped);
  }

  /** Copies the jar's files, changes one, and returns the reason why they cannot be loaded. */
  private static String reasonAfterChange(String changed, byte[] bytes) throws Exception {
    Path folder = Files.createDirectories(Path.of(path("changed-" + changed)).resolve(FOLDER));
    for (String name : List.of("index", "libwyi18n.so.1", "libWyXlate.so.1", "libwyerrlog.so.1")) {
      try (var stream =
               BundledLibraryTest.class.getClassLoader().getResourceAsStream(FOLDER + name)) {
        Files.copy(stream, folder.resolve(name));
      }
    }
    Files.write(folder.resolve(changed), bytes, StandardOpenOption.WRITE);
    URL jar = WyLogs.class.getProtectionDomain().getCodeSource().getLocation();
    URL[] urls = {jar, Path.of(path("changed-" + changed)).toUri().toURL()};
    try (URLClassLoader loader = new URLClassLoader(urls, ClassLoader.getPlatformClassLoader())) {
      Class<?> type = loader.loadClass("com.orvantis.wyerrlog.WyLogger");
      return expect(UnsatisfiedLinkError.class, () -> {
        try {
          type.getMethod("TraceEnabled", String.class).invoke(null, "x");
        } catch (InvocationTargetException thrown) {
          throw(Error) thrown.getCause();
        }
      }).getMessage();
    }
  }

  @Test
  static void damagedFilesAreNotLoaded() throws Exception {
    byte[] damage = "damaged".getBytes();
    for (String name : List.of("libwyerrlog.so.1", "index")) {
      String reason = reasonAfterChange(name, damage);
      check(reason.contains("digest") && reason.contains("java.io.tmpdir"), reason);
    }
    checkEqual(List.of(), leftOver());
  }
}
