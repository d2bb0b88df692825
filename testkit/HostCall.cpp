#include "testkit/HostCall.h"

namespace vellora::testkit {

namespace {

std::string nameOf(HostCall::Operation operation) {
  using Operation = HostCall::Operation;
  switch (operation) {
    case Operation::sendRequest:
      return "GET";
    case Operation::load:
      return "load";
    case Operation::save:
      return "save";
    case Operation::remove:
      return "remove";
    case Operation::openTable:
      return "openTable";
    case Operation::createTable:
      return "createTable";
    case Operation::tableLoad:
      return "tableLoad";
    case Operation::tableFetch:
      return "tableFetch";
    case Operation::tablePurge:
      return "tablePurge";
    case Operation::tableUpsert:
      return "tableUpsert";
    case Operation::log:
      return "log";
  }
  return "unknown";
}

}  // namespace

std::string HostCall::target() const {
  std::string text = subject;
  for (const auto& [name, value] : meta) text.append(" ").append(name).append("=").append(value);
  return text;
}

std::string HostCall::description() const {
  return nameOf(operation) + " " + target() + (failed ? " (failed)" : "");
}

}  // namespace vellora::testkit
