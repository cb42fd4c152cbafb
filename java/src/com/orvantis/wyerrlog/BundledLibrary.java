package com.orvantis.wyerrlog;

import java.io.IOException;
import java.io.InputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.util.ArrayList;
import java.util.HexFormat;
import java.util.List;

/**
 * Loads the native libraries from the jar that contains them, if that is on the class path. They
 * are unpacked to a new folder that only this user can read and write, so that neither another
 * process nor another user has a part in it, and compared with their digests as they are on the
 * disk. The folder is removed as soon as the virtual machine has mapped them.
 */
final class BundledLibrary {
  private static final String FOLDER = "META-INF/wyerrlog/linux-x86_64/";

  private final List<String> digests = new ArrayList<>();
  private final List<String> names = new ArrayList<>(); // the one to load last

  private BundledLibrary(String index) {
    for (String line : index.lines().toList()) {
      String[] words = line.split(" +", 2);
      digests.add(words[0]);
      names.add(words[words.length - 1]);
    }
  }

  /**
   * Loads the library, if there is such a jar.
   *
   * @return false if there is none for this system
   * @throws UnsatisfiedLinkError if the library cannot be unpacked or loaded
   */
  static boolean load() {
    if (!System.getProperty("os.name").equals("Linux")
        || !System.getProperty("os.arch").equals("amd64")) {
      return false;
    }
    try {
      byte[] index = resource("index");
      if (index == null) {
        return false;
      }
      new BundledLibrary(new String(index, StandardCharsets.UTF_8)).unpackAndLoad();
      return true;
    } catch (IOException | NoSuchAlgorithmException problem) {
      throw NativeLibrary.unsatisfied("Cannot unpack the native library to "
              + System.getProperty("java.io.tmpdir")
              + "; the system property java.io.tmpdir can name another folder",
          problem);
    }
  }

  /** Returns the bytes of a file in the jar; null if there is none. */
  private static byte[] resource(String name) throws IOException {
    ClassLoader loader = BundledLibrary.class.getClassLoader();
    try (InputStream stream = loader.getResourceAsStream(FOLDER + name)) {
      return stream != null ? stream.readAllBytes() : null;
    }
  }

  private void unpackAndLoad() throws IOException, NoSuchAlgorithmException {
    Path folder =
        Files.createTempDirectory(Path.of(System.getProperty("java.io.tmpdir")), "wyerrlog",
            PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------")));
    try {
      for (String name : names) {
        unpack(folder, name);
      }
      System.load(folder.resolve(names.get(names.size() - 1)).toString());
    } catch (UnsatisfiedLinkError error) {
      throw NativeLibrary.unsatisfied("Cannot load the native library from " + folder
              + ", where it has been unpacked; a folder on a file system that is mounted with noexec"
              + " cannot be used: the system property java.io.tmpdir can name another one",
          error);
    } finally {
      for (String name : names) {
        Files.deleteIfExists(folder.resolve(name));
      }
      Files.deleteIfExists(folder);
    }
  }

  private void unpack(Path folder, String name) throws IOException, NoSuchAlgorithmException {
    byte[] bytes = resource(name);
    if (bytes == null || name.contains("/")) {
      throw new IOException("the jar has no library " + name);
    }
    Path file = folder.resolve(name);
    Files.write(file, bytes);
    byte[] digest = MessageDigest.getInstance("SHA-256").digest(Files.readAllBytes(file));
    if (!HexFormat.of().formatHex(digest).equals(digests.get(names.indexOf(name)))) {
      throw new IOException(name + " has not the digest that the jar states: the jar or the disk is"
          + " damaged");
    }
  }
}
