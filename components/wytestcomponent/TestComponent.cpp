// The component that tests load: keys with and without catalog entries, printf patterns with all
// kinds of conversions, an empty pattern, and texts that fill their arrays.

#include "components/TableComponent.h"
#include "components/wytestcomponent/TestMessages.h"

namespace {

constexpr WyMessageRow Messages[] = {
    {TestComponent::ServerStarted, "wytest-00001"},
    {TestComponent::DiskNearlyFull, "wytest-00002"},
    {TestComponent::Untranslated, "wytest-00003"},
    {TestComponent::NoSeverity, "wytest-00004"},
    {TestComponent::CopyRefused, "wytest-00005"},
    {TestComponent::Statistics, "%s served %d of %u requests (%.1f%%) in state '%c', flags %#06lx"},
    {TestComponent::CopyFailed, "Copying %s to %s failed: %s"},
    {TestComponent::EmptyPattern, ""},
};
static_assert(AreNumberedFromOne(Messages));

constexpr WyErrSubComponentInfo SubComponents[] = {
    {"Parse", "Parser", "Reads requests"},
    {"abbreviated_to_23_bytes", "A_name_of_exactly_31_characters", "Fills its array"},
    {"Write", "Writer", "Writes answers"},
};

}  // namespace

extern "C" CWyErrLogComponent* GetComponentPtr() {
  static CWyTableComponent s_component(TestComponent::Component, "wytest", "wytestcomponent",
                                       "Messages for tests", Messages, SubComponents);
  return &s_component;
}
