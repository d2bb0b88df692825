#pragma once

#include <optional>

#include "hostkit/cache/ArchiveFormat.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// `data` as an archive holds it: as text when it is UTF-8, so that people can read it, else as hexadecimal
/// digits.
[[nodiscard]] archiveFormat::Bytes writtenBytes(const Data& data);

/// What `writtenBytes` made `bytes` of; no value when it made no such bytes.
[[nodiscard]] std::optional<Data> readBytes(const archiveFormat::Bytes& bytes);

}  // namespace vellora::hostkit
