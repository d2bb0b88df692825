#include "vellora/Catalog/RequestReport.h"

namespace vellora {

std::string_view nameOf(RequestReport::Outcome outcome) {
  switch (outcome) {
    case RequestReport::Outcome::body:
      return "body";
    case RequestReport::Outcome::error:
      return "error";
    case RequestReport::Outcome::nothing:
      break;
  }
  return "nothing";
}

}  // namespace vellora
