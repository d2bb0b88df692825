#include "vellora/Platform/Json/JsonCodec.h"

// The plain values that are whole JSON documents by themselves: in cached rows, or where a program puts a
// document of its own together.

namespace vellora {

template Result<std::string> json::decode(const Data& text);
template Result<std::map<std::string, std::string>> json::decode(const Data& text);
template Result<Data> json::encode(const bool& value);
template Result<Data> json::encode(const std::int64_t& value);
template Result<Data> json::encode(const double& value);
template Result<Data> json::encode(const std::string& value);
template Result<Data> json::encode(const std::optional<std::string>& value);
template Result<Data> json::encode(const std::map<std::string, std::string>& value);

}  // namespace vellora
