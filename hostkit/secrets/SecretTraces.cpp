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

/// Finds runs of scattered grams in letters and digits that come one by one. It keeps the places of the last
/// few alone, since a text may be as long as an answer.
class ScatteredRuns {
 public:
  ScatteredRuns(const GramTable& grams, std::vector<TextSpan>& spans) : grams_(grams), spans_(spans) {}

  /// Takes the next letter or digit, which stands at `place` of the text.
  void take(char c, std::size_t place) {
    places_[taken_++ % GramTable::gramLength] = place;
    gram_ = GramTable::following(gram_, c);
    const bool found = taken_ >= GramTable::gramLength && (grams_.kindsOf(gram_) & scattered.bit) != 0;
    if (!found) return end();
    if (run_++ == 0) span_.begin = places_[taken_ % GramTable::gramLength];  // the oldest one
    span_.end = place + 1;
  }

  /// Ends the run, if there is one: none at all is too short to tell.
  void end() {
    const std::size_t run = std::exchange(run_, 0);
    if (run + GramTable::gramLength - 1 >= scattered.telling) spans_.push_back(span_);
  }

 private:
  const GramTable& grams_;
  std::vector<TextSpan>& spans_;
  std::array<std::size_t, GramTable::gramLength> places_{};
  std::size_t taken_ = 0;
  GramTable::Gram gram_ = 0;
  std::size_t run_ = 0;  // how many grams in a row
  TextSpan span_{};
};

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
  ScatteredRuns runs(*grams_, spans);
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z')) runs.take(c, at);
  }
  runs.end();
}

}  // namespace vellora::hostkit
