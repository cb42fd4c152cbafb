import java.util.logging.Logger;

/** A program that logs with java.util.logging and does not use the library's classes. */
public final class Unchanged {
  public static void main(String[] args) {
    // [unchanged]
    Logger.getLogger("guide").warning("Disk almost full");
    // [/unchanged]
  }
}
