#include "apps/vellora/command/Progress.h"

#include <chrono>
#include <cmath>
#include <mutex>
#include <utility>

namespace vellora::command {

namespace {

constexpr TimedQueue::Delay patience = std::chrono::milliseconds(500);
constexpr TimedQueue::Delay interval = std::chrono::seconds(1);

}  // namespace

/// The line. The timer's work holds it weakly.
class Progress::Line : public std::enable_shared_from_this<Line> {
 public:
  Line(std::shared_ptr<TimedQueue> timer, What what, Show show)
      : timer_(std::move(timer)), what_(std::move(what)), show_(std::move(show)), begun_(timer_->time()) {}

  void showAfter(TimedQueue::Delay delay) {
    const std::lock_guard lock(mutex_);
    setAlarm(delay);
  }

  /// Nothing is shown behind what this wipes away.
  void end() {
    const std::lock_guard lock(mutex_);
    hasEnded_ = true;
    timer_->cancel(alarm_);
    if (std::exchange(isShown_, false)) show_({});
  }

 private:
  void setAlarm(TimedQueue::Delay delay) {
    alarm_ = timer_->after(delay, [weak = weak_from_this()] {
      if (const auto line = weak.lock()) line->show();
    });
  }

  void show() {
    const std::lock_guard lock(mutex_);
    if (hasEnded_) return;
    isShown_ = true;
    const auto seconds = std::lround(std::floor((timer_->time() - begun_).count()));
    const std::string time = seconds > 0 ? ", " + std::to_string(seconds) + " s" : "";
    show_("vellora: " + what_() + time);
    setAlarm(interval);
  }

  const std::shared_ptr<TimedQueue> timer_;
  const What what_;
  const Show show_;
  const TimedQueue::Delay begun_;

  std::mutex mutex_;
  TimedQueue::Alarm alarm_ = 0;
  bool hasEnded_ = false;
  bool isShown_ = false;
};

Progress::Progress(std::shared_ptr<TimedQueue> timer, What what, Show show)
    : line_(std::make_shared<Line>(std::move(timer), std::move(what), std::move(show))) {
  line_->showAfter(patience);
}

Progress::~Progress() {
  line_->end();
}

}  // namespace vellora::command
