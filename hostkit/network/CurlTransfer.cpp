#include "hostkit/network/CurlTransfer.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <utility>

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

constexpr int mostRedirects = 5;

long milliseconds(double seconds) {
  return std::max(1L, static_cast<long>(seconds * 1000));
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

/// Takes one line of an answer's head into `headers`. A status line begins a new answer: what an interim one
/// said is forgotten.
void takeHeaderLine(std::string_view line, std::map<std::string, std::string>& headers) {
  if (line.starts_with("HTTP/")) return headers.clear();
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const std::string_view value = trimmed(line.substr(colon + 1));
  const auto [header, isNew] = headers.try_emplace(lowerCase(trimmed(line.substr(0, colon))), value);
  if (!isNew) header->second.append(", ").append(value);
}

/// How many characters from the front of `text` stand in a row somewhere in `secret`; both in lower case.
std::size_t sharedLength(std::string_view text, std::string_view secret) {
  std::size_t longest = 0;
  for (std::size_t at = 0; at < secret.size(); ++at) {
    const auto [end, unused] = std::mismatch(text.begin(), text.end(), secret.begin() + at, secret.end());
    longest = std::max(longest, static_cast<std::size_t>(end - text.begin()));
  }
  return longest;
}

/// `text` with "[token]" for each piece of `token` from which more than chance would speak.
std::string withoutTraces(std::string_view text, std::string_view token) {
  const std::size_t telling = std::min<std::size_t>(token.size(), 6);
  const std::string lowerText = lowerCase(text);
  const std::string lowerToken = lowerCase(token);
  std::string clean;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t shared = sharedLength(std::string_view(lowerText).substr(at), lowerToken);
    const bool isTrace = shared > 0 && shared >= telling;
    clean += isTrace ? std::string_view("[token]") : text.substr(at, 1);
    at += isTrace ? shared : 1;
  }
  return clean;
}

Kind kindOf(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
      return Kind::unreachable;
    case CURLE_OPERATION_TIMEDOUT:
      return Kind::timedOut;
    case CURLE_FILESIZE_EXCEEDED:
      return Kind::tooLarge;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return Kind::tls;
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
      return Kind::connectionLost;
    case CURLE_OUT_OF_MEMORY:
    case CURLE_FAILED_INIT:
      return Kind::unavailable;
    default:
      return Kind::protocol;
  }
}

/// What happened, as it stands before "with host:port/path", and what to do about it.
struct Wording {
  std::string_view before;
  std::string_view advice;
};

Wording wordingOf(Kind kind) {
  switch (kind) {
    case Kind::unreachable:
      return {"no connection to ", "check the address, and that the server runs"};
    case Kind::connectionLost:
      return {"the connection ended before the answer of ", "try again"};
    case Kind::timedOut:
      return {"no answer in time from ", "try again, or give the request more time"};
    case Kind::tls:
      return {"no secure connection to ", "check the server's certificate"};
    case Kind::tooLarge:
      return {"too large a body from ", "raise the limit on bodies if it is right"};
    case Kind::refusedRedirect:
      return {"too many redirects by ", "check the server"};
    case Kind::protocol:
      return {"no valid HTTP answer from ", "check that a records server is at that address"};
    case Kind::shutDown:
      return {"the network was shut down before the answer of ", "send it again on a new one"};
    default:
      return {"no means left to ask ", "free some memory, and try again"};
  }
}

}  // namespace

struct CurlTransfer::Handle {
  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy{curl_easy_init(), curl_easy_cleanup};
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers{nullptr, curl_slist_free_all};
  std::array<char, CURL_ERROR_SIZE> errorText{};

  bool appendHeader(const std::string& line) {
    curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
    if (!longer) return false;
    static_cast<void>(headers.release());  // it is the rest of the longer list
    headers.reset(longer);
    return true;
  }
};

/// What curl calls while it drives the handle.
struct CurlTransfer::Callbacks {
  static std::size_t body(const char* bytes, std::size_t, std::size_t count, void* transfer) noexcept {
    auto& self = *static_cast<CurlTransfer*>(transfer);
    self.bodyFault_ = self.takeBody({bytes, count});
    return self.bodyFault_ ? CURL_WRITEFUNC_ERROR : count;
  }

  static std::size_t header(const char* bytes, std::size_t, std::size_t count, void* transfer) noexcept {
    auto& self = *static_cast<CurlTransfer*>(transfer);
    const std::string_view line(bytes, count);
    if (line.starts_with("HTTP/")) self.headIsComplete_ = false;
    if (line == "\r\n" || line == "\n") self.headIsComplete_ = true;
    takeHeaderLine(line, self.response_.headers);
    return count;
  }
};

CurlTransfer::CurlTransfer(const Setting& setting, Result<CurlRequest> request, std::string path,
                           CorvaneSDK::Network::Completion completion)
    : setting_(setting),
      path_(std::move(path)),
      begun_(Clock::now()),
      deadline_(begun_),
      request_(request ? request.value() : CurlRequest{}),
      completion_(std::move(completion)) {
  if (request) {
    deadline_ += std::chrono::milliseconds(milliseconds(request_.timeout));
  } else {
    settleWithError(*request.error().as<CurlNetworkError>());
  }
}

CurlTransfer::~CurlTransfer() = default;

void* CurlTransfer::prepareHandle() {
  handle_ = std::make_unique<Handle>();
  CURL* easy = handle_->easy.get();
  bool ready = easy != nullptr;
  for (const std::string& line : request_.headerLines) ready = ready && handle_->appendHeader(line);
  const auto set = [&](CURLoption option, auto value) {
    ready = ready && curl_easy_setopt(easy, option, value) == CURLE_OK;
  };
  set(CURLOPT_URL, request_.url.c_str());
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_PROTOCOLS_STR, setting_.server.scheme().c_str());
  set(CURLOPT_FOLLOWLOCATION, 0L);  // redirects are judged here, not by curl
  set(CURLOPT_HTTPHEADER, handle_->headers.get());
  set(CURLOPT_USERAGENT, "vellora/" VELLORA_VERSION);
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_CONNECTTIMEOUT_MS, milliseconds(setting_.connectTimeout));
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 2L);
  set(CURLOPT_SSL_SESSIONID_CACHE, 0L);  // curl 7.88.1 can free a session twice when memory runs out
  if (setting_.caFile) set(CURLOPT_CAINFO, setting_.caFile->c_str());
  // Without TLS a proxy would read the token.
  if (setting_.server.scheme() != "https" || setting_.server.isLoopback()) set(CURLOPT_PROXY, "");
  set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  set(CURLOPT_ERRORBUFFER, handle_->errorText.data());
  set(CURLOPT_WRITEFUNCTION, &Callbacks::body);
  set(CURLOPT_WRITEDATA, this);
  set(CURLOPT_HEADERFUNCTION, &Callbacks::header);
  set(CURLOPT_HEADERDATA, this);
  if (!ready) fail(Kind::unavailable);
  return ready ? easy : nullptr;
}

std::optional<CurlNetworkError::Kind> CurlTransfer::takeBody(std::string_view bytes) {
  const auto encoding = response_.headers.find("content-encoding");
  if (encoding == response_.headers.end() || encoding->second == "identity") {
    if (bytes.size() > setting_.maxBodyBytes - body_.size()) return Kind::tooLarge;
    if (body_.empty()) reserveBody();
    body_.append(bytes);
    return std::nullopt;
  }
  if (lowerCase(encoding->second) != "gzip") return Kind::protocol;
  if (!decoder_) decoder_ = std::make_unique<GzipDecoder>();
  switch (decoder_->append(bytes, body_, setting_.maxBodyBytes)) {
    case GzipDecoder::Fault::corrupt:
      return Kind::protocol;
    case GzipDecoder::Fault::tooLarge:
      return Kind::tooLarge;
    case GzipDecoder::Fault::none:
      break;
  }
  return std::nullopt;
}

// A body that grew piece by piece would lie in memory twice each time that it moves. Memory that a server
// announces and never fills is reserved, but not taken from the system; what no system has is not asked for,
// however large a body may be.
void CurlTransfer::reserveBody() {
  curl_off_t announced = -1;
  curl_easy_getinfo(handle_->easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
  if (announced <= 0) return;
  constexpr std::size_t mostReserved = std::size_t{256} * 1024 * 1024;
  body_.reserve(std::min({static_cast<std::size_t>(announced), setting_.maxBodyBytes, mostReserved}) +
                Data::padding);
}

void CurlTransfer::finish(int curlCode) {
  if (bodyFault_) return fail(*bodyFault_);
  if (curlCode != CURLE_OK) return settleWithError(errorOf(curlCode));
  // curl takes a head that the connection ends in for a whole one.
  if (!headIsComplete_) return fail(Kind::connectionLost);
  long status = 0;
  curl_easy_getinfo(handle_->easy.get(), CURLINFO_RESPONSE_CODE, &status);
  response_.statusCode = static_cast<int>(status);
  if (isRedirect()) return followRedirect();
  if (decoder_ && !decoder_->isComplete()) return fail(Kind::protocol);
  settleWithAnswer();
}

bool CurlTransfer::isRedirect() const {
  constexpr std::array statuses{301, 302, 303, 307, 308};
  return std::find(statuses.begin(), statuses.end(), response_.statusCode) != statuses.end() &&
         response_.headers.contains("location");
}

void CurlTransfer::followRedirect() {
  if (++redirects_ > mostRedirects) return fail(Kind::refusedRedirect);
  const char* target = nullptr;  // absolute: curl has resolved it against the URL that redirected
  curl_easy_getinfo(handle_->easy.get(), CURLINFO_REDIRECT_URL, &target);
  const Result<std::string> admitted = setting_.server.admitRedirect(target ? target : "");
  if (!admitted) return settleWithError(*admitted.error().as<CurlNetworkError>());
  body_.clear();
  decoder_.reset();
  response_ = {};
  headIsComplete_ = false;
  if (curl_easy_setopt(handle_->easy.get(), CURLOPT_URL, admitted.value().c_str()) != CURLE_OK) {
    fail(Kind::unavailable);
  }
}

void CurlTransfer::settleWithAnswer() {
  const char* url = nullptr;
  curl_easy_getinfo(handle_->easy.get(), CURLINFO_EFFECTIVE_URL, &url);
  response_.url = url ? url : "";
  settled_ = true;
}

void CurlTransfer::settleWithError(CurlNetworkError error) {
  error.text = redacted(std::move(error.text));
  error_ = std::move(error);
  settled_ = true;
}

void CurlTransfer::fail(Kind kind) {
  const Wording wording = wordingOf(kind);
  settleWithError({kind, std::string(wording.before) + where() + ": " + std::string(wording.advice)});
}

CurlNetworkError CurlTransfer::errorOf(int curlCode) const {
  const auto code = static_cast<CURLcode>(curlCode);
  const Wording wording = wordingOf(kindOf(code));
  const std::string reason = handle_->errorText[0] ? handle_->errorText.data() : curl_easy_strerror(code);
  return {kindOf(code),
          std::string(wording.before) + where() + " (" + reason + "): " + std::string(wording.advice)};
}

std::string CurlTransfer::where() const {
  return setting_.server.hostAndPort() + path_;
}

// curl's reasons may quote what the server sent, and a server may send back what it was sent: the token, a
// piece of it, or, as the name of a host, in other letters.
std::string CurlTransfer::redacted(std::string text) const {
  text = withoutTraces(text, request_.token);
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
  return text;
}

void CurlTransfer::deliver() {
  handle_.reset();
  const std::size_t bytes = error_ ? 0 : body_.size();
  if (setting_.observer) {
    const std::chrono::duration<double> taken = Clock::now() - begun_;
    setting_.observer({path_, error_ ? 0 : response_.statusCode, error_, bytes, taken.count()});
  }
  if (error_) return completion_(std::nullopt, Error(*error_), std::nullopt);
  completion_(Data(std::move(body_)), std::nullopt, std::move(response_));
}

}  // namespace vellora::hostkit
