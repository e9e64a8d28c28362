#include "shell/ScreenPublisher.h"

#include <future>

#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"
#include "platform/ui/Window.h"
#include "host/HostNetworkActivityIndicator.h"
#include "shell/ScreenSnapshot.h"

namespace velune::shell {

std::shared_ptr<ScreenPublisher> ScreenPublisher::create(std::string launchTag, std::string documentRoot) {
  auto publisher = std::shared_ptr<ScreenPublisher>(new ScreenPublisher(std::move(launchTag)));
  publisher->documentRoot_ = std::move(documentRoot);
  return publisher;
}

ScreenPublisher::ScreenPublisher(std::string launchTag) : launchTag_(launchTag), images_(std::move(launchTag)) {}

void ScreenPublisher::start() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (listener_ != 0) {
    return;
  }
  std::weak_ptr<ScreenPublisher> weakSelf = weak_from_this();
  listener_ = ui::ModelChanges::addListener([weakSelf](std::uint64_t generation) {
    if (auto self = weakSelf.lock()) {
      self->publish(generation);
    }
  });
  // The activity indicator is no view: its changes count as a change of the model.
  if (auto indicator = std::dynamic_pointer_cast<host::HostNetworkActivityIndicator>(
          platform::Platform::services()->networkActivityIndicator)) {
    indicator->setObserver([](bool) { platform::RunLoop::main().post([] { ui::ModelChanges::noteChanged(); }); });
  }
  publishNow();
}

void ScreenPublisher::stop() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (listener_ != 0) {
    ui::ModelChanges::removeListener(listener_);
    listener_ = 0;
  }
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  published_.notify_all();
}

void ScreenPublisher::publishNow() { publish(ui::ModelChanges::generation()); }

void ScreenPublisher::publish(std::uint64_t generation) {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto started = std::chrono::steady_clock::now();
  nlohmann::json snapshot = ScreenSnapshot::make(ui::Window::keyWindow(), generation, images_, documentRoot_);
  snapshot.erase("generation");
  snapshot["launch"] = launchTag_;
  std::string body = snapshot.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - started);
  {
    const std::lock_guard lock(mutex_);
    lastMicroseconds_ = static_cast<std::uint64_t>(micros.count());
    if (body == lastBody_) {
      return;  // a change that shows nothing new (a property set to its own value)
    }
    const std::uint64_t sequence = latest_.sequence + 1;
    // The frame number leads the object, so that the page orders frames.
    auto text = std::make_shared<std::string>("{\"sequence\":" + std::to_string(sequence) + "," + body.substr(1));
    lastBody_ = std::move(body);
    latest_ = Frame{sequence, std::move(text)};
  }
  published_.notify_all();
}

ScreenPublisher::Frame ScreenPublisher::latest() const {
  const std::lock_guard lock(mutex_);
  return latest_;
}

ScreenPublisher::Frame ScreenPublisher::waitForNewer(std::uint64_t after, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(mutex_);
  published_.wait_for(lock, timeout, [&] { return stopped_ || latest_.sequence > after; });
  return latest_;
}

bool ScreenPublisher::isStopped() const {
  const std::lock_guard lock(mutex_);
  return stopped_;
}

std::uint64_t ScreenPublisher::lastSnapshotMicroseconds() const {
  const std::lock_guard lock(mutex_);
  return lastMicroseconds_;
}

std::optional<ScreenEventDispatcher::Outcome> ScreenPublisher::submit(ScreenEvent event,
                                                                      std::chrono::milliseconds timeout) {
  if (isStopped()) {
    return std::nullopt;
  }
  auto promise = std::make_shared<std::promise<ScreenEventDispatcher::Outcome>>();
  auto future = promise->get_future();
  platform::RunLoop::main().post([self = shared_from_this(), event = std::move(event), promise] {
    promise->set_value(self->dispatcher_.apply(event, ui::Window::keyWindow()));
  });
  if (future.wait_for(timeout) != std::future_status::ready) {
    return std::nullopt;
  }
  return future.get();
}

}  // namespace velune::shell
