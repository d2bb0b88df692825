#pragma once

#include <curl/curl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/network/Connections.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/TransferSetting.h"

namespace vellora::hostkit {

/// A curl easy handle: the options of one request, and what curl tells of its answer. A connection is used
/// again only if nothing has come on it since its last answer, or if it speaks HTTP/2.
///
/// Ownership: owns what curl needs besides the handle, and frees both. The request, the setting, the
/// connections and the receiver must outlive it.
///
/// Threads: one at a time. Curl calls the receiver on the thread that drives the handle.
///
/// Errors: false results; curl's own words from `reasonFor`.
///
/// Units: bytes.
class CurlHandle {
 public:
  /// Who takes in the answer. A call that gives false, or has no memory, ends the transfer.
  class Receiver {
   public:
    /// Takes a line of the head, or of the trailers behind the body, its line end included; a status line
    /// begins a new head.
    [[nodiscard]] virtual bool takeHeadLine(std::string_view line) = 0;

    /// Takes the next piece of the body as it came over the wire.
    [[nodiscard]] virtual bool takeBody(std::string_view piece) = 0;

   protected:
    ~Receiver() = default;
  };

  /// Sets every option of `request`. False when curl has no memory for it.
  [[nodiscard]] bool prepare(const CurlRequest& request, const TransferSetting& setting,
                             Connections& connections, Receiver& receiver);

  /// Has the next transfer open a connection of its own. False when there is no memory.
  [[nodiscard]] bool useFreshConnection();

  /// In which state the connection was right before the request would be sent. If it was spoilt, the transfer
  /// has ended with CURLE_ABORTED_BY_CALLBACK, and nothing was sent.
  [[nodiscard]] Connections::State connectionState() const noexcept { return state_; }

  /// Sends the header lines of `request` in place of the ones before. False when there is no memory.
  [[nodiscard]] bool replaceHeaders(const CurlRequest& request);

  /// Aims the handle, once its transfer has ended, at another absolute URL. False when there is no memory.
  [[nodiscard]] bool redirectTo(const std::string& url);

  /// What curl's own functions take; null when curl gave no handle.
  [[nodiscard]] CURL* easy() const noexcept { return easy_.get(); }

  [[nodiscard]] int statusCode() const;

  /// True once the request, or some of it, has been sent.
  [[nodiscard]] bool wasSent() const;

  /// The length that the head announces for the body; 0 when it announces none.
  [[nodiscard]] std::size_t announcedLength() const;

  /// Where the answer redirects to, made absolute by the URL that redirected; empty when nowhere.
  [[nodiscard]] std::string redirectTarget() const;

  /// The URL that was asked last.
  [[nodiscard]] std::string effectiveUrl() const;

  /// Why a transfer ended with the CURLcode `curlCode`, in curl's words, unless these repeat the address of a
  /// proxy.
  [[nodiscard]] std::string reasonFor(int curlCode) const;

 private:
  // What curl calls, and hands this handle to.
  static int admitConnection(void* self, char*, char*, int, int localPort) noexcept;
  static int noteLeftovers(CURL* easy, curl_infotype type, char* text, std::size_t size, void*) noexcept;
  static std::size_t receiveHeadLine(const char* bytes, std::size_t, std::size_t count, void* self) noexcept;
  static std::size_t receiveBody(const char* bytes, std::size_t, std::size_t count, void* self) noexcept;

  template <class Value>
  void set(CURLoption option, Value value);
  void setRequest(const CurlRequest& request);
  void setHeaders(const CurlRequest& request);
  void setConnection(const TransferSetting& setting);
  void setConnections();
  void setTls(const TransferSetting& setting);
  void setReceiver();
  void appendHeader(const std::string& line);

  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_{curl_easy_init(), curl_easy_cleanup};
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_{nullptr, curl_slist_free_all};
  std::array<char, CURL_ERROR_SIZE> errorText_{};
  Connections* connections_ = nullptr;
  Receiver* receiver_ = nullptr;
  Connections::State state_ = Connections::State::fresh;
  bool ready_ = easy_ != nullptr;  // until something cannot be set
};

}  // namespace vellora::hostkit
