#ifndef TAVLIB_TESTS_PACKAGING_HELPING_THREAD_H
#define TAVLIB_TESTS_PACKAGING_HELPING_THREAD_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace tavtest {

/// A thread that does what it is told, piece by piece, and ends with the object at the latest.
class HelpingThread {
 public:
  HelpingThread() : thread_([this] { serve(); }) {}
  ~HelpingThread() {
    end();
    thread_.join();
  }

  HelpingThread(const HelpingThread&) = delete;
  HelpingThread& operator=(const HelpingThread&) = delete;

  /// Has the thread do `work`, and waits until it is done.
  void run(std::function<void()> work) {
    std::unique_lock lock(mutex_);
    work_ = std::move(work);
    changed_.notify_all();
    changed_.wait(lock, [this] { return work_ == nullptr; });
  }

  /// Lets the thread end, without waiting until it has.
  void end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
  }

 private:
  void serve() {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return ended_ || work_ != nullptr; });
      if (work_ == nullptr) return;
      work_();
      work_ = nullptr;
      changed_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> work_;
  bool ended_{false};
  std::thread thread_;
};

}  // namespace tavtest

#endif
