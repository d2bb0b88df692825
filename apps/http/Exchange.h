#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "apps/http/Request.h"
#include "apps/http/Response.h"

namespace vellora::http {

/// The right to answer one request. Keep a copy until the answer is there; when the last copy goes away
/// without an answer, the connection is dropped.
///
/// Ownership: copies are handles to the same claim; none keeps the connection or its server alive.
///
/// Threads: may be used on any thread, also after the server has stopped, when it does nothing.
///
/// Errors: only the first reaction counts.
class Exchange {
 public:
  using React = std::function<void(Reaction)>;

  /// `react` is called at most once, on the thread of whoever uses the exchange.
  explicit Exchange(React react) : claim_(std::make_shared<Claim>(std::move(react))) {}

  void react(Reaction reaction) const { claim_->settle(std::move(reaction)); }
  void answer(Response response) const { react({Reaction::Kind::answer, std::move(response)}); }

 private:
  class Claim {
   public:
    explicit Claim(React react) : react_(std::move(react)) {}
    ~Claim() { settle({Reaction::Kind::drop}); }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    void settle(Reaction reaction) {
      if (!settled_.test_and_set()) react_(std::move(reaction));
    }

   private:
    std::atomic_flag settled_;
    const React react_;
  };

  std::shared_ptr<Claim> claim_;
};

/// Takes a request; called on the server's own thread, so it must not wait.
using Handler = std::function<void(const Request& request, const Exchange& exchange)>;

}  // namespace vellora::http
