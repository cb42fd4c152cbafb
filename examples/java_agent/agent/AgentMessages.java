package agent;

/** Identifiers of the component IsAuthorized, the same as in its header for C++. */
final class AgentMessages {
  static final int RECEIVE_REQUEST = 0x04010000;
  static final int SEND_RESPONSE = 0x04020000;

  static final int NOT_PERMITTED = 0x04008007; // user, action, resource, rule
  static final int NO_RULE = 0x04008008; // user, action, resource

  private AgentMessages() {}
}
