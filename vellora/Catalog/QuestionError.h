#pragma once

#include <string>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Why the catalogue itself did not get a question answered, or refused a key.
///
/// Ownership: a plain value.
///
/// Threads: immutable.
struct VELLORA_EXPORT QuestionError {
  enum class Case {
    wouldBlock,    ///< `get` was called on a thread that the answer, or its delivery, may need
    alreadyTaken,  ///< the question was waited for a second time, and its answer is gone
    timedOut,      ///< the lists or layouts did not come in time
    emptyKey,      ///< the key has no characters
    notUtf8,       ///< the key is no text
    quoteInId,    ///< the id holds a quotation mark or a backslash, which would change the query that it goes
                  ///< into
    commaInName,  ///< the name holds a comma, which would make two names of it
    tooLong,      ///< the key is longer than a request may be
  };

  Case errorCase;

  [[nodiscard]] std::string localizedDescription() const;

  friend bool operator==(const QuestionError&, const QuestionError&) = default;
};

}  // namespace vellora
