#include "conformance/LoggerConformance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "conformance/Registration.h"
#include "conformance/Threads.h"

namespace vellora::conformance {

namespace {

using CorvaneSDK::LogLevel;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr Guarantee<LoggerHost> guarantees[] = {
    {"EachCallWritesOneLine",
     [](LoggerHost& host) {
       host.logger()->log("first message", LogLevel::info);
       host.logger()->log("second message", LogLevel::error);
       EXPECT_THAT(host.lines(), ElementsAre(HasSubstr("first message"), HasSubstr("second message")));
     }},
    {"AnEmptyMessageIsALineToo",
     [](LoggerHost& host) {
       host.logger()->log("", LogLevel::info);
       EXPECT_THAT(host.lines(), SizeIs(1));
     }},
    {"AMessageWithLineEndsIsStillOneLine",
     [](LoggerHost& host) {
       host.logger()->log("before\nbehind\r\nend", LogLevel::error);
       EXPECT_THAT(host.lines(), SizeIs(1)) << "text from a server could forge lines";
     }},
    {"TextBeyondAsciiIsKept",
     [](LoggerHost& host) {
       host.logger()->log("B\xC3\xBCro \xE2\x82\xAC", LogLevel::info);
       EXPECT_THAT(host.lines(), ElementsAre(HasSubstr("B\xC3\xBCro \xE2\x82\xAC")));
     }},
    {"AMessageThatLooksLikeAFormatIsWrittenAsItIs",
     [](LoggerHost& host) {
       host.logger()->log("100%s of {} %n", LogLevel::info);
       EXPECT_THAT(host.lines(), ElementsAre(HasSubstr("100%s of {} %n")));
     }},
    {"TheMessageIsNotNeededBehindTheCall",
     [](LoggerHost& host) {
       std::string message(200, 'a');
       host.logger()->log(message, LogLevel::info);
       std::fill(message.begin(), message.end(), 'b');
       EXPECT_THAT(host.lines(), ElementsAre(HasSubstr(std::string(200, 'a'))));
     }},
    {"LinesOfSeveralThreadsAreWhole",
     [](LoggerHost& host) {
       constexpr int threads = 6;
       constexpr int rounds = 50;
       const auto logger = host.logger();
       const auto message = [](int thread) { return std::string(100, static_cast<char>('a' + thread)); };
       runOnThreads(threads, [&](int thread) {
         for (int round = 0; round < rounds; ++round)
           logger->log("<" + message(thread) + ">", LogLevel::info);
       });

       const std::vector<std::string> lines = host.lines();
       EXPECT_THAT(lines, SizeIs(threads * rounds));
       for (int thread = 0; thread < threads; ++thread) {
         const std::string whole = "<" + message(thread) + ">";
         const auto holdsIt = [&whole](const std::string& line) {
           return line.find(whole) != std::string::npos;
         };
         EXPECT_EQ(std::count_if(lines.begin(), lines.end(), holdsIt), rounds);
       }
     }},
};

}  // namespace

std::span<const Guarantee<LoggerHost>> loggerGuarantees() {
  return guarantees;
}

void registerLoggerConformance(const std::string& suite,
                               const std::function<std::unique_ptr<LoggerHost>()>& make) {
  registerTrials(suite, loggerGuarantees(), make);
}

}  // namespace vellora::conformance
