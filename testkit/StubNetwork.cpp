#include "testkit/StubNetwork.h"

#include <utility>

#include "testkit/AnswerScript.h"
#include "testkit/PendingAnswers.h"
#include "testkit/SentRequests.h"

namespace vellora::testkit {

using CorvaneSDK::NetRequest;

namespace {

const std::string& urlOf(const NetRequest& request) {
  return request.base().url.absoluteString();
}

}  // namespace

std::string StubNetwork::Unscripted::localizedDescription() const {
  return "StubNetwork has no answer for " + url + ": script one before the request is sent";
}

StubNetwork::StubNetwork()
    : script_(std::make_unique<AnswerScript>()),
      pending_(std::make_unique<PendingAnswers>()),
      sent_(std::make_unique<SentRequests>()),
      unscripted_(std::make_unique<SentRequests>()) {}

StubNetwork::~StubNetwork() = default;

void StubNetwork::answer(std::string url, Answer answer) {
  this->answer(std::move(url), std::vector{std::move(answer)});
}

void StubNetwork::answer(std::string url, std::vector<Answer> answers) {
  script_->addRule([url = std::move(url)](const NetRequest& request) { return urlOf(request) == url; },
                   std::move(answers));
}

void StubNetwork::answerPrefix(std::string prefix, Answer answer) {
  answerWhen(
      [prefix = std::move(prefix)](const NetRequest& request) { return urlOf(request).starts_with(prefix); },
      std::move(answer));
}

void StubNetwork::answerWhen(Predicate predicate, Answer answer) {
  script_->addRule(std::move(predicate), {std::move(answer)});
}

void StubNetwork::answerNext(Answer answer) {
  script_->addNext(std::move(answer));
}

// A request counts once its answer is held, so that who has seen it can release it. A completion may destroy
// the network: nothing of it is touched behind the delivery.
void StubNetwork::sendRequest(const NetRequest& request, Completion completion) {
  auto answer = script_->take(request);
  if (!answer) {
    unscripted_->add(request);
    answer = failure(Unscripted{urlOf(request)});
  }
  auto immediate = pending_->keep({urlOf(request), *std::move(answer), std::move(completion)});
  sent_->add(request);
  PendingAnswers::deliver(std::move(immediate));
}

bool StubNetwork::releaseOne() {
  return PendingAnswers::deliver(pending_->takeOldest()) == 1;
}

std::size_t StubNetwork::release(std::string_view url) {
  return PendingAnswers::deliver(pending_->take(url));
}

std::size_t StubNetwork::releaseAll() {
  return PendingAnswers::deliver(pending_->takeAll());
}

std::size_t StubNetwork::held() const {
  return pending_->held();
}

std::vector<StubNetwork::Request> StubNetwork::requests() const {
  return sent_->all();
}

std::vector<std::string> StubNetwork::urls() const {
  return sent_->urls();
}

std::size_t StubNetwork::count() const {
  return sent_->count();
}

std::size_t StubNetwork::count(std::string_view url) const {
  return sent_->count(url);
}

std::vector<std::string> StubNetwork::unscripted() const {
  return unscripted_->urls();
}

bool StubNetwork::waitForRequests(std::size_t count, std::chrono::milliseconds limit) const {
  return sent_->waitFor(count, limit);
}

}  // namespace vellora::testkit
