package bench;

import com.orvantis.wyerrlog.WyLogger;
import java.nio.file.Path;

/** A translated message by the class of earlier versions. */
public final class Native implements Contestant {
  public Native(Path folder) {}

  @Override
  public void log(String user, String action, String resource) {
    WyLogger.LogMsg(
        null, "Native.java", JavaBench.REFUSED, new String[] {user, action, resource});
  }
}
