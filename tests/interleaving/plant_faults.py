#!/usr/bin/env python3
"""Plants faults in the synchronised pieces, one at a time, and says who finds each.

usage: plant_faults.py --check SOURCE
       plant_faults.py SOURCE BUILD [--times N] [PIECE…]

SOURCE is a tree whose files may be changed: each is put back, but only when the script ends by itself. BUILD is where it is
built, and is configured already. For each fault the scenarios of its piece are built and run, and one of them must fail. Then
the other tests of the piece are run N times, 20 unless it is said. A line for each fault says which scenario failed after the
fewest orders, and in how many runs one of the other tests did. --check only says which fault no longer fits the sources.
"""

import argparse
import contextlib
import dataclasses
import json
import pathlib
import subprocess
import sys
import tempfile

LONGEST = 300  # seconds for one run of the scenarios of a piece, or of other tests: what waits for ever is found, too


@dataclasses.dataclass(frozen=True)
class Fault:
    piece: str
    what: str
    file: str
    changes: tuple  # pairs of texts: each first one stands once in the file, and is replaced by the second
    scenarios: str
    others: tuple  # pairs of a program, by target and folder, and a filter


PLATFORM = ("PlatformTests", "tests/vellora/Platform")
POOL = ("SteppedPlatformTests", "tests/vellora/Platform")
NETWORK = ("HostKitNetworkTests", "tests/hostkit")
CATALOG = ("CatalogTests", "tests/vellora/Catalog")
SERVICES = ("ServicesTests", "tests/vellora/Services")
STEPPED = ("SteppedCatalogTests", "tests/vellora/Catalog")

FAULTS = (
    Fault("promises", "a subscriber looks for the result, lets go of the lock, then waits",
          "vellora/Platform/Publishers/detail/PromiseSource.cpp",
          (("""    const std::lock_guard lock(mutex_);
    if (!isSettled_) {
""", """    if (!(std::lock_guard(mutex_), isSettled_)) {
      const std::lock_guard lock(mutex_);
"""),),
          "PromisesTest.*", ((PLATFORM, "*Publisher*:OutOfMemory*:Later*:Generated*"),)),
    Fault("published properties", "a subscriber takes the current value before it counts as one",
          "vellora/Platform/Publishers/detail/Broadcast.h",
          (("""    {
      const std::lock_guard lock(mutex_);
      if (current_) subscriber->enqueue(*current_);
""", """    if (const auto value = current()) subscriber->enqueue(*value);
    {
      const std::lock_guard lock(mutex_);
"""),),
          "PublishedPropertiesTest.*", ((PLATFORM, "Published*:Subject*:PublisherRace*"),)),
    Fault("tokens and sets", "a subscription that ends while a set takes it leaves its mark there",
          "vellora/Platform/Publishers/SubscriptionScope.cpp",
          (("""  scope.state_->parent = state_;
""", """  if (scope.isActive()) scope.state_->parent = state_;
"""),),
          "TokensTest.*", ((PLATFORM, "*Cancellable*:Subscription*:*Publisher*"),)),
    Fault("scopes", "an end looks whether it is the first before it locks",
          "vellora/Platform/Publishers/SubscriptionScope.cpp",
          (("""    const std::lock_guard lock(state->mutex);
    if (!state->active) return false;
""", """    if (!state->active) return false;
    const std::lock_guard lock(state->mutex);
"""),),
          "TokensTest.*", ((PLATFORM, "*Cancellable*:Subscription*:*Publisher*"),)),
    Fault("gates", "who finds nothing waiting lets go of the lock before it says that nobody is inside",
          "vellora/Platform/Publishers/SerialGate.cpp",
          (("""    {
      const std::lock_guard lock(mutex_);
      if (waiting_.empty()) {
        busy_ = false;
        return;
      }
""", """    if ((std::lock_guard(mutex_), waiting_.empty())) {
      const std::lock_guard lock(mutex_);
      busy_ = false;
      return;
    }
    {
      const std::lock_guard lock(mutex_);
"""),),
          "GatesTest.*", ((PLATFORM, "SerialGate*:*Publisher*:Published*:Subject*"),)),
    Fault("groups", "who is to be notified looks for tasks, lets go of the lock, then waits",
          "vellora/Platform/Queues/DispatchGroup.cpp",
          (("""    const std::lock_guard lock(state_->mutex);
    if (state_->outstanding > 0) {
""", """    if ((std::lock_guard(state_->mutex), state_->outstanding > 0)) {
      const std::lock_guard lock(state_->mutex);
"""),),
          "GatesTest.*", ((PLATFORM, "DispatchGroup*:*DispatchQueue*:OutOfMemory*"),)),
    Fault("remembered values", "the bytes are compared first, and the value is read then",
          "vellora/Platform/Values/Remembered.h",
          (("if (const Entry last = entry(); last.value && last.bytes == bytes) return last.value;",
            "if (entry().value && entry().bytes == bytes) return entry().value;"),),
          "SharedValuesTest.WhatIsRemembered*", ((PLATFORM, "Remembered*"),)),
    Fault("the pool", "a thread that has run out of patience ends though it was just sent for",
          "vellora/Platform/Queues/ThreadPool.cpp",
          (("""Sleep::now() < end) idleUntil(end, lock);
""", """Sleep::now() < end) idleUntil(end, lock);
    if (Sleep::now() >= end) return nullptr;
"""),),
          "PoolTest.*", ((POOL, "*"), (PLATFORM, "*DispatchQueue*:GlobalQueue*"))),
    Fault("the pool's serial queues", "a queue lets go of the lock between its last work and its rest",
          "vellora/Platform/Queues/SerialDispatchQueue.cpp",
          (("""    const std::lock_guard lock(mutex_);
    isSubmitted_ = !waiting_.empty();
""", """    const bool isEmpty = (std::lock_guard(mutex_), waiting_.empty());
    const std::lock_guard lock(mutex_);
    isSubmitted_ = !isEmpty;
"""),),
          "PoolTest.*", ((POOL, "*"), (PLATFORM, "*DispatchQueue*:GlobalQueue*"))),
    Fault("bounded queues", "a piece looks whether there is room, lets go of the lock, then enters",
          "vellora/Platform/Queues/BoundedQueue.cpp",
          (("""  const std::lock_guard lock(mutex_);
  if (running_ < atMost_) {
    ++running_;
    return true;
  }
""", """  if ((std::lock_guard(mutex_), running_ < atMost_)) {
    const std::lock_guard lock(mutex_);
    ++running_;
    return true;
  }
  const std::lock_guard lock(mutex_);
"""),),
          "GatesTest.*:PoolTest.*", ((PLATFORM, "BoundedQueue*"),)),
    Fault("the timer", "its thread lets go of the lock once more before it sleeps",
          "vellora/Platform/Queues/SystemTimedQueue.cpp",
          (("""    Sleep::on(earlier_, lock, wakesAt_);
""", """    const auto until = wakesAt_;
    lock.unlock();
    lock.lock();
    Sleep::on(earlier_, lock, until);
"""),),
          "TimerTest.*", ((PLATFORM, "TimedQueue*:Later*"),)),
    Fault("coalesced requests", "an answer takes those who wait for it before it ends the flight that others join",
          "hostkit/network/CoalescingNetwork.cpp",
          (("""    const std::lock_guard lock(mutex_);
    if (!std::exchange(flight->hasLanded, true)) {
""", """    auto answered = (std::lock_guard(mutex_), std::exchange(flight->waiting, {}));
    const std::lock_guard lock(mutex_);
    if (!std::exchange(flight->hasLanded, true)) {
"""), ("""    return std::exchange(flight->waiting, {});
""", """    return answered;
""")),
          "CoalescingTest.*", ((NETWORK, "Coalescing*"),)),
    Fault("shared runs", "the last to leave lets go of the lock before the run is taken off the list",
          "vellora/Platform/Publishers/SharedRuns.h",
          (("""      const std::lock_guard lock(mutex_);
      if (--run.waiting > 0) return;
""", """      if ((std::lock_guard(mutex_), --run.waiting) > 0) return;
      const std::lock_guard lock(mutex_);
"""),),
          "SharedValuesTest.*", ((PLATFORM, "SharedRuns*:LeasedRuns*"),)),
    Fault("deadlines and cancellations of questions", "the mark of a new end is wiped off behind the look, not before it",
          "vellora/Catalog/Asked.h",
          (("""      isMarked_ = false;
      if (isToEnd_) settle(ending_->end, ending_->rest);
      if (isSettled_) announce();
""", """      if (isToEnd_) settle(ending_->end, ending_->rest);
      if (isSettled_) announce();
      isMarked_ = false;
"""),),
          "QuestionsTest.*", ((CATALOG, "QuestionThreads*:CatalogRace*"), (STEPPED, "Question*:Session*"))),
    Fault("the façade", "a lookup counts among those that the end cancels only when it has started",
          "vellora/Services/VelloraServiceImplementation.cpp",
          (("""  services_.sObjects->sObjectsForNames(apiNames)
      .combineLatest(services_.themes->themes(apiNames))
      .sink(subscriptions_, std::move(keepInfos), std::move(answer));
""", """  subscriptions_.insert(services_.sObjects->sObjectsForNames(apiNames)
                            .combineLatest(services_.themes->themes(apiNames))
                            .sink(std::move(keepInfos), std::move(answer)));
"""),),
          "FacadeTest.*", ((SERVICES, "*"),)),
)


def problems(root, faults=FAULTS):
    for fault in faults:
        path = root / fault.file
        text = path.read_text() if path.is_file() else ""
        for original, _ in fault.changes:
            if text.count(original) != 1:
                yield f"{fault.file}: stands there {text.count(original)} times, not once: {original}"


@contextlib.contextmanager
def planted(root, fault):
    path = root / fault.file
    original = path.read_text()
    text = original
    for before, after in fault.changes:
        text = text.replace(before, after)
    path.write_text(text)
    try:
        yield
    finally:
        path.write_text(original)


def build(folder, targets):
    subprocess.run(["cmake", "--build", folder, "--target", *targets], check=True, stdout=sys.stderr)


def found_by_scenarios(folder, scenarios):
    """Which scenario fails after the fewest orders, and in how many; or that one hangs or crashes. None when each goes well."""
    program = folder / "tests/interleaving/InterleavingTests"
    with tempfile.NamedTemporaryFile(suffix=".json") as report:
        try:
            ended = subprocess.run([program, f"--gtest_filter={scenarios}", f"--gtest_output=json:{report.name}", "--gtest_brief=1"],
                                   stdout=sys.stderr, timeout=LONGEST, check=False)
        except subprocess.TimeoutExpired:
            return "a scenario that hangs"
        text = pathlib.Path(report.name).read_text()
    if ended.returncode == 0:
        return None
    if not text:  # it is written at the end
        return "a scenario that crashes"
    orders, name = min((int(test["interleavings"]), f"{test['classname']}.{test['name']}")
                       for suite in json.loads(text)["testsuites"] for test in suite["testsuite"] if "failures" in test)
    return f"`{name}`, order {orders:,}"


def fails(command):
    try:
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=LONGEST,
                              check=False).returncode != 0
    except subprocess.TimeoutExpired:
        return True


def found_by_others(folder, others, times):
    """In how many runs one of the other tests fails."""
    commands = [[folder / where / target, f"--gtest_filter={tests}"] for (target, where), tests in others]
    return sum(any([fails(command) for command in commands]) for _ in range(times))


def tried(source, folder, fault, times):
    """What is told of a fault, and whether a scenario has failed."""
    with planted(source, fault):
        build(folder, ["InterleavingTests", *(target for (target, _), _ in fault.others)])
        found = found_by_scenarios(folder, fault.scenarios)
        runs = found_by_others(folder, fault.others, times)
    return f"| {fault.piece}: {fault.what} | {found or 'no scenario'}; {runs} of {times} runs of other tests |", found is not None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--times", type=int, default=20)
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("build", type=pathlib.Path, nargs="?")
    parser.add_argument("piece", nargs="*")
    arguments = parser.parse_args()
    wrong = list(problems(arguments.source))
    if wrong or arguments.check:
        print("\n".join(wrong) if wrong else "every fault can be planted")
        return 1 if wrong else 0
    pieces = [fault.piece for fault in FAULTS]
    for piece in arguments.piece:
        if piece not in pieces:
            parser.error(f"there is no piece {piece!r}; there are {', '.join(pieces)}")
    missed = 0
    for fault in FAULTS:
        if arguments.piece and fault.piece not in arguments.piece:
            continue
        line, is_found = tried(arguments.source, arguments.build, fault, arguments.times)
        print(line, flush=True)
        missed += not is_found
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
