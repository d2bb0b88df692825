#include "testkit/HostileTricks.h"

#include <utility>

namespace vellora::testkit {

namespace {

using Promise = HostileTrick::Promise;
using Reply = ScriptedServer::Reply;
using Situation = HostileTrick::Situation;
using Then = ScriptedServer::Then;
using Tricks = std::vector<HostileTrick>;

const char* const okHead = "HTTP/1.1 200 OK\r\n";
const char* const tenPromised = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf";
const char* const chunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

/// A trick whose reply is the same for each request.
HostileTrick fixed(const char* name, Promise promise, Reply reply) {
  return {name, promise, false, [reply = std::move(reply)](const Situation&) { return reply; }};
}

std::string rightAnswer(const Situation& situation) {
  return ScriptedServer::http("200 OK", situation.rightBody).bytes;
}

/// The right body in one chunk, up to the line behind the last chunk.
std::string chunked(const std::string& body) {
  constexpr std::size_t base = 16;
  constexpr const char* digits = "0123456789abcdef";
  std::string length;
  for (std::size_t left = body.size(); left > 0; left /= base) length.insert(0, 1, digits[left % base]);
  return chunkedHead + length + "\r\n" + body + "\r\n0\r\n";
}

Tricks brokenConnections() {
  const auto broken = [](const char* name, std::string bytes, Then then) {
    return fixed(name, Promise::wholeAnswer, {std::move(bytes), then});
  };
  return {
      broken("closes", "", Then::close),
      broken("resets", "", Then::reset),
      broken("half a head, closed", std::string(okHead) + "Content-Le", Then::close),
      broken("half a head, reset", std::string(okHead) + "Content-Le", Then::reset),
      broken("half a body, closed", tenPromised, Then::close),
      broken("half a body, reset", tenPromised, Then::reset),
      broken("half a chunk, closed", std::string(chunkedHead) + "8\r\nhalf", Then::close),
      broken("no last chunk, closed", std::string(chunkedHead) + "4\r\nhalf\r\n", Then::close),
  };
}

/// The beginning of a packed body whose file has a name. What follows is the name, up to a zero.
std::string beginningOfAName() {
  return {"\x1f\x8b\x08\x08\0\0\0\0\0\x03", 10};
}

Tricks slowAnswers() {
  const auto slow = [](const char* name, std::string bytes, Then then) {
    return fixed(name, Promise::inTime, {std::move(bytes), then});
  };
  return {
      slow("stops in the body", tenPromised, Then::keepOpen),
      slow("trickles", std::string(okHead) + "Content-Length: 900\r\n\r\n", Then::trickle),
      slow("says nothing", "", Then::keepOpen),
      fixed("a packed body that unpacks to nothing, with a tag", Promise::inTime,
            {std::string(okHead) + "ETag: \"one\"\r\nContent-Encoding: gzip\r\n\r\n" + beginningOfAName(),
             Then::flood, std::string(0x1000, 'n')}),
  };
}

/// A body packed so tightly that each of its bytes becomes 158: the beginning of one, up to the first of the
/// "x" that all of it is. What follows are `moreOfThem`, again and again.
std::string beginningOfABomb() {
  const std::string head("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10);
  return head + "\xaa\x18\x05";
}

/// Eight repetitions of the last byte, 258 times each.
std::string moreOfThem() {
  return {"\xa3\x60\x14\x8c\x82\x51\x30\x0a\x46\xc1\x28\x18\x05", 13};
}

std::string manyValues() {
  constexpr std::size_t count = 2048;
  std::string values;
  for (std::size_t i = 0; i < count; ++i) values += "0,";
  return values;
}

Tricks largeAnswers(std::size_t largestBody) {
  const auto large = [](const char* name, std::string bytes, std::string flood) {
    return fixed(name, Promise::boundedMemory,
                 {std::move(bytes), flood.empty() ? Then::keepOpen : Then::flood, std::move(flood)});
  };
  const std::string twice(2 * largestBody, 'x');
  constexpr std::size_t longLine = 400'000;
  return {
      large("too large a body", ScriptedServer::http("200 OK", twice).bytes, ""),
      large("endless chunks", chunkedHead, "10000\r\n" + std::string(0x10000, 'x') + "\r\n"),
      large("a line of the head without end", std::string(okHead) + "X-Long: " + std::string(longLine, 'x'),
            ""),
      large("a head without end", okHead, "X-Line: some more of the head\r\n"),
      large("interim answers without end", "", "HTTP/1.1 103 Early Hints\r\nLink: </style.css>\r\n\r\n"),
      large("trailers without end", std::string(chunkedHead) + "0\r\n", "X-Trailer: some more of it\r\n"),
      large("a line of the trailers without end",
            std::string(chunkedHead) + "0\r\nX-Long: " + std::string(longLine, 'x'), ""),
      large("a packed body without end",
            std::string(okHead) + "Content-Encoding: gzip\r\n\r\n" + beginningOfABomb(), moreOfThem()),
      large("values without end", std::string(chunkedHead) + "1\r\n[\r\n",
            "1000\r\n" + manyValues() + "\r\n"),
  };
}

Tricks wrongAnswers() {
  const auto packed = [](const std::string& body, const std::string& encoding) {
    return ScriptedServer::http("200 OK", body, {"Content-Encoding: " + encoding});
  };
  return {
      {"no HTTP", Promise::wholeAnswer, false,
       [](const Situation& it) {
         return Reply{it.request.token() + "\r\n\r\n", Then::close};
       }},
      {"broken packing", Promise::wholeAnswer, false,
       [packed](const Situation& it) { return packed(it.request.token() + "x", "gzip"); }},
      {"strange packing", Promise::wholeAnswer, false,
       [packed](const Situation& it) { return packed("x", "x-" + it.request.token()); }},
      {"the token refused in its own words, half a body", Promise::wholeAnswer, false,
       [](const Situation& it) {
         return Reply{"HTTP/1.1 401 no " + it.request.token() + "\r\nContent-Length: 900\r\n\r\n" +
                          R"({"message":"no )" + it.request.token(),
                      Then::close};
       }},
      {"an error in the token's words, broken packing", Promise::wholeAnswer, false,
       [](const Situation& it) {
         return ScriptedServer::http("503 no " + it.request.token(), it.request.token(),
                                     {"Content-Encoding: gzip"});
       }},
  };
}

Tricks redirects() {
  const auto to = [](const char* name, const std::function<std::string(const Situation&)>& location) {
    return HostileTrick{name, Promise::staysHere, false, [location](const Situation& it) {
                          return ScriptedServer::http("302 Found", "", {"Location: " + location(it)});
                        }};
  };
  return {
      to("another server", [](const auto& it) { return "http://" + it.elsewhere + "/theme"; }),
      to("another server with TLS", [](const auto& it) { return "https://" + it.elsewhere + "/theme"; }),
      to("another server, same scheme",
         [](const auto& it) { return "//" + it.elsewhere + "/theme?t=" + it.request.token(); }),
      to("another protocol", [](const auto& it) { return "ftp://" + it.elsewhere + "/theme"; }),
      to("a file", [](const auto&) { return "file:///etc/hostname"; }),
      to("the token as a server",
         [](const auto& it) { return "http://a:" + it.request.token() + "@" + it.elsewhere; }),
  };
}

/// Tricks with the tags of bodies, for a client that keeps bodies and asks whether they have changed.
Tricks conditionalAnswers() {
  const std::string notModified = "HTTP/1.1 304 Not Modified\r\n";
  const auto tagged = [](const char* name,
                         const std::function<std::vector<std::string>(const Situation&)>& tags) {
    return HostileTrick{name, Promise::ownAnswer, true, [tags](const Situation& it) {
                          return ScriptedServer::http("200 OK", it.rightBody, tags(it));
                        }};
  };
  const auto isAsked = [](const Situation& it) {
    return it.request.text.find("If-None-Match:") != std::string::npos;
  };
  const auto saysOfAnother = [notModified, isAsked](const char* name, const std::string& behind) {
    return HostileTrick{name, Promise::ownAnswer, true, [notModified, isAsked, behind](const Situation& it) {
                          if (isAsked(it)) return Reply{notModified + "ETag: \"other\"\r\n" + behind};
                          return ScriptedServer::http("200 OK", it.rightBody, {"ETag: \"one\""});
                        }};
  };
  return {
      {"says unasked that nothing has changed", Promise::wholeAnswer, false,
       [notModified](const Situation& it) {
         return Reply{notModified + "ETag: \"" + it.request.token() + "\"\r\n\r\n"};
       }},
      tagged("the token as a tag",
             [](const auto& it) { return std::vector{"ETag: \"" + it.request.token() + '"'}; }),
      tagged("two tags",
             [](const auto&) {
               return std::vector<std::string>{"ETag: \"a\"", "ETag: \"b\""};
             }),
      tagged("a tag that is none", [](const auto&) { return std::vector<std::string>{"ETag: a\"\x01 b"}; }),
      tagged("a very long tag",
             [](const auto&) { return std::vector{"ETag: \"" + std::string(50'000, 'x') + '"'}; }),
      saysOfAnother("says that another body has not changed", "\r\n"),
      saysOfAnother("says that another body has not changed, and sends it", "Content-Length: 5\r\n\r\nwrong"),
  };
}

std::string strayAnswer() {
  return ScriptedServer::http("200 OK", "stray").bytes;
}

std::string waitedTooLong() {
  return ScriptedServer::http("408 Request Timeout", "", {"Connection: close"}).bytes;
}

/// Tricks on a request that has a right answer all the same. What comes besides must not become the answer
/// to another one.
Tricks strayAnswers() {
  const std::string stray = strayAnswer();
  const std::string timeout = waitedTooLong();
  const auto answered = [](const char* name, Promise promise,
                           const std::function<Reply(const Situation&)>& reply) {
    return HostileTrick{name, promise, true, reply};
  };
  return {
      answered("answers twice", Promise::ownAnswer,
               [stray](const auto& it) { return Reply{rightAnswer(it) + stray}; }),
      answered("answers twice, in chunks", Promise::ownAnswer,
               [stray](const auto& it) { return Reply{chunked(it.rightBody) + "\r\n" + stray}; }),
      answered("half an answer too much", Promise::ownAnswer,
               [stray](const auto& it) {
                 return Reply{chunked(it.rightBody) + "\r\n" + stray.substr(0, stray.size() / 2)};
               }),
      answered("answers, then says that it waited too long", Promise::ownAnswer,
               [timeout](const auto& it) {
                 return Reply{rightAnswer(it) + timeout, Then::close};
               }),
      answered("says that it waited too long for the next request", Promise::ownAnswer,
               [timeout](const auto& it) {
                 return it.request.onKeptConnection ? Reply{timeout, Then::close} : Reply{rightAnswer(it)};
               }),
      answered("a redirect behind the body", Promise::staysHere,
               [](const auto& it) {
                 return Reply{chunked(it.rightBody) + "Location: http://" + it.elsewhere + "/\r\n\r\n"};
               }),
  };
}

/// What comes when the request has been answered rightly, and its connection waits for the next one.
Tricks lateStrayAnswers() {
  const auto late = [](const char* name, std::string bytes) {
    return HostileTrick{name, Promise::ownAnswer, true,
                        [](const Situation& it) { return Reply{rightAnswer(it)}; }, std::move(bytes)};
  };
  return {
      late("answers again later", strayAnswer()),
      late("says later that it waited too long", waitedTooLong()),
  };
}

}  // namespace

std::vector<HostileTrick> hostileTricks(std::size_t largestBody) {
  Tricks all;
  for (Tricks& some :
       std::vector<Tricks>{brokenConnections(), slowAnswers(), largeAnswers(largestBody), wrongAnswers(),
                           redirects(), conditionalAnswers(), strayAnswers(), lateStrayAnswers()}) {
    for (HostileTrick& trick : some) all.push_back(std::move(trick));
  }
  return all;
}

}  // namespace vellora::testkit
