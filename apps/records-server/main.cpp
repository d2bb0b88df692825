#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <variant>

#include "apps/records-server/Arguments.h"
#include "apps/records-server/DataError.h"
#include "apps/records-server/RecordsServer.h"

namespace {

using vellora::Error;
using vellora::Result;
using vellora::recordsserver::Arguments;
using vellora::recordsserver::DataError;
using vellora::recordsserver::DataSet;
using vellora::recordsserver::Fault;
using vellora::recordsserver::RecordedRequest;
using vellora::recordsserver::RecordsServer;

constexpr int cannotStart = 1;

std::array<int, 2> signalPipe{-1, -1};

extern "C" void onSignal(int) {
  const auto savedErrno = errno;
  [[maybe_unused]] const auto written = ::write(signalPipe[1], "", 1);
  errno = savedErrno;
}

// The reader of the log may go away before the server does: that is no reason to end.
bool catchSignals() {
  if (std::signal(SIGPIPE, SIG_IGN) == SIG_ERR) return false;
  if (::pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return false;
  struct sigaction action {};
  action.sa_handler = onSignal;
  return ::sigaction(SIGINT, &action, nullptr) == 0 && ::sigaction(SIGTERM, &action, nullptr) == 0;
}

// Returns at a signal, and at the end of standard input when that counts.
void waitForEnd(bool endsWithStdin) {
  std::array<pollfd, 2> watched{pollfd{signalPipe[0], POLLIN, 0}, pollfd{STDIN_FILENO, POLLIN, 0}};
  std::array<char, 4096> ignored{};
  for (;;) {
    if (::poll(watched.data(), endsWithStdin ? 2 : 1, -1) < 0) continue;
    if (watched[0].revents != 0) return;
    if (watched[1].revents != 0 && ::read(STDIN_FILENO, ignored.data(), ignored.size()) <= 0) return;
  }
}

Result<DataSet> readData(const Arguments& arguments) {
  if (arguments.generatedTypes) return DataSet::generated(*arguments.generatedTypes);
  if (!arguments.dataFolder.empty()) return DataSet::load(arguments.dataFolder);
  return DataSet::builtIn();
}

Result<std::string> readToken(const std::string& file) {
  if (file.empty()) return std::string();
  std::ifstream stream(file, std::ios::binary);
  std::string token;
  for (char next = 0; stream.get(next);) token += next;
  if (!stream.eof() || stream.bad()) return Error(DataError{"cannot read " + file});
  while (token.ends_with('\n') || token.ends_with('\r')) token.pop_back();
  if (token.empty()) return Error(DataError{"there is no token in " + file});
  return token;
}

Fault faultOf(const Arguments& arguments) {
  Fault fault;
  if (arguments.failStatus) fault = Fault::fail(*arguments.failStatus);
  if (arguments.truncateBytes) fault = Fault::truncate(*arguments.truncateBytes);
  if (arguments.drop) fault = Fault::drop();
  if (arguments.garbage) fault = Fault::garbage();
  if (arguments.wrongTags == "unasked") fault = Fault::unaskedNotModified();
  if (arguments.wrongTags == "other") fault = Fault::notModifiedForAnother();
  if (arguments.wrongTags == "frozen") fault = Fault::frozenTag();
  return fault.after(std::chrono::milliseconds(arguments.delayMilliseconds));
}

// Renamed into place, so that who waits for the file never reads half of it.
bool writePortFile(const std::string& file, std::uint16_t port) {
  const auto unfinished = file + ".new";
  std::ofstream stream(unfinished);
  stream << port << '\n';
  stream.close();
  std::error_code error;
  if (stream) std::filesystem::rename(unfinished, file, error);
  return stream && !error;
}

int fail(const std::string& message) {
  std::cerr << "records-server: " << message << '\n';
  return cannotStart;
}

int serve(const Arguments& arguments) {
  const auto data = readData(arguments);
  if (!data) return fail(data.error().localizedDescription());
  const auto token = readToken(arguments.tokenFile);
  if (!token) return fail(token.error().localizedDescription());
  std::ofstream logFile;
  if (!arguments.logFile.empty()) logFile.open(arguments.logFile, std::ios::app);
  if (!logFile) return fail("cannot write " + arguments.logFile);
  if (!catchSignals()) return fail("cannot catch signals");

  RecordsServer::Options options;
  options.port = arguments.port;
  options.token = token.value();
  options.keepsRequests = false;
  options.servesIcons = true;
  options.packsBodies = arguments.gzip;
  auto& log = arguments.logFile.empty() ? std::cerr : logFile;
  options.onRequest = [&log](const RecordedRequest& request) { log << request.line() << '\n' << std::flush; };
  auto server = RecordsServer::start(data.value(), std::move(options));
  if (!server) return fail(server.error().localizedDescription());
  server.value()->setFault(RecordsServer::everything, faultOf(arguments));

  if (!arguments.portFile.empty() && !writePortFile(arguments.portFile, server.value()->port()))
    return fail("cannot write " + arguments.portFile);
  std::cout << "Listening on " << server.value()->url() << std::endl;
  waitForEnd(arguments.exitWithStdin);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const auto arguments = vellora::recordsserver::readArguments(argc, argv);
  if (const auto* exitCode = std::get_if<int>(&arguments)) return *exitCode;
  return serve(std::get<Arguments>(arguments));
}
