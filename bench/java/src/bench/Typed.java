package bench;

import com.orvantis.wyerrlog.WyLog;
import java.nio.file.Path;

/** A translated message by the typed class. */
public final class Typed implements Contestant {
  private static final WyLog LOG = WyLog.of(Typed.class);

  public Typed(Path folder) {}

  @Override
  public void log(String user, String action, String resource) {
    LOG.message(JavaBench.REFUSED, user, action, resource);
  }
}
