#include "hostkit/secrets/SecretTraces.h"

#include <array>
#include <utility>

#include "hostkit/secrets/SecretForms.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

/// A kind of form, and how many of its characters in a row tell a secret: each stands for some six characters
/// of it, which no text shares by chance.
struct FormKind {
  GramTable::Kinds bit;
  std::size_t telling;
};

constexpr FormKind plain{1, 6};
constexpr FormKind packed{2, 8};       // Base64, percent-encoded
constexpr FormKind digits{4, 12};      // two for each byte
constexpr FormKind percents{8, 18};    // three
constexpr FormKind escapes{16, 36};    // six
constexpr FormKind scattered{32, 10};  // more, since anything may stand in between

struct Form {
  std::string text;
  FormKind kind;
};

std::vector<Form> formsOf(std::string_view secret) {
  std::vector<Form> forms{
      {asciiLowerCase(secret), plain},       {reversed(secret), plain},
      {lettersAndDigits(secret), scattered}, {reversed(lettersAndDigits(secret)), scattered},
      {percentEncoded(secret), packed},      {hexadecimal(secret), digits},
      {hexadecimal(secret, "%"), percents},  {hexadecimal(secret, "\\u00"), escapes},
  };
  // Base64 takes three bytes at a time, wherever the text before the secret ends.
  for (std::size_t skipped = 0; skipped < 3; ++skipped) {
    for (const std::string_view lastDigits : {"+/", "-_"}) {
      forms.push_back({base64(secret.substr(skipped), lastDigits), packed});
    }
  }
  return forms;
}

GramTable gramsOf(const std::vector<Form>& forms) {
  std::size_t bytes = 0;
  for (const Form& form : forms) bytes += form.text.size();
  GramTable grams(bytes);
  for (const Form& form : forms) grams.add(form.text, form.kind.bit);
  return grams;
}

/// Calls `visit` with each span of `text`, in lower case, that has so many grams in a row of one of `kinds`
/// as tell a secret.
template <std::size_t count, class Visit>
void forEachRun(const GramTable& grams, std::string_view text, const std::array<FormKind, count>& kinds,
                Visit visit) {
  std::array<std::size_t, count> runs{};  // how many grams of each kind end in a row before `at`
  bool isInARun = false;
  GramTable::Gram gram = 0;
  for (std::size_t at = 0; at <= text.size(); ++at) {
    GramTable::Kinds found = 0;
    if (at < text.size()) {
      gram = GramTable::following(gram, text[at]);
      if (at + 1 >= GramTable::gramLength) found = grams.kindsOf(gram);
    }
    if (found == 0 && !isInARun) continue;  // nearly always
    isInARun = found != 0;
    for (std::size_t kind = 0; kind < count; ++kind) {
      if ((found & kinds[kind].bit) != 0) {
        ++runs[kind];
      } else if (const std::size_t run = std::exchange(runs[kind], 0); run > 0) {
        const std::size_t length = run + GramTable::gramLength - 1;
        if (length >= kinds[kind].telling) visit(TextSpan{at - length, at});
      }
    }
  }
}

}  // namespace

void SecretTraces::find(std::string_view text, std::vector<TextSpan>& spans) const {
  if (secret_.empty()) return;
  const std::string lower = asciiLowerCase(text);
  if (secret_.size() < plain.telling) return findWhole(lower, spans);
  std::call_once(prepared_, [this] { prepare(); });
  findPieces(lower, spans);
  findScattered(lower, spans);
}

void SecretTraces::prepare() const {
  grams_ = gramsOf(formsOf(secret_));
}

void SecretTraces::findWhole(std::string_view text, std::vector<TextSpan>& spans) const {
  const std::string lower = asciiLowerCase(secret_);
  for (auto at = text.find(lower); at != std::string_view::npos; at = text.find(lower, at + lower.size())) {
    spans.push_back({at, at + lower.size()});
  }
}

void SecretTraces::findPieces(std::string_view text, std::vector<TextSpan>& spans) const {
  forEachRun(*grams_, text, std::array{plain, packed, digits, percents, escapes},
             [&](TextSpan span) { spans.push_back(span); });
}

void SecretTraces::findScattered(std::string_view text, std::vector<TextSpan>& spans) const {
  std::string kept;
  std::vector<std::size_t> places;  // of each kept character in `text`
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if ((c < '0' || c > '9') && (c < 'a' || c > 'z')) continue;
    kept += c;
    places.push_back(at);
  }
  forEachRun(*grams_, kept, std::array{scattered}, [&](TextSpan span) {
    spans.push_back({places[span.begin], places[span.end - 1] + 1});
  });
}

}  // namespace vellora::hostkit
