#include "testkit/HostCall.h"

namespace vellora::testkit {

namespace {

std::string verbOf(HostCall::Operation operation) {
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
      return "open table";
    case Operation::createTable:
      return "create table";
    case Operation::tableLoad:
      return "table load";
    case Operation::tableFetch:
      return "table fetch";
    case Operation::tablePurge:
      return "table purge";
    case Operation::tableUpsert:
      return "table upsert";
    case Operation::log:
      return "log";
  }
  return "unknown";
}

}  // namespace

std::string HostCall::description() const {
  return verbOf(operation) + " " + subject;
}

}  // namespace vellora::testkit
