#ifndef WEBAGENT_H
#define WEBAGENT_H

#include <wyerrlog/WyMessageId.h>

namespace WebAgent {

enum ComponentId : unsigned int { Component = WyComponentId(6) };

enum Message : unsigned int {
  Started = WyMessageId(Component, WySeverity::Information, 1),  // {0} who, {1} port
};

}  // namespace WebAgent

#endif
