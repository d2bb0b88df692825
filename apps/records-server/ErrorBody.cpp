#include "apps/records-server/ErrorBody.h"

#include <boost/json.hpp>

namespace vellora::recordsserver {

std::string errorBody(std::string_view message, std::string_view code) {
  return boost::json::serialize(boost::json::array{boost::json::object{
      {"message", boost::json::string_view(message)}, {"code", boost::json::string_view(code)}}});
}

}  // namespace vellora::recordsserver
