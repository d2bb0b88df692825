#include "tests/simulation/World.h"

#include <array>
#include <iostream>
#include <utility>

#include "tests/support/TestError.h"

namespace vellora::simulation {

namespace {

Hazards drawHazards(Draw& draw) {
  Hazards hazards;
  const auto network = draw.below(3);  // none, some, many
  const auto cache = draw.below(3);
  constexpr std::array<std::size_t, 3> rates{0, 12, 4};
  hazards.faultyAnswer = rates.at(network);
  hazards.droppedRequest = network != 0 && draw.oneIn(4) ? 8 : 0;
  hazards.repeatedAnswer = network != 0 && draw.oneIn(2) ? 6 : 0;
  hazards.faultyRead = rates.at(cache) * 2;
  hazards.refusedWrite = rates.at(cache) * 2;
  hazards.immediateAnswer = std::array<std::size_t, 3>{0, 3, 1}.at(draw.below(3));
  hazards.clockJump = draw.oneIn(2) ? 12 : 0;
  hazards.release = draw.oneIn(2) ? 16 : 0;
  return hazards;
}

}  // namespace

World::World(std::uint64_t seed, bool traced)
    : draw(seed), hazards(drawHazards(draw)), traced_(traced), current_(newCause(Cause::Kind::nobody)) {
  queues.wrapWork([this](DispatchQueue::Work work) -> DispatchQueue::Work {
    ++current_->queued;
    return [this, cause = current_, work = std::move(work)]() mutable {
      trace("run a piece of work of " + cause->title());
      during(cause, work);
      work = nullptr;  // what it held goes before it counts as done
      --cause->queued;
    };
  });
}

World::~World() {
  queues.wrapWork(nullptr);
}

void World::abandon() {
  queues.dropAll();
  for (auto* list : {&pending_, &repeats_}) {
    while (!list->empty()) {
      const auto dropped = std::move(list->back());  // what its completion held may send more
      list->pop_back();
    }
  }
}

void World::breach(const std::string& text) {
  trace("BREACH: " + text);
  if (!breach_) breach_ = text + "  [" + current_->title() + "]";
}

void World::trace(const std::string& text) const {
  if (traced_) std::cout << text << '\n';
}

CausePtr World::newCause(Cause::Kind kind, std::vector<std::string> keys) {
  auto cause = std::make_shared<Cause>();
  cause->kind = kind;
  cause->number = static_cast<int>(causes_.size());
  cause->keys = std::move(keys);
  causes_.push_back(cause);
  return cause;
}

void World::during(const CausePtr& cause, const std::function<void()>& act) {
  const auto before = std::exchange(current_, cause);
  act();
  current_ = before;
}

void World::send(const CorvaneSDK::NetRequest& request, CorvaneSDK::Network::Completion completion) {
  const auto& url = request.base().url.absoluteString();
  trace("request " + url);
  const auto endpoint = SimulatedServer::endpointOf(url);
  if (!endpoint) return breach("a request that no step makes: " + url);
  expect(request.base().timeoutInterval == 60.0, "a request waits 60 seconds");

  const auto cause = current_;
  auto sent = std::make_shared<SentRequest>();
  sent->endpoint = *endpoint;
  cause->requests.push_back(sent);
  if (*endpoint == SimulatedServer::Endpoint::nameFields) onNameFieldsRequest(cause);
  Pending pending{cause, std::move(sent), url, std::move(completion)};
  if (draw.oneIn(hazards.immediateAnswer)) return deliver(std::move(pending));
  pending_.push_back(std::move(pending));
}

void World::answer(std::size_t place) {
  auto pending = std::move(pending_.at(place));
  pending_.erase(pending_.begin() + static_cast<std::ptrdiff_t>(place));
  during(pending.cause, [&] { deliver(std::move(pending)); });
}

void World::deliver(Pending pending) {
  using Outcome = SentRequest::Outcome;
  if (draw.oneIn(hazards.droppedRequest)) {
    trace("drop " + pending.url);
    pending.request->outcome = Outcome::dropped;
    return;
  }
  if (draw.oneIn(hazards.repeatedAnswer)) {
    ++pending.cause->repeats;
    repeats_.push_back(pending);
  }
  if (draw.oneIn(hazards.faultyAnswer)) {
    trace("answer wrongly " + pending.url);
    pending.request->outcome = Outcome::faulty;
    const auto completion = std::exchange(pending.completion, nullptr);
    return answerWrongly(pending, completion);
  }
  trace("answer " + pending.url);
  const Data body(SimulatedServer::body(pending.request->endpoint, pending.url, revision));
  pending.request->outcome = Outcome::good;
  pending.request->revision = revision;
  pending.cause->handed.merge(SimulatedServer::marksIn(body.view()));
  const auto completion = std::exchange(pending.completion, nullptr);
  completion(body, std::nullopt, std::nullopt);
}

void World::answerWrongly(const Pending& pending, const CorvaneSDK::Network::Completion& completion) {
  const auto body = SimulatedServer::body(pending.request->endpoint, pending.url, revision);
  switch (draw.below(6)) {
    case 0:
      return completion(std::nullopt, Error(tests::TestError{"line down"}), std::nullopt);
    case 1:
      return completion(std::nullopt, std::nullopt, std::nullopt);
    case 2:
      return completion(Data(), std::nullopt, std::nullopt);
    case 3:
      return completion(Data(body.substr(0, body.size() / 2)), std::nullopt, std::nullopt);
    case 4:
      return completion(Data(std::string("\xff\0{\xc3", 4)), std::nullopt, std::nullopt);
    default:
      return completion(Data(R"([{"errorCode":"BUSY","message":"later"}])"), std::nullopt, std::nullopt);
  }
}

/// The server's data are of a revision that nobody is handed otherwise: whoever uses them shows.
void World::repeat(std::size_t place) {
  constexpr int neverHanded = 1'000'000;
  auto repeated = std::move(repeats_.at(place));
  repeats_.erase(repeats_.begin() + static_cast<std::ptrdiff_t>(place));
  during(repeated.cause, [&] {
    trace("answer once more " + repeated.url);
    const auto completion = std::exchange(repeated.completion, nullptr);
    if (draw.oneIn(3)) return answerWrongly(repeated, completion);
    const auto body = SimulatedServer::body(repeated.request->endpoint, repeated.url, neverHanded);
    completion(Data(body), std::nullopt, std::nullopt);
  });
  --repeated.cause->repeats;
}

void World::jump() {
  constexpr std::array<double, 7> steps{1, -1, timeout / 2, timeout, timeout + 1, -timeout - 1, 3 * timeout};
  const double seconds = steps.at(draw.below(steps.size()));
  trace("the clock jumps by " + std::to_string(seconds));
  clock.advance(seconds);
}

}  // namespace vellora::simulation
