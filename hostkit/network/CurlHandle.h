#pragma once

#include <curl/curl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/TransferSetting.h"

namespace vellora::hostkit {

/// A curl easy handle: the options of one request, and what curl tells of its answer.
///
/// Ownership: owns what curl needs besides the handle, and frees both. The request, the setting and the
/// receiver must outlive it.
///
/// Threads: one at a time. Curl calls the receiver on the thread that drives the handle.
///
/// Errors: false results; curl's own words from `reasonFor`.
///
/// Units: bytes.
class CurlHandle {
 public:
  /// Who takes in the answer. Neither call may throw: they come from within curl.
  class Receiver {
   public:
    /// Takes a line of the head, its line end included; a status line begins a new head.
    virtual void takeHeadLine(std::string_view line) noexcept = 0;

    /// Takes the next piece of the body as it came over the wire. False ends the transfer.
    [[nodiscard]] virtual bool takeBody(std::string_view piece) noexcept = 0;

   protected:
    ~Receiver() = default;
  };

  /// Sets every option of `request`. False when curl has no memory for it.
  [[nodiscard]] bool prepare(const CurlRequest& request, const TransferSetting& setting, Receiver& receiver);

  /// Aims the handle, once its transfer has ended, at another absolute URL. False when there is no memory.
  [[nodiscard]] bool redirectTo(const std::string& url);

  /// What curl's own functions take; null when curl gave no handle.
  [[nodiscard]] CURL* easy() const noexcept { return easy_.get(); }

  [[nodiscard]] int statusCode() const;

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
  template <class Value>
  void set(CURLoption option, Value value);
  void setRequest(const CurlRequest& request);
  void setConnection(const TransferSetting& setting);
  void setTls(const TransferSetting& setting);
  void setReceiver(Receiver& receiver);
  void appendHeader(const std::string& line);

  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_{curl_easy_init(), curl_easy_cleanup};
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_{nullptr, curl_slist_free_all};
  std::array<char, CURL_ERROR_SIZE> errorText_{};
  bool ready_ = easy_ != nullptr;  // until something cannot be set
};

}  // namespace vellora::hostkit
