#include "hostkit/network/CurlHandle.h"

#include <openssl/ssl.h>

#include <new>

namespace vellora::hostkit {

namespace {

// curl is C: no exception may get there.
template <class Take>
std::size_t received(std::size_t count, Take take) noexcept {
  try {
    return take() ? count : CURL_WRITEFUNC_ERROR;
  } catch (const std::bad_alloc&) {
    return CURL_WRITEFUNC_ERROR;
  }
}

curl_socket_t openSocket(void* connections, curlsocktype, curl_sockaddr* address) noexcept {
  return static_cast<Connections*>(connections)->open(address->family, address->socktype, address->protocol);
}

int closeSocket(void* connections, curl_socket_t socket) noexcept {
  static_cast<Connections*>(connections)->close(socket);
  return 0;
}

/// True for curl's words about a proxy whose address it could not read: they repeat that address, cut
/// anywhere, with the user's name and password in it. The words about other proxies name the host at most.
bool quotesProxy(std::string_view reason) {
  return reason.find("proxy") != std::string_view::npos && reason.find('\'') != std::string_view::npos;
}

/// The TLS session of the transfer's connection; null when there is none.
const curl_tlssessioninfo* tlsOf(CURL* easy) {
  curl_tlssessioninfo* session = nullptr;
  curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session);
  return session != nullptr && session->internals != nullptr ? session : nullptr;
}

/// Null for a session of another library than OpenSSL.
const SSL* openSslOf(const curl_tlssessioninfo& tls) {
  return tls.backend == CURLSSLBACKEND_OPENSSL ? static_cast<const SSL*>(tls.internals) : nullptr;
}

/// HTTP/2 is offered over TLS only, which says what was agreed on. What a server writes in a head is no sign.
Connections::Protocol protocolOver(const curl_tlssessioninfo* tls) {
  const SSL* session = tls != nullptr ? openSslOf(*tls) : nullptr;
  if (session == nullptr) return Connections::Protocol::http1;
  const unsigned char* name = nullptr;
  unsigned length = 0;
  SSL_get0_alpn_selected(session, &name, &length);
  const bool isHttp2 = std::string_view(reinterpret_cast<const char*>(name), length) == "h2";
  return isHttp2 ? Connections::Protocol::http2 : Connections::Protocol::http1;
}

/// What TLS has taken from the socket is no longer seen there. True as well when TLS cannot be asked.
bool isUnreadIn(const curl_tlssessioninfo& tls) {
  const SSL* session = openSslOf(tls);
  return session == nullptr || SSL_has_pending(session) != 0;
}

}  // namespace

bool CurlHandle::prepare(const CurlRequest& request, const TransferSetting& setting, Connections& connections,
                         Receiver& receiver) {
  connections_ = &connections;
  receiver_ = &receiver;
  setRequest(request);
  setConnection(setting);
  setConnections();
  setTls(setting);
  setReceiver();
  return ready_;
}

bool CurlHandle::useFreshConnection() {
  state_ = Connections::State::fresh;
  set(CURLOPT_FRESH_CONNECT, 1L);
  return ready_;
}

int CurlHandle::admitConnection(void* self, char*, char*, int, int localPort) noexcept {
  auto& handle = *static_cast<CurlHandle*>(self);
  const curl_tlssessioninfo* tls = tlsOf(handle.easy());
  const Connections::Protocol protocol = protocolOver(tls);
  handle.state_ = handle.connections_->use(localPort, protocol);
  const bool isUnread = protocol == Connections::Protocol::http1 && tls != nullptr && isUnreadIn(*tls);
  if (handle.state_ == Connections::State::kept && isUnread) handle.state_ = Connections::State::spoilt;
  return handle.state_ == Connections::State::spoilt ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
}

// curl 7.88.1 tells only in its debug text that bytes followed an answer in the same read. It drops them and
// keeps the connection, on which more may come. So the connection is not used again.
int CurlHandle::noteLeftovers(CURL* easy, curl_infotype type, char* text, std::size_t size, void*) noexcept {
  const std::string_view line(text, size);
  const bool tells = line.starts_with("Leftovers after chunking") || line.starts_with("Excess found");
  if (type == CURLINFO_TEXT && tells) curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
  return 0;
}

std::size_t CurlHandle::receiveHeadLine(const char* bytes, std::size_t, std::size_t count,
                                        void* self) noexcept {
  return received(count, [&] {
    return static_cast<const CurlHandle*>(self)->receiver_->takeHeadLine({bytes, count});
  });
}

std::size_t CurlHandle::receiveBody(const char* bytes, std::size_t, std::size_t count, void* self) noexcept {
  return received(count, [&] {
    return static_cast<const CurlHandle*>(self)->receiver_->takeBody({bytes, count});
  });
}

template <class Value>
void CurlHandle::set(CURLoption option, Value value) {
  ready_ = ready_ && curl_easy_setopt(easy_.get(), option, value) == CURLE_OK;
}

void CurlHandle::setHeaders(const CurlRequest& request) {
  for (const std::string& line : request.headerLines) appendHeader(line);
  set(CURLOPT_HTTPHEADER, headers_.get());
}

void CurlHandle::setRequest(const CurlRequest& request) {
  setHeaders(request);
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

void CurlHandle::setConnections() {
  set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
  set(CURLOPT_OPENSOCKETDATA, static_cast<void*>(connections_));
  set(CURLOPT_CLOSESOCKETFUNCTION, &closeSocket);
  set(CURLOPT_CLOSESOCKETDATA, static_cast<void*>(connections_));
  set(CURLOPT_PREREQFUNCTION, &admitConnection);
  set(CURLOPT_PREREQDATA, static_cast<void*>(this));
  set(CURLOPT_DEBUGFUNCTION, &noteLeftovers);
  set(CURLOPT_VERBOSE, 1L);  // else nothing is told of leftovers
}

void CurlHandle::setReceiver() {
  set(CURLOPT_ERRORBUFFER, errorText_.data());
  set(CURLOPT_WRITEFUNCTION, &receiveBody);
  set(CURLOPT_WRITEDATA, static_cast<void*>(this));
  set(CURLOPT_HEADERFUNCTION, &receiveHeadLine);
  set(CURLOPT_HEADERDATA, static_cast<void*>(this));
}

void CurlHandle::appendHeader(const std::string& line) {
  if (!ready_) return;
  curl_slist* longer = curl_slist_append(headers_.get(), line.c_str());
  ready_ = longer != nullptr;
  if (!ready_) return;
  static_cast<void>(headers_.release());  // it is the rest of the longer list
  headers_.reset(longer);
}

bool CurlHandle::replaceHeaders(const CurlRequest& request) {
  headers_.reset();
  setHeaders(request);
  return ready_;
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

bool CurlHandle::wasSent() const {
  long bytes = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_REQUEST_SIZE, &bytes);
  return bytes > 0;
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
  std::string general = curl_easy_strerror(static_cast<CURLcode>(curlCode));
  if (told.empty()) return general;
  if (quotesProxy(told)) return general + ": the proxy's address, from the environment, cannot be used";
  return std::string(told);
}

}  // namespace vellora::hostkit
