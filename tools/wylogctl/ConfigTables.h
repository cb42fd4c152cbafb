#ifndef WYLOGCTL_CONFIGTABLES_H
#define WYLOGCTL_CONFIGTABLES_H

// What a trace configuration can name on this machine: the data fields, and the components that are
// installed. A program that logs takes the components from their libraries; here they come from the
// manifests, because loading a library runs its code.

#include <deque>
#include <string>
#include <vector>

#include "tools/wylogctl/Context.h"
#include "wyerrlog/WyTraceData.h"

class CWyConfigTables {
 public:
  CWyConfigTables();

  // From the manifests; or with `bLoadLibraries` from the component libraries, which a child
  // process loads. Returns false, with the error reported, if the child fails.
  bool Load(CWyContext& context, bool bLoadLibraries);

  // Returns false if there is neither manifest nor loaded library: the components are those that
  // the library knows by name, and nothing is known of their sub-components.
  bool HasComponents() const { return m_bComponents; }

  const std::vector<WyTraceComponentInfo>& Components() const { return m_components; }
  const std::vector<WyTraceDataFieldInfo>& Fields() const { return m_fields; }

 private:
  void Add(unsigned int uId, const std::string& strName);
  bool LoadManifests(CWyContext& context);
  bool LoadLibraries(CWyContext& context);
  void AddKnown();

  std::deque<std::string> m_names;  // that m_components points at
  std::vector<WyTraceComponentInfo> m_components;
  std::vector<WyTraceDataFieldInfo> m_fields;
  bool m_bComponents = true;
};

#endif
