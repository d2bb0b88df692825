#include "vellora/Catalog/QuestionError.h"

namespace vellora {

std::string QuestionError::localizedDescription() const {
  switch (errorCase) {
    case Case::wouldBlock:
      return "Waiting here would block the answer. Use then or co_await.";
    case Case::alreadyTaken:
      return "The answer was taken already. Wait for a question once.";
    case Case::timedOut:
      return "The request was not answered in time.";
    case Case::emptyKey:
      return "The key is empty.";
    case Case::notUtf8:
      return "The key is not UTF-8.";
    case Case::quoteInId:
      return "The id holds a quotation mark or a backslash.";
    case Case::commaInName:
      return "The name holds a comma.";
    case Case::tooLong:
      break;
  }
  return "The key is too long.";
}

}  // namespace vellora
