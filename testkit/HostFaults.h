#pragma once

#include <cstddef>
#include <functional>
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

/// Counts the calls to a host and says which of them fail, and how. One is shared by all facilities of a
/// host, so that their calls have one order.
///
/// Threads: safe to use from several threads at once. The functions of `Substitutes` are called inside the
/// failing call, with no lock held.
class VELLORA_EXPORT HostFaults {
 public:
  enum class Lasting {
    once,
    fromThenOn,  ///< that call and every later one that can have this fault
  };

  /// What is put in the place of something right. Each has a simple default.
  struct Substitutes {
    /// The body of `errorBody`.
    std::string errorBody = R"([{"message":"The server cannot answer now.","code":"UNAVAILABLE"}])";
    /// What the server says to a request: for `answeredAtOnce`, since the real answer is not there yet.
    /// Without it, or without a value, that is an error.
    std::function<std::optional<Data>(const CorvaneSDK::NetRequest&)> answerAtOnce = {};
    /// The bytes of `anothersBytes`; without it an empty JSON object.
    std::function<Data(const HostCall&, const Data& right)> anothersBytes = {};
    /// The bytes of `olderForm`; without it the right bytes as a member of a JSON object.
    std::function<Data(const HostCall&, const Data& right)> olderForm = {};
  };

  HostFaults() = default;
  explicit HostFaults(Substitutes substitutes) : substitutes_(std::move(substitutes)) {}

  /// Lets the call of that number, counted from 0, have `fault`. Several may be planned; of those that fit a
  /// call the newest counts. A fault that its call cannot have leaves that call alone.
  void plan(std::size_t call, HostFault fault, Lasting lasting = Lasting::once);

  /// No faults from now on.
  void mend();

  /// The calls so far, in order of their beginning.
  [[nodiscard]] std::vector<HostCall> calls() const;

  /// Forgets the calls so far, so that the next one is number 0.
  void clearCalls();

  /// For the facilities: counts `call` and tells its fault.
  [[nodiscard]] std::optional<HostFault> next(HostCall call);

  /// For the facilities: what stands in the place of `right`, which `call` has read, when it has `fault`; no
  /// value for `missing`.
  [[nodiscard]] std::optional<Data> substituted(HostFault fault, const HostCall& call,
                                                const Data& right) const;

  [[nodiscard]] const Substitutes& substitutes() const noexcept { return substitutes_; }

 private:
  struct Planned {
    std::size_t call;
    HostFault fault;
    Lasting lasting;
  };

  const Substitutes substitutes_ = {};  // constant after construction

  mutable std::mutex mutex_;      // guards what follows
  std::vector<Planned> planned_;  // the later counts
  std::vector<HostCall> calls_;
};

}  // namespace vellora::testkit
