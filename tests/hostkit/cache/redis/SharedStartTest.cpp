// Several processes on one empty Redis, with the library, the ready-made host and the demo server.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "apps/records-server/DataSet.h"
#include "apps/records-server/Fault.h"
#include "apps/records-server/RecordsServer.h"
#include "hostkit/StandardPlatformAPI.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::hostkit::tests {
namespace {

using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using vellora::tests::ServerProcess;
using vellora::tests::TemporaryFolder;

/// A lock that the processes wait for.
class StartingGate {
 public:
  StartingGate() {
    std::ofstream(path()).flush();
    file_ = ::open(path().c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::flock(file_, LOCK_EX), 0);
  }
  ~StartingGate() { ::close(file_); }
  StartingGate(const StartingGate&) = delete;
  StartingGate& operator=(const StartingGate&) = delete;

  [[nodiscard]] std::string path() const { return folder_.file("gate"); }
  void open() const { EXPECT_EQ(::flock(file_, LOCK_UN), 0); }

 private:
  TemporaryFolder folder_;
  int file_ = -1;
};

class SharedStartTest : public RedisFixture {
 protected:
  /// One whose leases last that long.
  [[nodiscard]] std::unique_ptr<ServerProcess> process(const StartingGate& gate,
                                                       std::chrono::milliseconds lease) const {
    return std::make_unique<ServerProcess>(std::vector<std::string>{
        SHARING_PROCESS, server.address(), records->url(), gate.path(), std::to_string(lease.count())});
  }

  const std::unique_ptr<RecordsServer> records = RecordsServer::start(DataSet::builtIn()).value();
};

TEST_F(SharedStartTest, EightProcessesFetchEachListOnce) {
  const StartingGate gate;
  std::vector<std::unique_ptr<ServerProcess>> processes;
  for (int i = 0; i < 8; ++i) processes.push_back(process(gate, std::chrono::hours(1)));
  for (const auto& process : processes) (void)process->restOfLine("ready");
  gate.open();

  const std::string all = processes.front()->restOfLine("types ");
  EXPECT_NE(all.substr(0, 2), "0,");
  for (const auto& process : processes) EXPECT_EQ(process->restOfLine("types "), all);
  EXPECT_THAT(records->requests(),
              UnorderedElementsAre("GET /services/data/v50.0/sobjects", "GET /services/data/v50.0/theme"));
}

TEST_F(SharedStartTest, AProcessThatIsKilledWhileItFetchesKeepsNobodyFromIt) {
  const StartingGate gate;
  gate.open();
  records->setFault(RecordsServer::everything, Fault::never());
  const auto killed = process(gate, std::chrono::seconds(2));
  ASSERT_TRUE(records->waitForRequests(1));
  killed->stop();
  records->clearFaults();
  EXPECT_THAT(process(gate, std::chrono::seconds(2))->restOfLine("types "), EndsWith("missing 0"));
}

TEST_F(SharedStartTest, ALibraryWhoseRedisIsGoneGoesOnFromTheServer) {
  const auto cache = open();
  server.kill();
  const auto host = StandardPlatformAPI::make({.server = records->url(), .cache = cache}).value();
  const Catalog catalog(host);
  const auto answer = catalog.types({"Account"}, {.deadline = longTimeout}).get();
  EXPECT_THAT(answer.missing, IsEmpty());
  EXPECT_THAT(answer.found, SizeIs(1));
}

TEST_F(SharedStartTest, ALibraryAnswersFromWhatAnotherProcessStored) {
  {
    const auto host = StandardPlatformAPI::make({.server = records->url(), .cache = open()}).value();
    const Catalog catalog(host);
    ASSERT_THAT(catalog.types({"Account"}, {.deadline = longTimeout}).get().found, SizeIs(1));
  }
  records->stop();
  const auto host = StandardPlatformAPI::make({.server = records->url(), .cache = open()}).value();
  const Catalog catalog(host);
  EXPECT_THAT(catalog.types({"Account"}, {.deadline = longTimeout}).get().found, SizeIs(1));
  EXPECT_THAT(told.all(), IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests
