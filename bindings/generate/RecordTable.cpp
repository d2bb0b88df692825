#include "bindings/generate/RecordTable.h"

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"

namespace vellora::generate {

RecordTable recordsOfAnswers() {
  Tables tables;
  tables.add<ObjectPresentationInfo>();
  tables.add<ObjectLayoutInfo>();
  tables.add<ObjectCompactLayoutInfo>();
  return std::move(tables).taken();
}

}  // namespace vellora::generate
