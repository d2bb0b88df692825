#include "hostkit/network/CurlHandle.h"

namespace vellora::hostkit {

namespace {

std::size_t receiveHeadLine(const char* bytes, std::size_t, std::size_t count, void* receiver) noexcept {
  static_cast<CurlHandle::Receiver*>(receiver)->takeHeadLine({bytes, count});
  return count;
}

std::size_t receiveBody(const char* bytes, std::size_t, std::size_t count, void* receiver) noexcept {
  const bool taken = static_cast<CurlHandle::Receiver*>(receiver)->takeBody({bytes, count});
  return taken ? count : CURL_WRITEFUNC_ERROR;
}

/// True for curl's words about a proxy whose address it could not read: they repeat that address, cut
/// anywhere, with the user's name and password in it. The words about other proxies name the host at most.
bool quotesProxy(std::string_view reason) {
  return reason.find("proxy") != std::string_view::npos && reason.find('\'') != std::string_view::npos;
}

}  // namespace

bool CurlHandle::prepare(const CurlRequest& request, const TransferSetting& setting, Receiver& receiver) {
  setRequest(request);
  setConnection(setting);
  setTls(setting);
  setReceiver(receiver);
  return ready_;
}

template <class Value>
void CurlHandle::set(CURLoption option, Value value) {
  ready_ = ready_ && curl_easy_setopt(easy_.get(), option, value) == CURLE_OK;
}

void CurlHandle::setRequest(const CurlRequest& request) {
  for (const std::string& line : request.headerLines) appendHeader(line);
  set(CURLOPT_HTTPHEADER, headers_.get());
  set(CURLOPT_USERAGENT, "vellora/" VELLORA_VERSION);
  set(CURLOPT_URL, request.url.c_str());
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_FOLLOWLOCATION, 0L);  // the transfer judges redirects, not curl
}

void CurlHandle::setConnection(const TransferSetting& setting) {
  set(CURLOPT_PROTOCOLS_STR, setting.server.scheme().c_str());
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_CONNECTTIMEOUT_MS, wholeMilliseconds(setting.connectTimeout));
  // Without TLS a proxy would read the token.
  if (setting.server.scheme() != "https" || setting.server.isLoopback()) set(CURLOPT_PROXY, "");
  set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
}

void CurlHandle::setTls(const TransferSetting& setting) {
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 2L);
  set(CURLOPT_SSL_SESSIONID_CACHE, 0L);  // curl 7.88.1 can free a session twice when memory runs out
  if (setting.caFile) set(CURLOPT_CAINFO, setting.caFile->c_str());
}

void CurlHandle::setReceiver(Receiver& receiver) {
  set(CURLOPT_ERRORBUFFER, errorText_.data());
  set(CURLOPT_WRITEFUNCTION, &receiveBody);
  set(CURLOPT_WRITEDATA, static_cast<void*>(&receiver));
  set(CURLOPT_HEADERFUNCTION, &receiveHeadLine);
  set(CURLOPT_HEADERDATA, static_cast<void*>(&receiver));
}

void CurlHandle::appendHeader(const std::string& line) {
  if (!ready_) return;
  curl_slist* longer = curl_slist_append(headers_.get(), line.c_str());
  ready_ = longer != nullptr;
  if (!ready_) return;
  static_cast<void>(headers_.release());  // it is the rest of the longer list
  headers_.reset(longer);
}

bool CurlHandle::redirectTo(const std::string& url) {
  set(CURLOPT_URL, url.c_str());
  return ready_;
}

int CurlHandle::statusCode() const {
  long status = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
  return static_cast<int>(status);
}

std::size_t CurlHandle::announcedLength() const {
  curl_off_t announced = -1;
  curl_easy_getinfo(easy_.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
  return announced > 0 ? static_cast<std::size_t>(announced) : 0;
}

std::string CurlHandle::redirectTarget() const {
  const char* target = nullptr;
  curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &target);
  return target != nullptr ? target : "";
}

std::string CurlHandle::effectiveUrl() const {
  const char* url = nullptr;
  curl_easy_getinfo(easy_.get(), CURLINFO_EFFECTIVE_URL, &url);
  return url != nullptr ? url : "";
}

std::string CurlHandle::reasonFor(int curlCode) const {
  const std::string_view told = errorText_.data();
  const std::string general = curl_easy_strerror(static_cast<CURLcode>(curlCode));
  if (told.empty()) return general;
  if (quotesProxy(told)) return general + ": the proxy's address, from the environment, cannot be used";
  return std::string(told);
}

}  // namespace vellora::hostkit
