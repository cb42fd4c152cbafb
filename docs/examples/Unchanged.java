import java.util.logging.Logger;

/** Knows nothing of the library. */
public final class Unchanged {
  public static void main(String[] args) {
    // [unchanged]
    Logger.getLogger("guide").warning("Disk almost full");
    // [/unchanged]
  }
}
