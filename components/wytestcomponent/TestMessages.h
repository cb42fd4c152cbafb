#ifndef COMPONENTS_WYTESTCOMPONENT_TESTMESSAGES_H
#define COMPONENTS_WYTESTCOMPONENT_TESTMESSAGES_H

// Messages and sub-components of "wytestcomponent", which tests load: translated messages with and
// without their entries in the catalogs (bundle "wytest"), and printf-style ones.

#include "wyerrlog/WyMessageId.h"

namespace TestComponent {

enum ComponentId : unsigned int {
  Component = WyComponentId(2),
  Parser = WyComponentId(2, 1),
  LongName = WyComponentId(2, 2),  // "A_name_of_exactly_31_characters"
  Writer = WyComponentId(2, 3),
};

enum Message : unsigned int {
  // Keys "wytest-00001" to "wytest-00005".
  ServerStarted = WyMessageId(Component, WySeverity::Information, 1),  // {0} port
  DiskNearlyFull = WyMessageId(Component, WySeverity::Warning, 2),     // {0}; no German entry
  Untranslated = WyMessageId(Component, WySeverity::Error, 3),         // in no catalog
  NoSeverity = WyMessageId(Component, WySeverity::Invalid, 4),
  CopyRefused = WyMessageId(Component, WySeverity::Error, 5),  // {0}, {1}; German has {1}, {0}

  // printf patterns.
  Statistics = WyMessageId(Component, WySeverity::Information, 6),  // %s %d %u %.1f %c %#06lx
  CopyFailed = WyMessageId(Component, WySeverity::Warning, 7),      // %s %s %s
  EmptyPattern = WyMessageId(Component, WySeverity::Error, 8),
};

}  // namespace TestComponent

#endif
