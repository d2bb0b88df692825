#include "fuzz/FacadeTarget.h"
#include "fuzz/KeptBodyTarget.h"
#include "fuzz/RecordTargets.h"
#include "fuzz/Target.h"
#include "fuzz/TimeStampTarget.h"
#include "fuzz/UrlTarget.h"

namespace vellora::fuzz {

const std::vector<Target>& targets() {
  static const std::vector<Target> all = [] {
    auto list = recordTargets();
    list.push_back({"TimeStamp", runTimeStamp});
    list.push_back({"Url", runUrl});
    list.push_back({"KeptBody", runKeptBody});
    list.push_back({"Facade", runFacade});
    return list;
  }();
  return all;
}

}  // namespace vellora::fuzz
