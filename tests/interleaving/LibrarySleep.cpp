#include <condition_variable>
#include <mutex>

#include "tests/interleaving/Run.h"
#include "tests/interleaving/Standard.h"
#include "vellora/Platform/Queues/Sleep.h"

// In place of the library's sleep: the time of a run passes when the run chooses.

namespace vellora {

Sleep::Moment Sleep::now() {
  return tests::interleaving::Run::current()->now();
}

void Sleep::on(tests::interleaving::ConditionVariable& condition,
               std::unique_lock<tests::interleaving::Mutex>& lock, Moment until) {
  condition.sleep(lock, until);
}

}  // namespace vellora
