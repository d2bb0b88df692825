#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/network/CurlNetwork.h"
#include "testkit/RecordingLogger.h"
#include "tests/support/Awaited.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/Platform/Web/URLComponents.h"

// The whole way: the service, a network over real HTTP, a cache in a file, the demo server.

namespace vellora {
namespace {

using hostkit::CurlNetwork;
using hostkit::SQLiteCache;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* layoutsPath = "/services/data/v53.0/compactLayouts";
constexpr const char* namesPath = "/services/data/v53.0/query";

class CompactLayoutsTest : public testing::Test {
 protected:
  /// What a lookup's completion received.
  struct Received {
    std::vector<std::string> layouts;  ///< such as "Order: OrderNumber, Account.Name"
    std::optional<SObjectsDataServiceError> error;
  };

  Received lookUp(const std::vector<std::string>& names) {
    const auto answer = std::make_shared<std::promise<Received>>();
    service->compactLayoutForApiName(names, [answer](const auto& layouts, const auto& error) {
      Received received{{}, error};
      for (const auto& layout : *layouts) {
        std::string text = layout.objectType + ":";
        for (const auto& field : layout.layoutFields) {
          text.append(field == layout.layoutFields.front() ? " " : ", ").append(field->apiName);
        }
        received.layouts.push_back(std::move(text));
      }
      answer->set_value(std::move(received));
    });
    Received received = tests::awaited(answer->get_future());
    letTheNetworkFinish();
    return received;
  }

  /// The network's completions run one after another; an answer comes out of the middle of one.
  void letTheNetworkFinish() {
    const auto finished = std::make_shared<std::promise<void>>();
    const URLRequest request(URLComponents::parse("/finished")->url().value());
    network->sendRequest(CorvaneSDK::NetRequest(request),
                         [finished](const auto&, const auto&, const auto&) { finished->set_value(); });
    tests::awaited(finished->get_future());
  }

  /// The targets of the requests for layouts and names.
  [[nodiscard]] std::vector<std::string> requests() const {
    std::vector<std::string> lines;
    for (const auto& line : server->requests()) {
      if (line != "GET /finished")
        lines.push_back(line.substr(std::string("GET /services/data/v53.0").size()));
    }
    return lines;
  }

  std::shared_ptr<CompactLayoutDataService> makeService(double cacheTimeout = 3600) {
    const auto cache = SQLiteCache::open(folder.file("cache.sqlite"));
    return std::make_shared<CompactLayoutDataService>(RequiredAPI{network, cache.value(), logger},
                                                      cacheTimeout);
  }

  [[nodiscard]] std::vector<std::string> errorLines() const {
    return logger->texts(CorvaneSDK::LogLevel::error);
  }

  const std::unique_ptr<RecordsServer> server =
      RecordsServer::start(recordsserver::DataSet::builtIn()).value();
  const std::shared_ptr<CurlNetwork> network = CurlNetwork::make({.server = server->url()}).value();
  const tests::TemporaryFolder folder;
  const std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  std::shared_ptr<CompactLayoutDataService> service = makeService();
};

const std::string order = "Order: OrderNumber, Account.Name, Total, Quote.QuoteNumber, DueDate";
const std::string invoice = "Invoice: InvoiceNumber, Order.OrderNumber, Total, DueDate";

TEST_F(CompactLayoutsTest, ReferenceFieldsShowTheNamesOfTheRecordsThatTheyPointTo) {
  const Received answer = lookUp({"Order", "Invoice"});
  EXPECT_THAT(answer.layouts, ElementsAre(order, invoice));
  EXPECT_EQ(answer.error, std::nullopt);
  EXPECT_THAT(
      requests(),
      ElementsAre("/compactLayouts?q=Order,Invoice",
                  "/query?q=SELECT%20EntityDefinition.QualifiedApiName,%20QualifiedApiName,%20IsNameField%20"
                  "FROM%20FieldDefinition%20WHERE%20EntityDefinition.QualifiedApiName%20IN%20("
                  "'Account','Quote','Order')%20AND%20IsNameField%20%3D%20true"));
  EXPECT_THAT(errorLines(), IsEmpty());
}

TEST_F(CompactLayoutsTest, WhatWasDownloadedIsServedFromTheFileByTheNextService) {
  lookUp({"Order", "Invoice"});
  service = makeService();
  EXPECT_THAT(lookUp({"Invoice", "Order"}).layouts, ElementsAre(invoice, order));
  EXPECT_EQ(requests().size(), 2U);
}

TEST_F(CompactLayoutsTest, OnlyWhatIsMissingIsDownloadedAndComesFirst) {
  lookUp({"Order"});
  EXPECT_THAT(lookUp({"Order", "Invoice"}).layouts, ElementsAre(invoice, order));
  EXPECT_EQ(requests().at(2), "/compactLayouts?q=Invoice");
}

TEST_F(CompactLayoutsTest, ATypeThatTheServerDoesNotKnowHasNoLayout) {
  const Received answer = lookUp({"No&Such#Type"});
  EXPECT_THAT(answer.layouts, IsEmpty());
  EXPECT_EQ(answer.error, std::nullopt);
  EXPECT_EQ(requests().size(), 2U) << "the names are asked for all the same";
}

TEST_F(CompactLayoutsTest, ExpiredLayoutsAreServedOnlyWhileTheServerFails) {
  lookUp({"Order"});
  service = makeService(-1);
  const std::vector<std::pair<Fault, SObjectsDataServiceError>> faults = {
      {Fault::drop(), SObjectsDataServiceError::network()},
      {Fault::truncate(10), SObjectsDataServiceError::network()},
      {Fault::fail(500), SObjectsDataServiceError::network()},
      {Fault::errorBody(), SObjectsDataServiceError::decoding()},
      {Fault::garbage(), SObjectsDataServiceError::decoding()},
      {Fault::empty(), SObjectsDataServiceError::decoding()},
  };
  for (const auto& [fault, error] : faults) {
    server->setFault(layoutsPath, fault);
    const Received answer = lookUp({"Order"});
    EXPECT_THAT(answer.layouts, ElementsAre(order));
    EXPECT_EQ(answer.error, error);
  }
  server->clearFaults();
  EXPECT_EQ(lookUp({"Order"}).error, std::nullopt);
}

TEST_F(CompactLayoutsTest, WithoutTheNamesTheLayoutsComeAsTheServerSentThemAndAreAskedForAgain) {
  for (const auto& fault : {Fault::drop(), Fault::fail(503), Fault::garbage()}) {
    server->setFault(namesPath, fault);
    const Received answer = lookUp({"Invoice"});
    EXPECT_THAT(answer.layouts, ElementsAre("Invoice: InvoiceNumber, OrderId, Total, DueDate"));
    EXPECT_EQ(answer.error, std::nullopt);
  }
  EXPECT_EQ(errorLines().size(), 3U);
  server->clearFaults();
  EXPECT_THAT(lookUp({"Invoice"}).layouts, ElementsAre(invoice));
  EXPECT_THAT(lookUp({"Invoice"}).layouts, ElementsAre(invoice));
  const auto sent = requests();  // a dropped one may be sent again by the network itself
  EXPECT_EQ(std::count(sent.begin(), sent.end(), "/compactLayouts?q=Invoice"), 4);
}

TEST_F(CompactLayoutsTest, OfTwoLookupsAtOnceTheOneWhoseNamesAreStillAwaitedIsNotAnswered) {
  server->setFault(namesPath, Fault::never(), 1);
  const auto answered = std::make_shared<std::promise<void>>();
  service->compactLayoutForApiName({"Order"},
                                   [answered](const auto&, const auto&) { answered->set_value(); });
  ASSERT_TRUE(server->waitForRequests(2));
  EXPECT_THAT(lookUp({"Invoice"}).layouts, ElementsAre(invoice));
  EXPECT_EQ(answered->get_future().wait_for(std::chrono::seconds(0)), std::future_status::timeout);
}

}  // namespace
}  // namespace vellora
