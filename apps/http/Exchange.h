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
/// Errors: only the first reaction counts. A reaction takes no memory, so none is lost where memory is short.
class Exchange {
 public:
  /// Takes the reaction to where it is performed.
  class Way {
   public:
    Way() = default;
    virtual ~Way() = default;
    Way(const Way&) = delete;
    Way& operator=(const Way&) = delete;

    /// Called at most once, on the thread of whoever uses the exchange. Allocates nothing: it is also called
    /// from destructors.
    virtual void take(Reaction reaction) noexcept = 0;
  };

  explicit Exchange(std::shared_ptr<Way> way) : claim_(std::make_shared<Claim>(std::move(way))) {}

  void react(Reaction reaction) const noexcept { claim_->settle(std::move(reaction)); }
  void answer(Response response) const noexcept { react({Reaction::Kind::answer, std::move(response)}); }

 private:
  class Claim {
   public:
    explicit Claim(std::shared_ptr<Way> way) : way_(std::move(way)) {}
    ~Claim() { settle({Reaction::Kind::drop}); }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    void settle(Reaction reaction) noexcept {
      if (!settled_.test_and_set()) way_->take(std::move(reaction));
    }

   private:
    std::atomic_flag settled_;
    const std::shared_ptr<Way> way_;
  };

  std::shared_ptr<Claim> claim_;
};

/// Takes a request; called on the server's own thread, so it must not wait. A `std::bad_alloc` that it throws
/// drops the connection.
using Handler = std::function<void(const Request& request, const Exchange& exchange)>;

}  // namespace vellora::http
