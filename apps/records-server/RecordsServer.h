#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/records-server/DataSet.h"
#include "apps/records-server/Fault.h"
#include "apps/records-server/RecordedRequest.h"
#include "apps/records-server/ServerOptions.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::recordsserver {

/// A business-records server over real HTTP/1.1 on the loopback interface, for demonstrations and tests. It
/// answers from a `DataSet`, remembers what it was asked, and can be told to misbehave.
///
/// Ownership: the server owns its thread, its listening socket and its connections; destroying it stops it.
///
/// Threads: all members are safe to call from several threads; `onRequest` runs on the server's own thread.
///
/// Errors: only starting can fail, with a sentence for a person. A client learns of its mistakes from the
/// answer.
class RecordsServer {
 public:
  using Options = ServerOptions;

  /// Stands for every target where `setFault` takes a pattern.
  static constexpr const char* everything = "*";

  /// Listens on 127.0.0.1; requests are answered from this moment on.
  [[nodiscard]] static Result<std::unique_ptr<RecordsServer>> start(const DataSet& data,
                                                                    Options options = {});

  ~RecordsServer();
  RecordsServer(const RecordsServer&) = delete;
  RecordsServer& operator=(const RecordsServer&) = delete;

  [[nodiscard]] std::uint16_t port() const;
  /// "http://127.0.0.1:PORT", without a slash at the end.
  [[nodiscard]] std::string url() const;

  /// Closes everything at once, answered or not, and returns when the server's thread has ended. Must not be
  /// called from `onRequest`. A second call does nothing.
  void stop();

  /// The request lines so far, in order of arrival, exactly as they were received and without the protocol's
  /// version: "GET /services/data/v50.0/search/layout?q=Account,Contact".
  [[nodiscard]] std::vector<std::string> requests() const;
  /// The same with their headers.
  [[nodiscard]] std::vector<RecordedRequest> recordedRequests() const;
  void clearRequests();
  /// Waits until there are at least `count` requests; false when that took longer than `atMost`.
  [[nodiscard]] bool waitForRequests(std::size_t count,
                                     std::chrono::milliseconds atMost = std::chrono::seconds(60)) const;

  /// Answers from `data` from now on.
  void replaceData(const DataSet& data);

  /// How many bytes of answers have been sent, or are being sent, heads included.
  [[nodiscard]] std::uint64_t bytesSent() const;

  /// Requests that match `pattern` get `fault`: the next `count` of them, or all when there is no count. A
  /// pattern without a `?` is compared with the target's path, one with it with the whole target; a `*` in it
  /// stands for any text. Setting the same pattern again replaces its fault; of several patterns that match,
  /// the one set last wins.
  void setFault(const std::string& pattern, Fault fault, std::optional<std::size_t> count = std::nullopt);
  void clearFaults();

 private:
  class Implementation;
  explicit RecordsServer(std::unique_ptr<Implementation> implementation);

  const std::unique_ptr<Implementation> implementation_;
};

}  // namespace vellora::recordsserver
