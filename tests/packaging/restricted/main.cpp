// A host that makes errors of the library's own types, and is given some. It is compiled with restrictions,
// and not optimised, so that the linker may choose its copies of the headers' functions for the library, too.
// It says which statement is false, and ends with 1 if one is.

#include <future>
#include <iostream>

#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Platform/Web/URLComponents.h"
#include "vellora/Platform/Web/URLRequest.h"

namespace {

using vellora::Error;
using vellora::OutOfMemory;
using vellora::ThemeDataServiceError;
using vellora::hostkit::CurlNetwork;
using vellora::hostkit::CurlNetworkError;
using Kind = CurlNetworkError::Kind;

int falseStatements = 0;

void expect(bool isTrue, const char* statement) {
  if (isTrue) return;
  std::cerr << "not true: " << statement << '\n';
  ++falseStatements;
}

// The network's answer to a request that must not be sent.
Error refusal() {
  const auto network = CurlNetwork::make({.server = "http://127.0.0.1:1"}).value();
  std::promise<Error> refused;
  network->sendRequest(CorvaneSDK::NetRequest(vellora::URLRequest(
                           *vellora::URLComponents::parse("http://elsewhere.example/")->url())),
                       [&refused](const auto& /*data*/, const auto& error, const auto& /*response*/) {
                         refused.set_value(*error);
                       });
  return refused.get_future().get();
}

void tryErrors() {
  const Error own = CurlNetworkError{Kind::timedOut, "the host's"};
  const auto* found = own.as<CurlNetworkError>();
  expect(found != nullptr && found->text == "the host's", "the host finds its own error");
  expect(own.as<OutOfMemory>() == nullptr, "it is no other type's");
  const Error given = refusal();
  const auto* refused = given.as<CurlNetworkError>();
  expect(refused != nullptr && refused->kind == Kind::invalidRequest, "the host finds the library's error");
  expect(vellora::outOfMemory().as<OutOfMemory>() != nullptr,
         "the host finds what the library had made before");
  const Error ofTheme = ThemeDataServiceError::noData();
  expect(ThemeDataServiceError::map(ofTheme, nullptr) == ThemeDataServiceError::noData(),
         "the library finds the host's error");
}

}  // namespace

int main() {
  tryErrors();
  return falseStatements == 0 ? 0 : 1;
}
