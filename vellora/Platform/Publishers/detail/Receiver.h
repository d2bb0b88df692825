#pragma once

#include "vellora/Platform/Publishers/Completion.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// What stands behind an `Observer`, whatever the type of the values: so that most of a pipeline is compiled
/// once, and not for each type.
///
/// Threads and Errors: as `Observer`.
class VELLORA_EXPORT Receiver : public Counted {
 public:
  /// Takes the next value. `value` points to one of the pipeline's type, which may be moved from.
  virtual void receive(void* value) = 0;

  /// Takes the end. It is the last call.
  virtual void complete(Completion&& completion) = 0;

 protected:
  ~Receiver() override;
};

}  // namespace vellora::detail
