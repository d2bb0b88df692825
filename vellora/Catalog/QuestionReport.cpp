#include "vellora/Catalog/QuestionReport.h"

namespace vellora {

std::string_view nameOf(QuestionKind kind) {
  switch (kind) {
    case QuestionKind::records:
      return "records";
    case QuestionKind::types:
      return "types";
    case QuestionKind::allTypes:
      return "allTypes";
    case QuestionKind::searchColumns:
      return "searchColumns";
    case QuestionKind::headlines:
      return "headlines";
    case QuestionKind::refresh:
      return "refresh";
    case QuestionKind::load:
      break;
  }
  return "load";
}

std::string_view nameOf(End end) {
  switch (end) {
    case End::answered:
      return "answered";
    case End::failed:
      return "failed";
    case End::timedOut:
      return "timedOut";
    case End::cancelled:
      break;
  }
  return "cancelled";
}

std::string_view nameOf(Missing::Why why) {
  switch (why) {
    case Missing::Why::unknown:
      return "unknown";
    case Missing::Why::failed:
      return "failed";
    case Missing::Why::notAsked:
      return "notAsked";
    case Missing::Why::notCached:
      return "notCached";
    case Missing::Why::timedOut:
      return "timedOut";
    case Missing::Why::cancelled:
      break;
  }
  return "cancelled";
}

std::string_view nameOf(QuestionReport::Origin origin) {
  switch (origin) {
    case QuestionReport::Origin::nowhere:
      return "nowhere";
    case QuestionReport::Origin::cache:
      return "cache";
    case QuestionReport::Origin::server:
      break;
  }
  return "server";
}

}  // namespace vellora
