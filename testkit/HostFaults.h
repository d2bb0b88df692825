#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "testkit/HostCall.h"
#include "testkit/HostFault.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// Records the calls to a host, and says which of them fail, and how. One is shared by all facilities of a
/// host, so that their calls have one order.
///
/// A fault is planned for a call by its number, or for all calls of a kind:
///
///     faults.plan(3, HostFault::truncated);                              // the fourth call
///     faults.fail(HostCall::Operation::save);                            // every save
///     faults.fail(HostCall::Operation::load, "ops.theme.fetch.timestamp");  // each load of that blob
///
/// When both fit a call, the fault that was planned by number counts.
///
/// Ownership: owns what it is given, and copies of the calls.
///
/// Threads: safe to use from several threads at once. Predicates and the functions of `Substitutes` are
/// called inside the failing call, with no lock held.
class VELLORA_EXPORT HostFaults {
 public:
  /// For how long a fault that is planned by number lasts.
  enum class Lasting {
    once,        ///< for that call
    fromThenOn,  ///< for that call and every later one that can have the fault
  };

  /// Tells by a call's subject whether the call is to fail.
  using SubjectPredicate = std::function<bool(const std::string& subject)>;

  /// What a call with a fault yields instead of the right thing. Each has a simple default.
  struct Substitutes {
    /// The body of `errorBody`.
    std::string errorBody = R"([{"message":"The server cannot answer now.","code":"UNAVAILABLE"}])";
    /// The answer to a request with `answeredAtOnce`, since the real answer is not there yet. Without this
    /// function, or when it returns no value, the answer is an error.
    std::function<std::optional<Data>(const CorvaneSDK::NetRequest&)> answerAtOnce = {};
    /// The bytes of `anothersBytes`; without it an empty JSON object.
    std::function<Data(const HostCall&, const Data& right)> anothersBytes = {};
    /// The bytes of `olderForm`; without it the right bytes as a member of a JSON object.
    std::function<Data(const HostCall&, const Data& right)> olderForm = {};
  };

  HostFaults() = default;
  explicit HostFaults(Substitutes substitutes) : substitutes_(std::move(substitutes)) {}

  /// Lets the call of that number, counted from 0, have `fault`. Several faults may be planned; when more
  /// than one fits a call, the one planned last counts. A fault that its call cannot have does nothing.
  void plan(std::size_t call, HostFault fault, Lasting lasting = Lasting::once);

  /// Lets the calls of that kind have the plainest fault of their kind from now on: all, those for `subject`,
  /// or those whose subject `subjects` admits. A later `fail` of the same operation replaces the earlier one.
  void fail(HostCall::Operation operation);
  void fail(HostCall::Operation operation, std::string subject);
  void fail(HostCall::Operation operation, SubjectPredicate subjects);

  /// Undoes `fail` for the calls of that kind.
  void mend(HostCall::Operation operation);

  /// Undoes every `plan` and every `fail`. A table that was not created goes on failing.
  void mend();

  /// The calls so far, in order of their beginning.
  [[nodiscard]] std::vector<HostCall> calls() const;

  /// Forgets the calls so far, so that the next one is number 0.
  void clearCalls();

  /// For the facilities: records `call`, and returns its fault if it has one.
  [[nodiscard]] std::optional<HostFault> next(HostCall call);

  /// For the facilities: what `call` yields under `fault`. `right` is what it has read and would yield
  /// without the fault. No value for `missing`.
  [[nodiscard]] std::optional<Data> substituted(HostFault fault, const HostCall& call,
                                                const Data& right) const;

  /// For the facilities: the substitutes given at construction.
  [[nodiscard]] const Substitutes& substitutes() const noexcept { return substitutes_; }

 private:
  struct Planned {
    std::size_t call;
    HostFault fault;
    Lasting lasting;
  };

  [[nodiscard]] bool failsByKind(const HostCall& call) const;
  [[nodiscard]] std::optional<HostFault> plannedFor(
      std::size_t number,
      HostCall::Operation operation) const;  // with mutex_ locked

  const Substitutes substitutes_ = {};  // constant after construction

  mutable std::mutex mutex_;      // guards what follows
  std::vector<Planned> planned_;  // in order of planning; the last that fits counts
  std::map<HostCall::Operation, SubjectPredicate> failing_;
  std::vector<HostCall> calls_;
};

}  // namespace vellora::testkit
