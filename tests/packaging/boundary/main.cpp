// What must hold across the boundary of a shared library. The program is built with everything hidden, as
// careful hosts are, and against the installed package; it says which statement is false, and ends with 1 if
// one is.

#include <hostkit/StandardPlatformAPI.h>
#include <hostkit/cache/memory/MemoryCache.h>
#include <hostkit/network/CurlNetwork.h>
#include <hostkit/network/CurlNetworkError.h>
#include <testkit/RecordingLogger.h>
#include <testkit/StubNetwork.h>
#include <vellora/DataServices/SObjectsDataServiceError.h>
#include <vellora/DataServices/ThemeDataServiceError.h>
#include <vellora/Models/ColorInfo.h>
#include <vellora/Models/CompactLayoutField.h>
#include <vellora/Models/IconInfo.h>
#include <vellora/Models/ObjectLayoutFieldMetadata.h>
#include <vellora/Models/ObjectPresentationInfo.h>
#include <vellora/Models/ObjectQualifiedApiNameInfo.h>
#include <vellora/Models/SObject.h>
#include <vellora/Platform/Json/DecodingError.h>
#include <vellora/Platform/Json/Json.h>
#include <vellora/Platform/Queues/SerialDispatchQueue.h>
#include <vellora/Platform/Values/Error.h>
#include <vellora/Services/VelloraService.h>

#include <exception>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#if __has_include(<vellora/Models/SObjectsResponse.h>) || __has_include(<vellora/Models/ListViewObject.h>) || \
    __has_include(<vellora/Models/ListViewObjectRecords.h>)
#error "a record that nobody outside is handed is installed"
#endif

namespace {

using namespace vellora;

bool allHold = true;

void check(bool holds, const char* statement) {
  if (holds) return;
  std::cerr << "does not hold: " << statement << '\n';
  allHold = false;
}

struct OfflineError {
  [[nodiscard]] std::string localizedDescription() const { return "offline"; }
};

// Whether the library offers what reads and writes a `T`: alone, in a list, in a dictionary by name.
template <class T>
bool hasCodecs() {
  const auto list = json::encode(std::vector<T>());
  const auto dictionary = json::encode(std::map<std::string, T>());
  const auto alone = json::encode(T());
  return list && dictionary && alone && json::decode<T>(alone.value()) &&
         json::decode<std::vector<T>>(list.value()) &&
         json::decode<std::map<std::string, T>>(dictionary.value());
}

void checkCodecs() {
  check(hasCodecs<ColorInfo>() && hasCodecs<IconInfo>() && hasCodecs<ObjectLayoutFieldMetadata>() &&
            hasCodecs<ObjectQualifiedApiNameInfo::Record>() &&
            hasCodecs<ObjectQualifiedApiNameInfo::Record::EntityDefinition>() &&
            hasCodecs<CompactLayoutField::Content>() && hasCodecs<ObjectPresentationInfo>(),
        "parts of records are read and written outside the library");
}

void checkErrorsMadeInTheLibraries() {
  const auto record = json::decode<SObject>(Data(std::string("{}")));
  check(!record && record.error().as<DecodingError>() != nullptr,
        "a decoding error is one outside the library");

  const auto network = hostkit::CurlNetwork::make({.server = "no address"});
  check(!network && network.error().as<hostkit::CurlNetworkError>() != nullptr,
        "the host kit's error is one outside the host kit");
}

void checkExceptions() {
  bool isCaught = false;
  try {
    const VelloraService service(nullptr, 3600, "light", nullptr);
  } catch (const VelloraServiceError&) {
    isCaught = true;
  } catch (const std::exception&) {
  }
  check(isCaught, "the constructor's exception is caught by its type");
}

// The prefetch fails with a type of the library's that carries a type of ours.
void checkErrorsThatPassThrough() {
  const auto network = std::make_shared<testkit::StubNetwork>();
  network->answerPrefix("/", testkit::StubNetwork::failure(OfflineError{}));
  const auto host = std::make_shared<hostkit::StandardPlatformAPI>(
      network, std::make_shared<hostkit::MemoryCache>(), std::make_shared<testkit::RecordingLogger>());
  const VelloraService service(host, 3600, "light", std::make_shared<SerialDispatchQueue>("queue"));

  std::promise<Error> failure;
  bool isFirst = true;
  const auto token = service.primerStateStream().sink([&](const VelloraService::State& state) {
    if (state.error() == nullptr || !isFirst) return;
    isFirst = false;
    failure.set_value(*state.error());
  });
  const Error error = failure.get_future().get();

  const EnumerationError* own = error.as<ThemeDataServiceError>();
  if (own == nullptr) own = error.as<SObjectsDataServiceError>();
  check(own != nullptr, "a failed prefetch tells an error of a data service");
  const Error* payload = own == nullptr ? nullptr : own->payload();
  check(payload != nullptr && payload->as<OfflineError>() != nullptr,
        "a host's own error comes back as itself");
}

}  // namespace

int main() {
  checkCodecs();
  checkErrorsMadeInTheLibraries();
  checkExceptions();
  checkErrorsThatPassThrough();
  return allHold ? 0 : 1;
}
