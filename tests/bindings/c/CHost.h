#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bindings/c/vellora.h"

namespace vellora::tests {

struct FreeHandle {
  void operator()(vellora_error* error) const { vellora_error_free(error); }
  void operator()(vellora_answer* answer) const { vellora_answer_free(answer); }
  void operator()(vellora_question* question) const { vellora_question_free(question); }
  void operator()(vellora_catalog* catalog) const { vellora_close(catalog); }
};
using OwnedError = std::unique_ptr<vellora_error, FreeHandle>;
using OwnedAnswer = std::unique_ptr<vellora_answer, FreeHandle>;
using OwnedQuestion = std::unique_ptr<vellora_question, FreeHandle>;
using OwnedCatalog = std::unique_ptr<vellora_catalog, FreeHandle>;

inline vellora_text textOf(std::string_view text) {
  return {text.data(), text.size()};
}

inline std::string stringOf(const vellora_text& text) {
  return text.bytes == nullptr ? std::string("(absent)") : std::string(text.bytes, text.size);
}

/// A struct that is zero but for its size.
template <class T>
T sized() {
  T value{};
  value.struct_size = sizeof value;
  return value;
}

/// Fails the test that the call failed in.
inline void expectFine(vellora_error* error) {
  const OwnedError owned(error);
  EXPECT_EQ(error, nullptr) << stringOf(error->text);
}

/// What an error says, as "CODE: TEXT"; "fine" for none.
inline std::string said(vellora_error* error) {
  const OwnedError owned(error);
  return error == nullptr ? "fine" : std::to_string(error->code) + ": " + stringOf(error->text);
}

/// The network of a C host: bodies by URL. What has none is kept until `replyToAll`.
///
/// Ownership: what the library calls may outlive this. A request that comes later is told that it shut down.
///
/// Threads: safe to use from several threads at once.
class CNetwork {
 public:
  ~CNetwork() {
    {
      const std::lock_guard lock(state_->mutex);
      state_->isShutDown = true;
    }
    replyToAll(shutDown);
  }

  /// A table to open a catalogue with, which then destroys its context.
  vellora_network table() {
    auto table = sized<vellora_network>();
    table.context = new std::shared_ptr<State>(state_);
    table.destroy = [](void* context) {
      const std::unique_ptr<std::shared_ptr<State>> state(static_cast<std::shared_ptr<State>*>(context));
      (*state)->noteEnd();
    };
    table.send = [](void* context, const vellora_request_info* info, vellora_request* request) {
      (*static_cast<std::shared_ptr<State>*>(context))->take(*info, request);
    };
    return table;
  }

  void answer(const std::string& url, const std::string& body) {
    const std::lock_guard lock(state_->mutex);
    state_->bodies[url] = body;
  }

  /// Waits until a request of that URL has come that has no body.
  void awaitRequest(const std::string& url) {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->waiting.contains(url); });
  }

  /// The same, and hands it over.
  vellora_request* takeRequest(const std::string& url) {
    awaitRequest(url);
    const std::lock_guard lock(state_->mutex);
    return state_->waiting.extract(url).mapped();
  }

  void replyToAll(const char* error) {
    std::multimap<std::string, vellora_request*> waiting;
    {
      const std::lock_guard lock(state_->mutex);
      waiting.swap(state_->waiting);
    }
    auto response = sized<vellora_response>();
    response.error = error;
    for (const auto& [url, request] : waiting) EXPECT_EQ(vellora_reply(request, &response), VELLORA_OK);
  }

  std::vector<std::string> requests() {
    const std::lock_guard lock(state_->mutex);
    return state_->requests;
  }

  int awaitDestruction() {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->destroyed > 0; });
    return state_->destroyed;
  }

 private:
  struct State {
    void take(const vellora_request_info& info, vellora_request* request) {
      auto response = sized<vellora_response>();
      std::string body;
      {
        const std::lock_guard lock(mutex);
        const std::string url = stringOf(info.url);
        requests.push_back(url);
        const auto found = bodies.find(url);
        if (isShutDown) {
          response.error = shutDown;
        } else if (found == bodies.end()) {
          waiting.emplace(url, request);
          return changed.notify_all();
        } else {
          body = found->second;
          response.body = textOf(body);
        }
      }
      EXPECT_EQ(vellora_reply(request, &response), VELLORA_OK);
    }

    void noteEnd() {
      const std::lock_guard lock(mutex);
      ++destroyed;
      changed.notify_all();
    }

    std::mutex mutex;  // guards what follows
    std::condition_variable changed;
    std::map<std::string, std::string> bodies;
    std::multimap<std::string, vellora_request*> waiting;
    std::vector<std::string> requests;
    int destroyed = 0;
    bool isShutDown = false;
  };

  static constexpr const char* shutDown = "shut down";
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// A listener that keeps the documents of its answers.
///
/// Ownership: what the library calls may outlive this, but for `onAnswer`.
///
/// Threads: safe to use from several threads at once.
class CListener {
 public:
  /// Has `onAnswer` called at the beginning of each call.
  explicit CListener(std::function<void()> onAnswer = [] {}) { state_->onAnswer = std::move(onAnswer); }

  /// A table to ask with, once: the library destroys its context.
  vellora_listener table() {
    auto table = sized<vellora_listener>();
    table.context = new std::shared_ptr<State>(state_);
    table.destroy = [](void* context) {
      const std::unique_ptr<std::shared_ptr<State>> state(static_cast<std::shared_ptr<State>*>(context));
      (*state)->noteEnd();
    };
    table.answered = [](void* context, vellora_answer* answer) {
      (*static_cast<std::shared_ptr<State>*>(context))->take(OwnedAnswer(answer));
    };
    return table;
  }

  /// The documents, when there are so many.
  std::vector<std::string> awaitDocuments(std::size_t count) {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->documents.size() >= count; });
    return state_->documents;
  }

  std::size_t calls() {
    const std::lock_guard lock(state_->mutex);
    return state_->documents.size();
  }

  /// Waits until so many contexts have been destroyed, and tells how many were.
  int awaitDestructions(int count) {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->destroyed >= count; });
    return state_->destroyed;
  }
  int awaitDestruction() { return awaitDestructions(1); }

 private:
  struct State {
    void take(OwnedAnswer answer) {
      onAnswer();
      vellora_text document;
      expectFine(vellora_answer_document(answer.get(), &document));
      const std::lock_guard lock(mutex);
      documents.push_back(stringOf(document));
      changed.notify_all();
    }

    void noteEnd() {
      const std::lock_guard lock(mutex);
      ++destroyed;
      changed.notify_all();
    }

    std::function<void()> onAnswer;
    std::mutex mutex;  // guards what follows
    std::condition_variable changed;
    std::vector<std::string> documents;
    int destroyed = 0;
  };

  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// A catalogue on a network and in a cache in memory.
class CCatalogFixture : public testing::Test {
 protected:
  static constexpr const char* themesUrl = "/services/data/v50.0/theme";
  static constexpr const char* typesUrl = "/services/data/v50.0/sobjects";

  CCatalogFixture() {
    network.answer(themesUrl, R"({"themeItems":[{"name":"Account","icons":[],)"
                              R"("colors":[{"color":"FF0000","context":"primary","theme":"light"},)"
                              R"({"color":"00FF00","context":"primary","theme":"dark"}]}]})");
    network.answer(typesUrl, R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":"Account",)"
                             R"("labelPlural":"Accounts","createable":true}]})");
  }

  ~CCatalogFixture() override {
    if (!isOpened_) networkTable.destroy(networkTable.context);
  }

  /// On the network of the fixture.
  vellora_options options() {
    auto options = sized<vellora_options>();
    options.network = &networkTable;
    options.loads_late = 1;
    options.attempts = 1;
    return options;
  }

  void open(const vellora_options& options) {
    vellora_catalog* opened = nullptr;
    expectFine(vellora_open(&options, &opened));
    catalog.reset(opened);
    isOpened_ = isOpened_ || options.network == &networkTable;
  }
  void open() { open(options()); }

  /// On a network that answers nothing by itself.
  void openOn(CNetwork& other) {
    const auto table = other.table();
    auto how = options();
    how.network = &table;
    open(how);
  }

  OwnedQuestion ask(std::int32_t kind, const std::vector<std::string>& keys, CListener* listener = nullptr) {
    std::vector<vellora_text> texts;
    for (const auto& key : keys) texts.push_back(textOf(key));
    vellora_listener table{};
    if (listener != nullptr) table = listener->table();
    auto how = sized<vellora_ask_options>();
    how.deadline_seconds = 600;  // nothing times out by chance
    vellora_question* question = nullptr;
    expectFine(vellora_ask(catalog.get(), kind, texts.data(), texts.size(), &how,
                           listener != nullptr ? &table : nullptr, &question));
    return OwnedQuestion(question);
  }

  OwnedAnswer wait(const OwnedQuestion& question) {
    vellora_answer* answer = nullptr;
    expectFine(vellora_wait(question.get(), &answer));
    return OwnedAnswer(answer);
  }

  static vellora_summary summaryOf(const OwnedAnswer& answer) {
    auto summary = sized<vellora_summary>();
    expectFine(vellora_answer_summary(answer.get(), &summary));
    return summary;
  }

  CNetwork network;
  vellora_network networkTable = network.table();
  OwnedCatalog catalog;  // goes before the network

 private:
  bool isOpened_ = false;
};

}  // namespace vellora::tests
