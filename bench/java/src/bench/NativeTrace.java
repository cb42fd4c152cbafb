package bench;

import com.orvantis.wyerrlog.WyLogger;
import java.nio.file.Path;

/** A trace record by the class of earlier versions. */
public final class NativeTrace implements Contestant {
  public NativeTrace(Path folder) {}

  @Override
  public void log(String user, String action, String resource) {
    WyLogger.TraceMsg(null, "NativeTrace.java", "log", JavaBench.TRACED, null,
        "User %s may not %s %s.", new String[] {user, action, resource});
  }
}
