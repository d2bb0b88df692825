#include "vellora/Platform/Json/JsonCodec.h"

// Instantiates `decode` and `encode` for the plain values that are whole JSON documents by themselves: cached
// rows and blobs hold a name, a name or null, names by key prefix, or a list of names. Programs that write
// documents of their own encode the values in them one by one.

namespace vellora {

template Result<std::string> json::decode(const Data& text);
template Result<std::vector<std::string>> json::decode(const Data& text);
template Result<std::map<std::string, std::string>> json::decode(const Data& text);
template Result<Data> json::encode(const bool& value);
template Result<Data> json::encode(const std::int64_t& value);
template Result<Data> json::encode(const double& value);
template Result<Data> json::encode(const std::string& value);
template Result<Data> json::encode(const std::optional<std::string>& value);
template Result<Data> json::encode(const std::vector<std::string>& value);
template Result<Data> json::encode(const std::map<std::string, std::string>& value);

}  // namespace vellora
