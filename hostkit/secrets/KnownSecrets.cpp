#include "hostkit/secrets/KnownSecrets.h"

#include <algorithm>

#include "hostkit/secrets/SecretTraces.h"

namespace vellora::hostkit {

namespace {

constexpr std::string_view substitute = "[token]";

/// The spans in their order, those that overlap as one.
std::vector<TextSpan> merged(std::vector<TextSpan> spans) {
  std::sort(spans.begin(), spans.end(),
            [](const TextSpan& a, const TextSpan& b) { return a.begin < b.begin; });
  std::vector<TextSpan> apart;
  for (const TextSpan& span : spans) {
    if (apart.empty() || span.begin >= apart.back().end) {
      apart.push_back(span);
    } else {
      apart.back().end = std::max(apart.back().end, span.end);
    }
  }
  return apart;
}

std::string without(const std::vector<TextSpan>& spans, std::string_view text) {
  std::string clean;
  std::size_t at = 0;
  for (const TextSpan& span : spans) {
    clean.append(text.substr(at, span.begin - at)).append(substitute);
    at = span.end;
  }
  return clean.append(text.substr(at));
}

}  // namespace

KnownSecrets::KnownSecrets() = default;
KnownSecrets::~KnownSecrets() = default;

void KnownSecrets::note(std::string_view secret) {
  secret = secret.substr(0, longest);
  if (secret.empty()) return;
  const auto isIt = [&](const auto& traces) { return traces->secret() == secret; };
  const std::lock_guard lock(mutex_);
  const auto known = std::find_if(latestFirst_.begin(), latestFirst_.end(), isIt);
  if (known != latestFirst_.end()) {
    std::rotate(latestFirst_.begin(), known, known + 1);
    return;
  }
  latestFirst_.insert(latestFirst_.begin(), std::make_shared<const SecretTraces>(std::string(secret)));
  if (latestFirst_.size() > mostKept) latestFirst_.pop_back();
}

std::string KnownSecrets::cleaned(std::string_view text) const {
  std::vector<TextSpan> spans;
  for (const auto& secret : traces()) secret->find(text, spans);
  return without(merged(std::move(spans)), text);
}

KnownSecrets::Traces KnownSecrets::traces() const {
  const std::lock_guard lock(mutex_);
  return latestFirst_;
}

}  // namespace vellora::hostkit
