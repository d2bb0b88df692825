#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/simulation/World.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::simulation {

/// What is known, from outside, of a question that a catalogue was asked: what its answer must keep to.
struct SimulatedQuestion {
  enum class Kind { records, types, allTypes, searchColumns, headlines, refresh };

  Kind kind = Kind::records;
  int number = 0;
  std::set<std::string> keys;
  Source source = Source::cacheFirst;
  TimedQueue::Delay deadline = TimedQueue::Delay::zero();  ///< on the catalogue's timer

  bool isStopped = false;  ///< it may end as cancelled, and its answer still comes
  bool isGivenUp = false;  ///< no answer comes any more
  int answers = 0;

  /// "records 3 001a zzz".
  [[nodiscard]] std::string title() const;
};

// Each checks an answer that has come at `now`, on behalf of the catalogue's cause, and reports what is not
// as it must be to the world: the end fits what has happened, each key is accounted for once, what was found
// is what the host handed out, and each reason is one that there can be.
void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<ObjectPresentationInfo>& answer);
void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<ObjectLayoutInfo>& answer);
void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<ObjectCompactLayoutInfo>& answer);
void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<TypeChange>& answer);

}  // namespace vellora::simulation
