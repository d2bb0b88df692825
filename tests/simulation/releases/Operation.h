#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/simulation/releases/Stage.h"

namespace vellora::releases {

/// What is promised of an operation once its owner has been released.
enum class Promise {
  silence,       ///< nothing of the host is called any more, and nothing answered
  noAnswer,      ///< nothing is answered, saved or logged; what is read already may still go on
  answer,        ///< it is answered all the same, and until then all goes on
  passedOn,      ///< it is answered all the same, and nothing saved or logged
  goesOn,        ///< it goes on until it is answered, which it may be
  mayBeAnswered  ///< an answer of the server may be passed on, and nothing is saved or logged
};

/// Something that an app does with the library.
struct Operation {
  enum class Group { facade, service, catalog };

  using Act = std::function<void(Stage& stage)>;

  std::string name;
  Group group;
  Promise promise;
  Act make;                    ///< makes the owner
  Act ask;                     ///< begins the operation with it
  Act midway = [](Stage&) {};  ///< some steps later
};

/// All of them, in no particular order.
[[nodiscard]] const std::vector<Operation>& operations();

/// The one of that name; null for none.
[[nodiscard]] const Operation* operationNamed(const std::string& name);

}  // namespace vellora::releases
