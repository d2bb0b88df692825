#include "testkit/StubNetwork.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vellora::testkit {

using CorvaneSDK::NetRequest;

struct StubNetwork::Rule {
  const Predicate matches;
  std::deque<Answer> answers;  // under the network's mutex; never empty
};

struct StubNetwork::Pending {
  std::string url;
  Answer answer;
  Completion completion;
};

namespace {

const std::string& urlOf(const NetRequest& request) {
  return request.base().url.absoluteString();
}

}  // namespace

StubNetwork::Answer StubNetwork::Answer::held() const {
  Answer copy = *this;
  if (delivery_ == Delivery::immediate) copy.delivery_ = Delivery::held;
  return copy;
}

StubNetwork::Answer StubNetwork::Answer::with(URLResponse response) const {
  Answer copy = *this;
  copy.response_ = std::move(response);
  return copy;
}

StubNetwork::Answer StubNetwork::body(std::string text) {
  return body(Data(std::move(text)));
}

StubNetwork::Answer StubNetwork::body(Data data) {
  Answer answer;
  answer.data_ = std::move(data);
  return answer;
}

StubNetwork::Answer StubNetwork::failure(Error error) {
  Answer answer;
  answer.error_ = std::move(error);
  return answer;
}

StubNetwork::Answer StubNetwork::nothing() {
  return {};
}

StubNetwork::Answer StubNetwork::never() {
  Answer answer;
  answer.delivery_ = Answer::Delivery::never;
  return answer;
}

std::string StubNetwork::Unscripted::localizedDescription() const {
  return "StubNetwork has no answer for " + url + ": script one before the request is sent";
}

StubNetwork::StubNetwork() = default;
StubNetwork::~StubNetwork() = default;

void StubNetwork::answer(std::string url, Answer answer) {
  this->answer(std::move(url), std::vector{std::move(answer)});
}

void StubNetwork::answer(std::string url, std::vector<Answer> answers) {
  addRule([url = std::move(url)](const NetRequest& request) { return urlOf(request) == url; },
          std::move(answers));
}

void StubNetwork::answerPrefix(std::string prefix, Answer answer) {
  addRule(
      [prefix = std::move(prefix)](const NetRequest& request) { return urlOf(request).starts_with(prefix); },
      {std::move(answer)});
}

void StubNetwork::answerWhen(Predicate predicate, Answer answer) {
  addRule(std::move(predicate), {std::move(answer)});
}

void StubNetwork::answerNext(Answer answer) {
  const std::lock_guard lock(mutex_);
  next_.push_back(std::move(answer));
}

void StubNetwork::addRule(Predicate matches, std::vector<Answer> answers) {
  if (answers.empty()) return;
  const auto rule = std::make_shared<Rule>(Rule{std::move(matches), {answers.begin(), answers.end()}});
  const std::lock_guard lock(mutex_);
  rules_.push_back(rule);
}

// The predicates are the test's own code, hence called on a copy of the list, with no lock held.
std::shared_ptr<StubNetwork::Rule> StubNetwork::ruleFor(const NetRequest& request) const {
  std::vector<std::shared_ptr<Rule>> rules;
  {
    const std::lock_guard lock(mutex_);
    rules = rules_;
  }
  const auto newest =
      std::find_if(rules.rbegin(), rules.rend(), [&](const auto& rule) { return rule->matches(request); });
  return newest == rules.rend() ? nullptr : *newest;
}

StubNetwork::Answer StubNetwork::takeAnswer(Rule* rule, const std::string& url) {
  if (!rule && next_.empty()) {
    unscripted_.push_back(url);
    return failure(Unscripted{url});
  }
  std::deque<Answer>& answers = rule ? rule->answers : next_;
  Answer answer = answers.front();
  const bool staysForTheNextRequest = rule && answers.size() == 1;
  if (!staysForTheNextRequest) answers.pop_front();
  return answer;
}

void StubNetwork::sendRequest(const NetRequest& request, Completion completion) {
  const std::shared_ptr<Rule> rule = ruleFor(request);
  std::vector<Pending> immediate;
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back({request, std::this_thread::get_id()});
    Pending pending{urlOf(request), takeAnswer(rule.get(), urlOf(request)), std::move(completion)};
    const Answer::Delivery delivery = pending.answer.delivery_;
    auto& place = delivery == Answer::Delivery::held    ? held_
                  : delivery == Answer::Delivery::never ? hanging_
                                                        : immediate;
    place.push_back(std::move(pending));
    requested_.notify_all();
  }
  deliver(std::move(immediate));
}

bool StubNetwork::releaseOne() {
  bool taken = false;
  return deliver(takeHeld([&taken](const Pending&) { return !std::exchange(taken, true); })) == 1;
}

std::size_t StubNetwork::release(std::string_view url) {
  return deliver(takeHeld([url](const Pending& pending) { return pending.url == url; }));
}

std::size_t StubNetwork::releaseAll() {
  return deliver(takeHeld([](const Pending&) { return true; }));
}

std::vector<StubNetwork::Pending> StubNetwork::takeHeld(const std::function<bool(const Pending&)>& wanted) {
  std::vector<Pending> taken;
  std::vector<Pending> left;
  const std::lock_guard lock(mutex_);
  for (Pending& pending : held_) (wanted(pending) ? taken : left).push_back(std::move(pending));
  held_ = std::move(left);
  return taken;
}

// A completion may drop the last reference to the network: nothing of it is touched from here on.
std::size_t StubNetwork::deliver(std::vector<Pending> pending) {
  for (Pending& each : pending) {
    const Pending one =
        std::move(each);  // so that what the completion holds is freed before the next one runs
    one.completion(one.answer.data_, one.answer.error_, one.answer.response_);
  }
  return pending.size();
}

std::size_t StubNetwork::held() const {
  const std::lock_guard lock(mutex_);
  return held_.size();
}

std::vector<StubNetwork::Request> StubNetwork::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::vector<std::string> StubNetwork::urls() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> urls;
  std::transform(requests_.begin(), requests_.end(), std::back_inserter(urls),
                 [](const Request& request) { return urlOf(request.request); });
  return urls;
}

std::size_t StubNetwork::count() const {
  const std::lock_guard lock(mutex_);
  return requests_.size();
}

std::size_t StubNetwork::count(std::string_view url) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(
      std::count_if(requests_.begin(), requests_.end(),
                    [url](const Request& request) { return urlOf(request.request) == url; }));
}

std::vector<std::string> StubNetwork::unscripted() const {
  const std::lock_guard lock(mutex_);
  return unscripted_;
}

bool StubNetwork::waitForRequests(std::size_t count, std::chrono::milliseconds limit) const {
  std::unique_lock lock(mutex_);
  return requested_.wait_for(lock, limit, [&] { return requests_.size() >= count; });
}

}  // namespace vellora::testkit
