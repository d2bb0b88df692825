#include "hostkit/bodies/KeptBody.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/MetaCodec.h"

namespace vellora::hostkit {

namespace {

constexpr std::string_view formName = "vellora-body 1 ";

std::int64_t checksum(std::string_view request, std::string_view headers, std::string_view body) {
  return Checksum().add("kept body").add(request).add(headers).add(body).value();
}

/// Takes the number and the blank behind it off the front of `text`, as `std::to_string` writes it.
std::optional<std::int64_t> takeNumber(std::string_view& text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number < 0) return std::nullopt;
  const auto length = static_cast<std::size_t>(end - text.data());
  if (length == text.size() || *end != ' ' || text.substr(0, length) != std::to_string(number))
    return std::nullopt;
  text.remove_prefix(length + 1);
  return number;
}

}  // namespace

Data storedForm(const KeptBody& kept, std::string_view request) {
  const std::string headers = encodedMeta(kept.headers);
  std::string form(formName);
  form += std::to_string(checksum(request, headers, kept.body.view())) + ' ';
  form += std::to_string(headers.size()) + ' ';
  form.reserve(form.size() + headers.size() + kept.body.size() + Data::padding);
  form.append(headers).append(kept.body.view());
  return Data(std::move(form));
}

std::optional<KeptBody> keptBodyIn(const Data& stored, std::string_view request) {
  std::string_view rest = stored.view();
  if (!rest.starts_with(formName)) return std::nullopt;
  rest.remove_prefix(formName.size());
  const auto expected = takeNumber(rest);
  const auto size = expected ? takeNumber(rest) : std::nullopt;
  if (!size || static_cast<std::uint64_t>(*size) > rest.size()) return std::nullopt;
  const std::string_view headers = rest.substr(0, static_cast<std::size_t>(*size));
  const std::string_view body = rest.substr(headers.size());
  if (checksum(request, headers, body) != *expected) return std::nullopt;
  auto decoded = decodedMeta(headers);
  if (!decoded || encodedMeta(*decoded) != headers) return std::nullopt;
  return KeptBody{*std::move(decoded), Data(body.data(), body.size())};
}

}  // namespace vellora::hostkit
