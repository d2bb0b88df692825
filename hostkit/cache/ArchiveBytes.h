#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hostkit/cache/ArchiveFormat.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// `data` as an archive holds it: as text when it is UTF-8, so that people can read it, else as hexadecimal
/// digits.
[[nodiscard]] archiveFormat::Bytes writtenBytes(const Data& data);

/// What `writtenBytes` made `bytes` of; no value when it made no such bytes.
[[nodiscard]] std::optional<Data> readBytes(const archiveFormat::Bytes& bytes);

/// The hexadecimal digits of a key that JSON cannot hold as a text, since it is not UTF-8; no value for any
/// other key.
[[nodiscard]] std::optional<std::string> hexOfKey(std::string_view key);

/// The key that was written as `text`, or as digits beside it; no value when they are no digits.
[[nodiscard]] std::optional<std::string> readKey(const std::string& text,
                                                 const std::optional<std::string>& hex);

}  // namespace vellora::hostkit
