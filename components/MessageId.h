#ifndef COMPONENTS_MESSAGEID_H
#define COMPONENTS_MESSAGEID_H

// How identifiers are put together, so that every component names its messages in one header and no
// number is written at the place that logs. The layout of the bits is that of WyLogComponent.h.

enum class WySeverity : unsigned int { Invalid, Information, Warning, Error };

// A component (its row in the known component table + 1), or its n-th sub-component, from 1.
constexpr unsigned int WyComponentId(unsigned int uComponent, unsigned int uSubComponent = 0) {
  return (uComponent << 24) | (uSubComponent << 16);
}

// A message of the component with the identifier `uComponentId`. Numbers are counted from 1.
constexpr unsigned int WyMessageId(unsigned int uComponentId, WySeverity severity,
                                   unsigned int uNumber) {
  return uComponentId | (static_cast<unsigned int>(severity) << 14) | uNumber;
}

constexpr unsigned int WyMessageNumber(unsigned int uMessageId) { return uMessageId & 0x3FFF; }

#endif
