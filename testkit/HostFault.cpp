#include "testkit/HostFault.h"

namespace vellora::testkit {

std::string_view describe(HostFault fault) {
  switch (fault) {
    case HostFault::networkError:
      return "error";
    case HostFault::noBody:
      return "no body";
    case HostFault::emptyBody:
      return "empty body";
    case HostFault::errorBody:
      return "error body";
    case HostFault::truncatedBody:
      return "truncated body";
    case HostFault::garbageBody:
      return "garbage";
    case HostFault::answeredTwice:
      return "answered twice";
    case HostFault::answeredLate:
      return "answered late";
    case HostFault::answeredAtOnce:
      return "answered at once";
    case HostFault::neverAnswered:
      return "never answered";
    case HostFault::missing:
      return "missing";
    case HostFault::truncated:
      return "truncated";
    case HostFault::bitFlipped:
      return "bit flipped";
    case HostFault::anothersBytes:
      return "another's";
    case HostFault::olderForm:
      return "older form";
    case HostFault::refused:
      return "refused";
    case HostFault::lineLost:
      return "line lost";
  }
  return "unknown";
}

const std::vector<HostFault>& faultsOf(HostCall::Operation operation) {
  using Operation = HostCall::Operation;
  static const std::vector<HostFault> requests = {
      HostFault::networkError,   HostFault::noBody,       HostFault::emptyBody,     HostFault::errorBody,
      HostFault::truncatedBody,  HostFault::garbageBody,  HostFault::answeredTwice, HostFault::answeredLate,
      HostFault::answeredAtOnce, HostFault::neverAnswered};
  static const std::vector<HostFault> reads = {HostFault::missing, HostFault::truncated,
                                               HostFault::bitFlipped, HostFault::anothersBytes,
                                               HostFault::olderForm};
  static const std::vector<HostFault> searches = {HostFault::missing};
  static const std::vector<HostFault> writes = {HostFault::refused};
  static const std::vector<HostFault> lines = {HostFault::lineLost};
  switch (operation) {
    case Operation::sendRequest:
      return requests;
    case Operation::load:
    case Operation::tableLoad:
      return reads;
    case Operation::openTable:
    case Operation::tableFetch:
      return searches;
    case Operation::save:
    case Operation::remove:
    case Operation::createTable:
    case Operation::tablePurge:
    case Operation::tableUpsert:
      return writes;
    case Operation::log:
      break;
  }
  return lines;
}

}  // namespace vellora::testkit
